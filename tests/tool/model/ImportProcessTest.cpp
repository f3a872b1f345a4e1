// Models through a pipe, and importers that die.
#include "model/ImportProcess.h"

#include "ModelText.h"
#include "ShapeBuilders.h"
#include "model/ModelReader.h"
#include "model/Pipe.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using kxcontour::ExitCode;
using kxcontour::ImportModel;
using kxcontour::Model;
using kxcontour::PipeEnded;
using kxcontour::PipeReader;
using kxcontour::PipeWriter;
using tool_test::FailureOf;
using tool_test::FileRequest;
using tool_test::Holds;
using tool_test::TemporaryFolder;

void ExpectSameShape(const kxcontour::Shape& a, const kxcontour::Shape& b) {
    ASSERT_EQ(a.vertices->GetVertexQuantity(), b.vertices->GetVertexQuantity());
    ASSERT_EQ(a.triangles->GetIndexQuantity(), b.triangles->GetIndexQuantity());
    EXPECT_EQ(a.vertices->GetAttributes().GetNormalChannels(),
              b.vertices->GetAttributes().GetNormalChannels());
    const kx::kxVertexBuffer& verticesOfA = *a.vertices;
    const kx::kxVertexBuffer& verticesOfB = *b.vertices;
    int different = 0;
    for (int i = 0; i < verticesOfA.GetVertexQuantity(); ++i) {
        different += verticesOfA.Position3(i) == verticesOfB.Position3(i) ? 0 : 1;
        different += verticesOfA.Normal3(i) == verticesOfB.Normal3(i) ? 0 : 1;
    }
    for (int i = 0; i < a.triangles->GetIndexQuantity(); ++i) {
        different += a.triangles->GetData()[i] == b.triangles->GetData()[i] ? 0 : 1;
    }
    EXPECT_EQ(different, 0);
}

void ExpectSameFacts(const Model& a, const Model& b) {
    EXPECT_EQ(a.objects, b.objects);
    EXPECT_EQ(a.format, b.format);
    EXPECT_EQ(a.millimetresPerUnit, b.millimetresPerUnit);
    EXPECT_EQ(a.unitStated, b.unitStated);
    EXPECT_TRUE(a.fileToWorld == b.fileToWorld);
    EXPECT_EQ(a.cutPolygons, b.cutPolygons);
    EXPECT_EQ(a.leftOutPolygons, b.leftOutPolygons);
}

TEST(ImportModel, GivesTheModelThatReadingGives) {
    for (const char* name :
         {"/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb", "/STL/Spider_binary.stl",
          "/FBX/box_orphant_embedded_texture.fbx", "/OFF/Cube.off", "/OBJ/testmixed.obj"}) {
        const std::string path = std::string(ASSIMP_MODELS) + name;
        const Model read = kxcontour::ReadModel(FileRequest(path));
        const Model imported = ImportModel(FileRequest(path));
        ASSERT_EQ(imported.shapes.size(), read.shapes.size());
        for (std::size_t i = 0; i < read.shapes.size(); ++i) {
            ExpectSameShape(imported.shapes[i], read.shapes[i]);
        }
        ASSERT_EQ(imported.placements.size(), read.placements.size());
        for (std::size_t i = 0; i < read.placements.size(); ++i) {
            EXPECT_EQ(imported.placements[i].shape, read.placements[i].shape);
            EXPECT_EQ(imported.placements[i].object, read.placements[i].object);
            EXPECT_TRUE(imported.placements[i].world == read.placements[i].world);
        }
        ExpectSameFacts(imported, read);
    }
}

TEST(ImportModel, GivesTheFailureThatReadingGives) {
    const TemporaryFolder folder;
    for (const std::string& path :
         {folder.path("none.obj"), folder.write("a.glb", "glTF"), folder.write("empty.ply", "")}) {
        const std::string read =
            FailureOf(ExitCode::Unreadable, [&] { kxcontour::ReadModel(FileRequest(path)); });
        EXPECT_EQ(FailureOf(ExitCode::Unreadable, [&] { ImportModel(FileRequest(path)); }), read);
    }
}

