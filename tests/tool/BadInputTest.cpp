// Whole runs on everything that can be wrong: each ends with one line that says what is wrong with
// what, with its exit code, and with the output as it was.
#include "ModelText.h"
#include "SvgFile.h"
#include "ToolRun.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

using test_support::MeshData;
using tool_test::ReadBytes;
using tool_test::RunLimits;
using tool_test::RunResult;
using tool_test::TemporaryFolder;

using Arguments = std::vector<std::string>;

constexpr int kUsage = 2;
constexpr int kUnreadable = 3;
constexpr int kNothingToDraw = 4;
constexpr int kCannotWrite = 5;

const std::string kModels = ASSIMP_MODELS;

RunResult RunTool(const Arguments& arguments, RunLimits limits = {}) {
    return tool_test::Run(KXCONTOUR_BINARY, arguments, limits);
}

MeshData Cube() {
    return test_support::Box({-1, -1, -1}, {1, 1, 1});
}

MeshData Ball() {
    return test_support::Sphere({0, 0, 0}, 10.0F, 40, 20);
}

void ExpectOneLine(const RunResult& run, const std::string& part) {
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err.rfind("kxcontour: ", 0), 0U) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_NE(run.err.find(part), std::string::npos) << "no '" << part << "' in: " << run.err;
}

/// A folder with a drawing of before and a good model, in which runs fail.
class BadInput : public testing::Test {
protected:
    /// Fails with the code and a line that holds the part, for a new output and for an old one.
    void expectFailure(int code,
                       const std::string& part,
                       const Arguments& arguments,
                       RunLimits limits = {}) const {
        for (const std::string& output : {old_, folder_.path("new.svg")}) {
            const std::size_t entries = folder_.entryCount();
            Arguments all = arguments;
            all.insert(all.end(), {"-o", output});
            const RunResult run = RunTool(all, limits);
            EXPECT_EQ(run.exitCode, code) << run.err;
            ExpectOneLine(run, part);
            EXPECT_EQ(ReadBytes(old_), "the drawing of before");
            EXPECT_EQ(folder_.entryCount(), entries) << "something was left behind";
        }
    }

    /// Fails with the code for an output that is part of the case.
    void expectFailureOf(int code, const std::string& part, const Arguments& arguments) const {
        const RunResult run = RunTool(arguments, {});
        EXPECT_EQ(run.exitCode, code) << run.err;
        ExpectOneLine(run, part);
    }

    TemporaryFolder folder_;
    std::string old_ = folder_.write("old.svg", "the drawing of before");
    std::string cube_ = folder_.write("cube.obj", tool_test::ObjText(Cube()));
};

TEST_F(BadInput, MissingFile) {
    const std::string path = folder_.path("none.obj");
    expectFailure(kUnreadable, path + ": No such file or directory", {path});
}

TEST_F(BadInput, EmptyFile) {
    for (const char* name : {"a.obj", "a.stl", "a.ply", "a.glb", "a.ifc", "a"}) {
        const std::string path = folder_.write(name, "");
        expectFailure(kUnreadable, path + ": is empty", {path});
    }
}

TEST_F(BadInput, Directory) {
    fs::create_directory(folder_.path("dir.obj"));
    expectFailure(kUnreadable, "dir.obj: is a directory", {folder_.path("dir.obj")});
}

TEST_F(BadInput, DanglingLink) {
    fs::create_symlink("nowhere", folder_.path("link.obj"));
    expectFailure(kUnreadable, "link.obj: No such file", {folder_.path("link.obj")});
}

TEST_F(BadInput, PipeThatNobodyWritesTo) {
    ASSERT_EQ(::mkfifo(folder_.path("pipe.obj").c_str(), 0600), 0);
    expectFailure(kUnreadable, "pipe.obj: is not a regular file", {folder_.path("pipe.obj")});
}

TEST_F(BadInput, FileThatMayNotBeRead) {
    ASSERT_EQ(::chmod(cube_.c_str(), 0), 0);
    RunLimits limits;
    limits.obeysPermissions = true;
    expectFailure(kUnreadable, "cube.obj: Permission denied", {cube_}, limits);
}

