// Whatever a run prints, it arrives or the run fails.
#include "DrawingRuns.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using tool_test::RunResult;
using tool_test::RunTool;
using tool_test::Surroundings;
using tool_test::TemporaryFolder;
using tool_test::Words;

const char* const kJobs = R"({"jobs": [{"model": "cube.obj", "output": "job.svg"}]})";
const char* const kFailingJobs = R"({"jobs": [{"model": "gone.obj", "output": "job.svg"}]})";

/// Everything that prints.
const std::vector<const char*> kPrinting{"--help",
                                         "--version",
                                         "help camera",
                                         "batch --help",
                                         "man",
                                         "completions bash",
                                         "cube.obj --info",
                                         "cube.obj --info --json",
                                         "cube.obj -o new.svg",
                                         "cube.obj -o new.svg --json",
                                         "cube.obj --views front,top -o new-{view}.svg",
                                         "batch jobs.json --json"};

class LostOutput : public testing::Test {
protected:
    LostOutput() {
        folder_.write("cube.obj", tool_test::ObjText(test_support::Box({-1, -1, -1}, {1, 1, 1})));
        folder_.write("jobs.json", kJobs);
        folder_.write("failing.json", kFailingJobs);
    }

    RunResult run(const std::string& line, Surroundings around) const {
        around.folder = folder_.path("");
        return RunTool(Words(line), around);
    }

    void expectLost(const std::string& line, const Surroundings& around, const char* why) const {
        const RunResult lost = run(line, around);
        EXPECT_EQ(lost.exitCode, 5) << line;
        EXPECT_EQ(lost.err, std::string("kxcontour: standard output: cannot write: ") + why + "\n")
            << line;
    }

    TemporaryFolder folder_;
};

TEST_F(LostOutput, IsAFailureWhereThereIsNoRoom) {
    Surroundings full;
    full.output = "/dev/full";
    for (const char* line : kPrinting) {
        expectLost(line, full, "No space left on device");
    }
}

TEST_F(LostOutput, IsAFailureWhereStandardOutputIsClosed) {
    Surroundings closed;
    closed.outputClosed = true;
    for (const char* line : kPrinting) {
        expectLost(line, closed, "Bad file descriptor");
    }
}

TEST_F(LostOutput, IsAFailureWhereNobodyReads) {
    Surroundings left;
    left.readerLeft = true;
    for (const char* line : kPrinting) {
        expectLost(line, left, "Broken pipe");
    }
}

TEST_F(LostOutput, IsNoneWhereNothingIsPrinted) {
    Surroundings closed;
    closed.outputClosed = true;
    EXPECT_EQ(run("cube.obj -o new.svg --quiet", closed).exitCode, 0);
    EXPECT_EQ(run("batch jobs.json --quiet", closed).exitCode, 0);
}

TEST_F(LostOutput, LeavesTheDrawing) {
    Surroundings full;
    full.output = "/dev/full";
    EXPECT_EQ(run("cube.obj -o new.svg", full).exitCode, 5);
    EXPECT_NE(tool_test::ReadBytes(folder_.path("new.svg")), "");
}

TEST_F(LostOutput, DoesNotHideTheFailureOfAJob) {
    Surroundings full;
    full.output = "/dev/full";
    const RunResult failed = run("batch failing.json", full);
    EXPECT_EQ(failed.exitCode, 3);
    EXPECT_NE(failed.err.find("gone.obj"), std::string::npos) << failed.err;
    EXPECT_NE(failed.err.find("No space left on device"), std::string::npos) << failed.err;
}

} // namespace
