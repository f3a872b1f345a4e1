// The page on batches: its commands are run in their order, and its scripts in the place of the
// programs that would start them.
#include "DrawingRuns.h"
#include "RecipeTools.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

using tool_test::ReadBytes;
using tool_test::RunResult;
using tool_test::Surroundings;
using tool_test::TemporaryFolder;

/// The blocks of a page that are fenced as a language, in their order.
std::vector<std::string> Blocks(const std::string& language) {
    std::istringstream page(ReadBytes(tool_test::CookbookPath("batch.md")));
    std::vector<std::string> blocks;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line == "```" + language) {
            inside = true;
            blocks.emplace_back();
        } else if (line == "```") {
            inside = false;
        } else if (inside) {
            blocks.back() += line + "\n";
        }
    }
    return blocks;
}

/// A folder with the models of the page, the tool on the path, and programs that run on this
/// machine what they are to run on another.
class BatchPage : public testing::Test {
protected:
    BatchPage() {
        tool_test::LinkModels(path(""));
        // ssh [OPTION...] HOST [--] COMMAND; like sshd it starts at home in the user's shell
        writeProgram("stand-in", "while [[ $1 == -* ]]; do shift; done\n"
                                 "echo \"$1\" >>hosts\nshift\n[[ $1 != -- ]] || shift\n"
                                 "cd \"$HOME\" && SHELL=/bin/bash exec bash -c \"$*\"\n");
        writeProgram("srun", "exec \"$@\"\n");
    }

    void writeProgram(const std::string& name, const std::string& text) const {
        ASSERT_EQ(::chmod(folder_.write(name, "#!/bin/bash\n" + text).c_str(), 0755), 0);
    }

    RunResult run(const std::string& command, const std::string& variable = "A=") const {
        Surroundings around;
        around.folder = path("");
        const std::string tools = fs::path(KXCONTOUR_BINARY).parent_path().string();
        around.environment = {"HOME=" + path(""), "PARALLEL_SSH=" + path("stand-in"),
                              "PARALLEL=--will-cite", variable};
        return tool_test::Run(
            "/bin/bash", {"-c", "PATH='" + tools + "':'" + path("") + "':\"$PATH\"; " + command},
            {}, around);
    }

    std::string path(const std::string& name) const { return folder_.path(name); }

    TemporaryFolder folder_;
};

/// The drawings of two models in three views.
const std::vector<std::string> kSixDrawings{"bracket-front.svg", "bracket-top.svg",
                                            "bracket-iso.svg",   "spider-front.svg",
                                            "spider-top.svg",    "spider-iso.svg"};

TEST_F(BatchPage, HasCommandsThatRun) {
    ASSERT_EQ(Blocks("json").size(), 1U);
    folder_.write("jobs.json", Blocks("json").front());
    const std::vector<std::string> commands = Blocks("sh");
    ASSERT_EQ(commands.size(), 6U);
    for (const std::string& command : commands) {
        if (command.rfind("parallel", 0) == 0 && command.find("resume") == std::string::npos) {
            fs::remove(path(kSixDrawings.front()));
        }
        const RunResult run = this->run(command);
        EXPECT_EQ(run.exitCode, 0) << command << run.err;
        EXPECT_TRUE(fs::exists(path(kSixDrawings.front()))) << command;
    }
    for (const std::string& output : kSixDrawings) {
        EXPECT_GT(tool_test::ReadSvg(path(output)).pathCount(), 0U) << output;
    }
    for (const char* output : {"sheet.pdf", "both.svg"}) {
        EXPECT_TRUE(fs::exists(path(output))) << output;
    }
    const std::string hosts = ReadBytes(path("hosts"));
    EXPECT_NE(hosts.find("anna\n"), std::string::npos);
    EXPECT_NE(hosts.find("bert\n"), std::string::npos);
}

TEST_F(BatchPage, HasAnArrayThatDrawsWhatParallelDoes) {
    ASSERT_EQ(Blocks("bash").size(), 1U);
    folder_.write("drawings.sbatch", Blocks("bash").front());
    EXPECT_EQ(run("bash -n drawings.sbatch").exitCode, 0);
    for (std::size_t task = 0; task < kSixDrawings.size(); ++task) {
        const RunResult run =
            this->run("bash drawings.sbatch", "SLURM_ARRAY_TASK_ID=" + std::to_string(task));
        EXPECT_EQ(run.exitCode, 0) << task << ": " << run.err;
    }
    std::map<std::string, std::string> drawn;
    for (const std::string& output : kSixDrawings) {
        drawn[output] = ReadBytes(path(output));
        EXPECT_TRUE(fs::remove(path(output))) << output;
    }
    ASSERT_EQ(run(Blocks("sh")[4]).exitCode, 0);
    for (const std::string& output : kSixDrawings) {
        EXPECT_EQ(ReadBytes(path(output)), drawn[output]) << output;
    }
}

} // namespace