TEST_F(BadInput, TextThatIsNoModel) {
    const std::string text = "To be, or not to be, that is the question.\n";
    for (const char* name : {"a.txt", "a", "a.stl", "a.ply", "a.glb", "a.3mf", "a.fbx", "a.dae"}) {
        const std::string path = folder_.write(name, text);
        expectFailure(kUnreadable, path + ": cannot read the model: ", {path});
    }
}

TEST_F(BadInput, BytesThatAreNoModel) {
    std::string bytes;
    for (int i = 0; i < 4000; ++i) {
        bytes += static_cast<char>(i * i * 7 + i / 3);
    }
    for (const char* name : {"a.bin", "a.stl", "a.glb", "a.3ds", "a.fbx"}) {
        const std::string path = folder_.write(name, bytes);
        expectFailure(kUnreadable, path + ": cannot read the model: ", {path});
    }
}

TEST_F(BadInput, ModelWithoutTriangles) {
    for (const char* name : {"/PLY/points.ply", "/OBJ/testline.obj", "/Collada/lights.dae"}) {
        const std::string path = kModels + name;
        expectFailure(kNothingToDraw, path + ": nothing to draw: it has no triangles", {path});
    }
}

TEST_F(BadInput, ModelOfBadTrianglesOnly) {
    const std::string path =
        folder_.write("a.obj", "v 0 0 0\nv 1 1 1\nv 2 2 2\nf 1 2 3\nf 1 1 2\n");
    expectFailure(kNothingToDraw, path + ": nothing to draw: every triangle is degenerate", {path});
    const std::string infinite =
        kModels + "/glTF2/BoxWithInfinites-glTF-Binary/BoxWithInfinites.glb";
    expectFailure(kNothingToDraw, infinite + ": nothing to draw: ", {infinite});
}

TEST_F(BadInput, ModelTooLargeForItsCoordinates) {
    const std::string path = folder_.write(
        "a.stl", tool_test::StlBytes(test_support::Box({-3e37F, 0, 0}, {3e37F, 1, 1})));
    expectFailure(kNothingToDraw, "too large", {path});
}

TEST_F(BadInput, ModelBehindAnOccluder) {
    const std::string wall = folder_.write(
        "wall.obj",
        tool_test::ObjText(test_support::Quad({-9, -9, 5}, {9, -9, 5}, {9, 9, 5}, {-9, 9, 5})));
    expectFailure(kNothingToDraw, cube_ + ": nothing to draw: no line of it is visible",
                  {cube_, "--view", "front", "--occluder", wall});
}

TEST_F(BadInput, OccluderThatCannotBeRead) {
    const std::string path = folder_.path("none.stl");
    expectFailure(kUnreadable, path + ": No such file", {cube_, "--occluder", path});
    const std::string points = kModels + "/PLY/points.ply";
    expectFailure(kNothingToDraw, points + ": ", {cube_, "--occluder", points});
}

TEST_F(BadInput, FileThatAsksForMoreMemoryThanThereIs) {
    const std::string path = kModels + "/invalid/OutOfMemory.off";
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    EXPECT_TRUE(fs::exists(path)) << "importers have no limit under sanitizers";
#else
    expectFailure(kUnreadable, path + ": cannot read the model: it asks for more memory", {path});
#endif
}

TEST_F(BadInput, FilesThatAreWrongInside) {
    for (const char* name :
         {"/invalid/malformed.obj", "/invalid/empty.ply", "/glTF2/wrongTypes/badArray.gltf",
          "/glTF2/RecursiveNodes/RecursiveNodes.gltf", "/glTF2/MissingBin/BoxTextured.gltf",
          "/FBX/transparentTest.fbx"}) {
        expectFailure(kUnreadable, kModels + name + ": ", {kModels + name});
    }
}

TEST_F(BadInput, UnknownOptions) {
    expectFailure(kUsage, "unknown option '--veiw'; did you mean '--view'?",
                  {cube_, "--veiw", "top"});
    expectFailure(kUsage, "unknown option '--perspective'; see --help", {cube_, "--perspective"});
    expectFailure(kUsage, "unknown option '-x'", {cube_, "-x"});
}