TEST(ImportModel, SurvivesImportersThatCrash) {
    // A file on which the packaged importer crashes; one that reads it would make a model of it.
    const std::string path = ASSIMP_MODELS "/RAW/WithColor.raw";
    try {
        EXPECT_FALSE(ImportModel(FileRequest(path)).placements.empty());
    } catch (const kxcontour::Failure& failure) {
        EXPECT_EQ(failure.code(), ExitCode::Unreadable);
        EXPECT_TRUE(Holds(failure.what(), path + ": cannot read the model: ")) << failure.what();
    }
}

/// A model whose bytes are in a file that nobody will ever write: reading it waits without an end.
std::string ModelThatWaits(const TemporaryFolder& folder) {
    EXPECT_EQ(::mkfifo(folder.path("never.bin").c_str(), 0600), 0);
    return folder.write(
        "waits.gltf",
        tool_test::GltfText(test_support::Box({0, 0, 0}, {1, 1, 1}), R"([{"mesh":0}])",
                            std::string(R"([{"primitives":[)") + tool_test::kGltfPrimitive + "]}]",
                            "never.bin"));
}

TEST(ImportModel, EndsImportersThatWait) {
    const TemporaryFolder folder;
    const std::string path = ModelThatWaits(folder);
    kxcontour::ImportLimits limits;
    limits.time = std::chrono::milliseconds(250);
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(FailureOf(ExitCode::Unreadable, [&] { ImportModel(FileRequest(path), limits); }),
              path + ": cannot read the model: the importer took longer than 0.25 seconds");
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
}

TEST(ImportModel, EndsImportersThatWorkTooLong) {
    // One polygon of so many corners that cutting it into triangles takes minutes; by a name of no
    // format, which leaves it to the importers.
    const TemporaryFolder folder;
    const std::string path = folder.write("long", tool_test::CombObj(100000));
    kxcontour::ImportLimits limits;
    limits.work = std::chrono::seconds(1);
    EXPECT_EQ(FailureOf(ExitCode::Unreadable, [&] { ImportModel(FileRequest(path), limits); }),
              path + ": cannot read the model: the importer took longer than 1 second");
}

/// Has a file as standard input while it lives.
class StandardInput {
public:
    explicit StandardInput(const std::string& path) : before_(::dup(STDIN_FILENO)) {
        const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_GE(::dup2(file, STDIN_FILENO), 0);
        ::close(file);
    }
    ~StandardInput() {
        ::dup2(before_, STDIN_FILENO);
        ::close(before_);
    }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

private:
    int before_;
};

kxcontour::ModelRequest InputRequest(const std::string& format) {
    kxcontour::ModelRequest request = FileRequest("-");
    request.format = format;
    return request;
}

TEST(ImportModel, ReadsStandardInputAsItWouldReadTheFile) {
    const TemporaryFolder folder;
    const test_support::MeshData ball = test_support::Sphere({0, 0, 0}, 1.0F, 96, 64);
    const std::vector<std::pair<std::string, std::string>> files{
        {"stl", tool_test::StlBytes(ball)},
        {"STL", tool_test::StlText(ball)},
        {"ply", tool_test::PlyBytes(ball, true)},
        {"3mf", tool_test::Bytes3mf(tool_test::ModelOf3mf(ball, "unit=\"inch\""))},
        {"obj", tool_test::ObjText(ball)}};
    for (const auto& [format, bytes] : files) {
        const std::string path = folder.write("model." + format, bytes);
        const StandardInput input(path);
        const Model fromInput = ImportModel(InputRequest(format));
        const Model fromFile = ImportModel(FileRequest(path));
        ASSERT_EQ(fromInput.shapes.size(), 1U) << format;
        ExpectSameShape(fromInput.shapes[0], fromFile.shapes.at(0));
        ExpectSameFacts(fromInput, fromFile);
    }
}

