// A run never writes what it reads, nor one file twice, whatever the files are called: it is
// refused before anything is read or written.
#include "DrawingRuns.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <map>

namespace {

namespace fs = std::filesystem;

using tool_test::FilesIn;
using tool_test::RunResult;
using tool_test::RunTool;
using tool_test::Surroundings;
using tool_test::TemporaryFolder;
using tool_test::Words;

/// A folder with two models, a configuration and job files.
class OwnFiles : public testing::Test {
protected:
    OwnFiles() {
        const std::string cube = tool_test::ObjText(test_support::Box({-1, -1, -1}, {1, 1, 1}));
        folder_.write("cube.obj", cube);
        folder_.write("other.obj", cube);
        folder_.write("good.toml", "page = \"A5\"\n");
    }

    /// Jobs that draw cube.obj and other.obj into two files.
    void writeJobs(const std::string& first, const std::string& second) const {
        folder_.write("jobs.json", R"({"defaults": {"output-format": "svg"}, "jobs": [
            {"model": "cube.obj", "output": ")" +
                                       first + R"("}, {"model": "other.obj", "output": ")" +
                                       second + R"("}]})");
    }

    /// Another name of a file.
    void link(const std::string& file, const std::string& name) const {
        fs::create_symlink(file, folder_.path(name));
    }
    void hardLink(const std::string& file, const std::string& name) const {
        fs::create_hard_link(folder_.path(file), folder_.path(name));
    }

    /// The run is refused with a message; no file has changed, and none has come.
    void expectRefusal(const std::string& line,
                       const std::string& message,
                       Surroundings around = {}) const {
        const std::map<std::string, std::string> before = FilesIn(folder_);
        around.folder = folder_.path("");
        const RunResult run = RunTool(Words(line), around);
        EXPECT_EQ(run.exitCode, 2) << line << ": " << run.err;
        EXPECT_EQ(run.err, "kxcontour: " + message + "\n") << line;
        EXPECT_EQ(FilesIn(folder_), before) << line;
    }

    Surroundings outputTo(const std::string& file) const {
        Surroundings around;
        around.output = folder_.path(file);
        return around;
    }

    TemporaryFolder folder_;
};

TEST_F(OwnFiles, ADrawingDoesNotTakeThePlaceOfTheConfiguration) {
    expectRefusal("cube.obj --config good.toml -o good.toml --output-format svg",
                  "good.toml: is a file of options; the drawing would overwrite it");
    hardLink("good.toml", "twin.svg");
    expectRefusal("cube.obj --config good.toml -o twin.svg",
                  "twin.svg: is a file of options; the drawing would overwrite it");
    link("good.toml", "front.svg");
    expectRefusal("cube.obj --config good.toml --views front -o {view}.svg",
                  "front.svg: is a file of options; the drawing would overwrite it");
}

TEST_F(OwnFiles, ADrawingDoesNotTakeThePlaceOfTheJobs) {
    writeJobs("a.svg", "list");
    fs::rename(folder_.path("jobs.json"), folder_.path("list"));
    expectRefusal("batch list", "list: is a file of options; the drawing would overwrite it");
    writeJobs("a.svg", "b.svg");
    link("jobs.json", "b.svg");
    expectRefusal("batch jobs.json", "b.svg: is a file of options; the drawing would overwrite it");
}

TEST_F(OwnFiles, ADrawingDoesNotTakeThePlaceOfTheModelOfAnotherJob) {
    writeJobs("other.obj", "b.svg");
    expectRefusal("batch jobs.json", "other.obj: is an input; the drawing would overwrite it");
    hardLink("cube.obj", "b.svg");
    writeJobs("a.svg", "b.svg");
    expectRefusal("batch jobs.json", "b.svg: is an input; the drawing would overwrite it");
}

TEST_F(OwnFiles, TwoDrawingsAreNotOneFile) {
    const std::string tail = "; one would overwrite the other";
    folder_.write("old.svg", "old");
    link("old.svg", "link.svg");
    writeJobs("old.svg", "link.svg");
    expectRefusal("batch jobs.json", "link.svg: is the same file as old.svg" + tail);
    hardLink("old.svg", "twin.svg");
    writeJobs("old.svg", "twin.svg");
    expectRefusal("batch jobs.json", "twin.svg: is the same file as old.svg" + tail);
}

TEST_F(OwnFiles, TwoDrawingsAreNotOneFileThatIsYetToCome) {
    const std::string tail = "; one would overwrite the other";
    link("new.svg", "dangling.svg");
    writeJobs("dangling.svg", "new.svg");
    expectRefusal("batch jobs.json", "new.svg: is the same file as dangling.svg" + tail);
    fs::create_directory(folder_.path("folder"));
    link("folder", "same");
    writeJobs("folder/new.svg", "same/new.svg");
    expectRefusal("batch jobs.json", "same/new.svg: is the same file as folder/new.svg" + tail);
}

TEST_F(OwnFiles, NotesDoNotTakeThePlaceOfAnything) {
    writeJobs("a.svg", "b.svg");
    folder_.write("b.svg", "old");
    const auto expect = [&](const std::string& state) {
        expectRefusal("batch jobs.json --config good.toml --state " + state,
                      "state '" + state + "' is already a file of the batch");
    };
    expect("cube.obj");
    expect("good.toml");
    link("jobs.json", "link");
    expect("link");
    hardLink("b.svg", "twin");
    expect("twin");
    expectRefusal("cube.obj --views front -o {view}.svg --state cube.obj",
                  "state 'cube.obj' is already a file of the batch");
}