TEST_F(BadInput, UnknownViewsPagesAndAngles) {
    expectFailure(kUsage, "unknown view 'botom'; did you mean 'bottom'?",
                  {cube_, "--view", "botom"});
    expectFailure(kUsage, "unknown page 'B7'", {cube_, "--page", "B7"});
    expectFailure(kUsage, "unknown page '100x'", {cube_, "--page", "100x"});
    expectFailure(kUsage, "page '15x15' leaves no room", {cube_, "--page", "15x15"});
    expectFailure(kUsage, "crease angle '180'", {cube_, "--crease-angle", "180"});
    expectFailure(kUsage, "crease angle 'steep'", {cube_, "--crease-angle", "steep"});
}

TEST_F(BadInput, MissingArguments) {
    expectFailureOf(kUsage, "no model given", {});
    expectFailureOf(kUsage, "no output given; name it with -o", {cube_});
    expectFailureOf(kUsage, "--output", {cube_, "-o"});
    expectFailure(kUsage, "--view", {cube_, "--view=top", "--view=front"});
    expectFailure(kUsage, "unexpected argument 'two.obj'", {cube_, "two.obj"});
}

TEST_F(BadInput, OutputInAFolderThatDoesNotExist) {
    const std::string output = folder_.path("none/a.svg");
    expectFailureOf(kCannotWrite, output + ": cannot write: there is no folder",
                    {cube_, "-o", output});
    EXPECT_FALSE(fs::exists(folder_.path("none")));
}

TEST_F(BadInput, OutputThatIsAFolder) {
    expectFailureOf(kCannotWrite, "it is a directory", {cube_, "-o", folder_.path("")});
}

TEST_F(BadInput, OutputThatMayNotBeWritten) {
    RunLimits limits;
    limits.obeysPermissions = true;
    ASSERT_EQ(::chmod(old_.c_str(), 0444), 0);
    const RunResult file = RunTool({cube_, "-o", old_}, limits);
    EXPECT_EQ(file.exitCode, kCannotWrite);
    ExpectOneLine(file, "old.svg: cannot write: Permission denied");
    ASSERT_EQ(::chmod(folder_.path("").c_str(), 0555), 0);
    const RunResult folder = RunTool({cube_, "-o", folder_.path("new.svg")}, limits);
    ASSERT_EQ(::chmod(folder_.path("").c_str(), 0755), 0);
    EXPECT_EQ(folder.exitCode, kCannotWrite);
    ExpectOneLine(folder, "Permission denied");
    EXPECT_FALSE(fs::exists(folder_.path("new.svg")));
    expectFailureOf(kCannotWrite, "/proc/a.svg: cannot write: ", {cube_, "-o", "/proc/a.svg"});
}