TEST(ImportModel, SaysWhatIsWrongWithStandardInput) {
    const TemporaryFolder folder;
    const std::string ball = tool_test::StlText(test_support::Sphere({0, 0, 0}, 1.0F, 9, 9));
    const auto refusal = [&](ExitCode code, const std::string& bytes, const std::string& format) {
        const StandardInput input(folder.write("input", bytes));
        return FailureOf(code, [&] { ImportModel(InputRequest(format)); });
    };
    const ExitCode bad = ExitCode::Unreadable;
    EXPECT_EQ(refusal(bad, "", "stl"), "standard input: is empty");
    EXPECT_EQ(refusal(bad, ball.substr(0, ball.size() / 2), "stl"),
              "standard input: is cut short or damaged: its end is missing");
    EXPECT_TRUE(Holds(refusal(bad, "glTF", "glb"), "standard input: cannot read the model: "));
    const std::string misread = refusal(bad, "<?xml version=\"1.0\"?><x>", "irrmesh");
    EXPECT_FALSE(Holds(misread, "$$$")) << misread;
    EXPECT_EQ(refusal(ExitCode::Usage, ball, "docx"),
              "standard input: --format docx is not a format that can be read");
    EXPECT_EQ(refusal(ExitCode::Usage, ball, ""),
              "standard input: needs --format, an ending of file names such as stl");
    const StandardInput input(folder.path(""));
    EXPECT_EQ(FailureOf(bad, [&] { ImportModel(InputRequest("stl")); }),
              "standard input: Is a directory");
}

TEST(ImportModel, LeavesNoChildBehind) {
    const TemporaryFolder folder;
    const std::string path =
        folder.write("a.stl", tool_test::StlBytes(test_support::Box({0, 0, 0}, {1, 1, 1})));
    ImportModel(FileRequest(path));
    FailureOf(ExitCode::Unreadable, [&] { ImportModel(FileRequest(folder.path("none.obj"))); });
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

TEST(Pipe, PassesValuesOfAnyLengthInOrder) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    std::vector<unsigned int> sent(1000000);
    for (std::size_t i = 0; i < sent.size(); ++i) {
        sent[i] = static_cast<unsigned int>(i * 2654435761U);
    }
    bool written = false;
    std::thread writer([&] {
        PipeWriter pipe(ends[1]);
        pipe.value(true);
        pipe.bytes(sent.data(), sent.size() * sizeof sent[0]);
        pipe.value(42.5);
        written = pipe.flush();
    });
    PipeReader pipe(ends[0]);
    std::vector<unsigned int> received(sent.size());
    EXPECT_TRUE(pipe.value<bool>());
    pipe.bytes(received.data(), received.size() * sizeof received[0]);
    EXPECT_EQ(pipe.value<double>(), 42.5);
    EXPECT_THROW(pipe.value<char>(), PipeEnded);
    writer.join();
    EXPECT_TRUE(written);
    EXPECT_EQ(received, sent);
}

TEST(Pipe, PassesTexts) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const std::string name("Gehäuse\0 2", 11);
    {
        PipeWriter pipe(ends[1]);
        pipe.text("");
        pipe.text(name);
        EXPECT_TRUE(pipe.flush());
    }
    PipeReader pipe(ends[0]);
    EXPECT_EQ(pipe.text(), "");
    EXPECT_EQ(pipe.text(), name);
}

TEST(Pipe, GivesUpAtTheDeadlineAndNotBefore) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const auto deadline = PipeReader::Clock::now() + std::chrono::milliseconds(50);
    PipeReader pipe(ends[0], deadline);
    PipeWriter writer(ends[1]);
    writer.value('x');
    ASSERT_TRUE(writer.flush());
    EXPECT_EQ(pipe.value<char>(), 'x');
    EXPECT_THROW(pipe.value<char>(), kxcontour::PipeTimedOut);
    EXPECT_GE(PipeReader::Clock::now(), deadline);
}

TEST(Pipe, SaysWhenAMessageIsNotWhole) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    {
        PipeWriter pipe(ends[1]);
        pipe.value('x');
        EXPECT_TRUE(pipe.flush());
    }
    PipeReader pipe(ends[0]);
    EXPECT_THROW(pipe.value<int>(), PipeEnded);
}

} // namespace