TEST_F(OwnFiles, StandardInputMayBeAFile) {
    Surroundings around;
    around.input = folder_.path("cube.obj");
    expectRefusal("- --format obj -o cube.obj --output-format svg",
                  "cube.obj: is an input; the drawing would overwrite it", around);
}

TEST_F(OwnFiles, StandardOutputMayBeAFile) {
    expectRefusal("cube.obj -o -", "standard output: is an input; the drawing would overwrite it",
                  outputTo("cube.obj"));
    const std::string message =
        "standard output is redirected to cube.obj, which is a file of this run";
    expectRefusal("cube.obj --info", message, outputTo("cube.obj"));
    expectRefusal("cube.obj --info --json", message, outputTo("cube.obj"));
    expectRefusal("cube.obj -o new.svg", message, outputTo("cube.obj"));
    expectRefusal("other.obj -o cube.obj --output-format svg", message, outputTo("cube.obj"));
    writeJobs("a.svg", "b.svg");
    expectRefusal("batch jobs.json", message, outputTo("cube.obj"));
    expectRefusal("batch jobs.json --json",
                  "standard output is redirected to jobs.json, which is a file of this run",
                  outputTo("jobs.json"));
}

TEST_F(OwnFiles, QuietRunsDoNotMind) {
    Surroundings around = outputTo("cube.obj");
    around.folder = folder_.path("");
    EXPECT_EQ(RunTool(Words("cube.obj -o new.svg -q"), around).exitCode, 0);
}

TEST_F(OwnFiles, DifferentFilesOfOneNameAreNoMistake) {
    fs::create_directory(folder_.path("folder"));
    writeJobs("folder/a.svg", "a.svg");
    Surroundings around;
    around.folder = folder_.path("");
    EXPECT_EQ(RunTool(Words("batch jobs.json"), around).exitCode, 0);
    EXPECT_EQ(RunTool(Words("batch jobs.json --force"), around).exitCode, 0);
}

/// A triangle in glTF, whose numbers are in "buffer.bin".
const char* const kModel = R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
    "nodes": [{"mesh": 0}], "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
    "buffers": [{"uri": "buffer.bin", "byteLength": 36}],
    "bufferViews": [{"buffer": 0, "byteLength": 36}],
    "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
                   "min": [0, 0, 0], "max": [1, 1, 0]}]})";

class SideFiles : public OwnFiles {
protected:
    SideFiles() {
        const std::array<float, 9> corners{0, 0, 0, 1, 0, 0, 0, 1, 0};
        folder_.write("model.gltf", kModel);
        folder_.write("buffer.bin", {reinterpret_cast<const char*>(corners.data()),
                                     corners.size() * sizeof(float)});
    }

    RunResult run(const std::string& line) const { return tool_test::RunIn(folder_, line); }
};

TEST_F(SideFiles, AreNotReplacedByADrawingOfTheirModel) {
    EXPECT_EQ(run("model.gltf -q -o ok.svg").exitCode, 0);
    const std::string tail = ": belongs to a model; the drawing would overwrite it";
    expectRefusal("model.gltf -o buffer.bin --output-format svg", "buffer.bin" + tail);
    link("buffer.bin", "link.svg");
    expectRefusal("model.gltf -o link.svg", "link.svg" + tail);
    hardLink("buffer.bin", "twin.svg");
    expectRefusal("model.gltf -o twin.svg", "twin.svg" + tail);
    expectRefusal("cube.obj --occluder model.gltf -o twin.svg", "twin.svg" + tail);
    expectRefusal("model.gltf -o -", "standard output" + tail, outputTo("buffer.bin"));
}

TEST_F(SideFiles, DoNotGetWhatIsPrinted) {
    const std::string message = "standard output: belongs to a model and would be overwritten";
    expectRefusal("model.gltf --info", message, outputTo("buffer.bin"));
    expectRefusal("model.gltf -o new.svg", message, outputTo("buffer.bin"));
}

/// The model is read after the other job has been drawn: one thread has one scene at a time.
TEST_F(SideFiles, AreNotReplacedByADrawingOfAnotherModel) {
    const std::string buffer = tool_test::ReadBytes(folder_.path("buffer.bin"));
    folder_.write("jobs.json", R"({"defaults": {"output-format": "svg"}, "jobs": [
        {"model": "cube.obj", "output": "buffer.bin"},
        {"model": "model.gltf", "output": "b.svg"}]})");
    for (const char* threads : {"1", "2"}) {
        const RunResult batch = run(std::string("batch jobs.json --force -q --jobs ") + threads);
        EXPECT_EQ(batch.exitCode, 2) << batch.err;
        EXPECT_EQ(batch.err,
                  "kxcontour: buffer.bin: belongs to a model; the drawing would overwrite it\n");
        EXPECT_EQ(tool_test::ReadBytes(folder_.path("buffer.bin")), buffer);
        EXPECT_TRUE(fs::exists(folder_.path("b.svg"))) << "the other job is drawn";
        fs::remove(folder_.path("b.svg"));
    }
}

TEST_F(SideFiles, AreNotReplacedByNotes) {
    folder_.write("jobs.json", R"({"jobs": [{"model": "cube.obj", "output": "a.svg"},
        {"model": "model.gltf", "output": "b.svg"}]})");
    expectRefusal("batch jobs.json --jobs 1 --state buffer.bin",
                  "buffer.bin: belongs to a model and would be overwritten");
}

} // namespace