TEST_F(BadInput, OutputThatIsADevice) {
    expectFailureOf(kCannotWrite, "/dev/full: cannot write: ", {cube_, "-o", "/dev/full"});
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(BadInput, NoSpaceForTheOutput) {
    const std::string model = kModels + "/OBJ/spider.obj";
    for (const std::size_t size : {0U, 1U, 200U, 4096U}) {
        RunLimits limits;
        limits.fileSize = size;
        for (const std::string& output : {old_, folder_.path("new.svg")}) {
            const RunResult run = RunTool({model, "-o", output}, limits);
            EXPECT_EQ(run.exitCode, kCannotWrite) << size << ": " << run.err;
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(ReadBytes(old_), "the drawing of before");
            EXPECT_FALSE(fs::exists(folder_.path("new.svg")));
            EXPECT_EQ(folder_.entryCount(), 2U) << "the old drawing and the cube";
        }
    }
}

TEST_F(BadInput, NoSpaceIsSaidToBeTheReason) {
    RunLimits limits;
    limits.fileSize = 1000;
    const RunResult run = RunTool({kModels + "/OBJ/WusonOBJ.obj", "-o", old_}, limits);
    ExpectOneLine(run, "old.svg: cannot write: File too large");
}

TEST_F(BadInput, OutputThatIsAnInput) {
    const std::string before = ReadBytes(cube_);
    expectFailureOf(kUsage, "is an input", {cube_, "-o", cube_});
    fs::create_symlink("cube.obj", folder_.path("link.svg"));
    expectFailureOf(kUsage, "is an input", {cube_, "-o", folder_.path("link.svg")});
    const std::string ball = folder_.write("ball.obj", tool_test::ObjText(Ball()));
    expectFailureOf(kUsage, "is an input", {ball, "--occluder", cube_, "-o", cube_});
    EXPECT_EQ(ReadBytes(cube_), before);
}

/// A model file, cut at many places.
class CutShort : public BadInput {
protected:
    /// The cut at each of so many places, evenly spread, is refused with one of the codes.
    void expectRefusals(const std::string& name,
                        const std::string& bytes,
                        std::size_t end,
                        std::size_t places,
                        const std::vector<int>& codes) const {
        const std::string output = folder_.path("new.svg");
        for (std::size_t i = 0; i < places; ++i) {
            const std::size_t size = 1 + (end - 2) * i / (places - 1);
            const std::string path = folder_.write(name, bytes.substr(0, size));
            const RunResult run = RunTool({path, "-o", output});
            EXPECT_EQ(std::count(codes.begin(), codes.end(), run.exitCode), 1)
                << name << " of " << size << " bytes: " << run.exitCode << ", " << run.err;
            ExpectOneLine(run, path + ": ");
            EXPECT_FALSE(fs::exists(output)) << name << " of " << size << " bytes";
        }
    }
};

TEST_F(CutShort, BinaryFilesWithAnEndOfTheirOwn) {
    const auto model = [](const std::string& name) { return ReadBytes(kModels + name); };
    const std::string glb = model("/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb");
    expectRefusals("a.glb", glb, glb.size(), 15, {kUnreadable});
    const std::string stl = tool_test::StlBytes(Ball());
    expectRefusals("a.stl", stl, stl.size(), 40, {kUnreadable});
    for (const bool bigEndian : {false, true}) {
        const std::string ply = tool_test::PlyBytes(Ball(), bigEndian);
        expectRefusals("a.ply", ply, ply.size(), 40, {kUnreadable});
    }
    const std::string threeMf = model("/3MF/box.3mf");
    // Of the 22 bytes that end the archive, the last ones are not needed to find what is in it.
    expectRefusals("a.3mf", threeMf, threeMf.size() - 22, 25, {kUnreadable});
    const std::string fbx = model("/FBX/spider.fbx");
    expectRefusals("a.fbx", fbx, fbx.size() * 9 / 10, 15, {kUnreadable});
    const std::string blend = model("/BLEND/Suzanne_248.blend");
    expectRefusals("a.blend", blend, blend.size() * 9 / 10, 15, {kUnreadable});
}

TEST_F(CutShort, TextsWithAnEndOfTheirOwn) {
    const std::string ply = tool_test::PlyText(Ball());
    expectRefusals("a.ply", ply, ply.find_last_of(' '), 40, {kUnreadable});
    const std::string stl = tool_test::StlText(Ball());
    expectRefusals("a.stl", stl, stl.rfind("endsolid"), 40, {kUnreadable});
    const std::string ifc = ReadBytes(kModels + "/IFC/AC14-FZK-Haus.ifc");
    expectRefusals("a.ifc", ifc, ifc.rfind("END-ISO"), 12, {kUnreadable});
    const std::string dae = ReadBytes(kModels + "/Collada/duck.dae");
    expectRefusals("a.dae", dae, dae.rfind("</COLLADA>"), 15, {kUnreadable});
    const std::string gltf =
        ReadBytes(kModels + "/glTF2/BoxTextured-glTF-Embedded/BoxTextured.gltf");
    expectRefusals("a.gltf", gltf, gltf.rfind('}'), 15, {kUnreadable});
}

TEST_F(CutShort, TextsThatMayEndAnywhereAreDrawnOrRefusedButNeverCrash) {
    // Half an OBJ file is an OBJ file.
    const std::string off = tool_test::OffText(Ball());
    const std::string obj = tool_test::ObjText(Ball());
    for (const auto& [name, bytes] : {std::pair("a.off", off), std::pair("a.obj", obj)}) {
        for (std::size_t i = 1; i < 30; ++i) {
            const std::string path = folder_.write(name, bytes.substr(0, bytes.size() * i / 30));
            const std::string output = folder_.path("new.svg");
            fs::remove(output);
            const RunResult run = RunTool({path, "-o", output});
            if (run.exitCode == 0) {
                EXPECT_GT(tool_test::ReadSvg(output).pathCount(), 0U);
                continue;
            }
            EXPECT_TRUE(run.exitCode == kUnreadable || run.exitCode == kNothingToDraw) << run.err;
            ExpectOneLine(run, path + ": ");
            EXPECT_FALSE(fs::exists(output));
        }
    }
}

} // namespace
