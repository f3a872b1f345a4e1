// The tool ends with a message where memory does, before the system ends it.
#include "ModelText.h"
#include "ToolRun.h"
#include "import/process/SanitizedBuild.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

/// What the system says of a process's data: "unlimited" or a number of bytes.
std::string DataLimitOf(pid_t process) {
    const std::string name = "Max data size";
    std::ifstream limits("/proc/" + std::to_string(process) + "/limits");
    for (std::string line; std::getline(limits, line);) {
        if (line.rfind(name, 0) == 0) {
            const std::size_t first = line.find_first_not_of(' ', name.size());
            return line.substr(first, line.find(' ', first) - first);
        }
    }
    return "";
}

/// The tool, waiting for a model in a pipe of which it gets nothing.
class WaitingTool {
public:
    explicit WaitingTool(const std::string& output) {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::pipe(ends), 0);
        process_ = ::fork();
        if (process_ == 0) {
            const int nowhere = ::open("/dev/null", O_RDWR);
            ::dup2(ends[0], STDIN_FILENO);
            ::dup2(nowhere, STDOUT_FILENO);
            ::dup2(nowhere, STDERR_FILENO);
            ::close(ends[1]);
            ::execl(KXCONTOUR_BINARY, KXCONTOUR_BINARY, "-", "--format", "stl", "-o",
                    output.c_str(), static_cast<char*>(nullptr));
            ::_exit(127);
        }
        ::close(ends[0]);
        input_ = ends[1];
    }
    WaitingTool(const WaitingTool&) = delete;
    WaitingTool& operator=(const WaitingTool&) = delete;
    ~WaitingTool() {
        ::close(input_);
        ::kill(process_, SIGTERM);
        ::waitpid(process_, nullptr, 0);
    }

    pid_t process() const { return process_; }

private:
    pid_t process_ = -1;
    int input_ = -1;
};

TEST(Memory, IsLimitedToWhatTheMachineHas) {
    if (kxcontour::kIsSanitized) {
        GTEST_SKIP() << "sanitizers reserve more memory than a limit can allow";
    }
    const tool_test::TemporaryFolder folder;
    const WaitingTool tool(folder.path("drawing.svg"));
    const auto patience = Clock::now() + std::chrono::seconds(10);
    while (DataLimitOf(tool.process()) == "unlimited" && Clock::now() < patience) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    const std::string limit = DataLimitOf(tool.process());
    EXPECT_EQ(limit.find_first_not_of("0123456789"), std::string::npos) << limit;
}

TEST(Memory, ThatIsTooLittleIsSaidInOneLine) {
    if (kxcontour::kIsSanitized) {
        GTEST_SKIP() << "sanitizers reserve more memory than a limit can allow";
    }
    const tool_test::TemporaryFolder folder;
    const std::string model = folder.write(
        "model.stl", tool_test::StlBytes(test_support::Sphere({0.0F, 0.0F, 0.0F}, 1.0F, 400, 200)));
    const std::string output = folder.write("drawing.svg", "kept");
    // Enough to read the model, not to draw it six times.
    const std::string tool =
        "ulimit -d 80000; exec '" + std::string(KXCONTOUR_BINARY) + "' -o '" + output + "'";
    const std::string models = " '" + model + "' '" + model + "' '" + model + "'";
    const std::string command = tool + models + models;
    const tool_test::RunResult result = tool_test::Run("/bin/sh", {"-c", command});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "kxcontour: internal error: out of memory\n");
    EXPECT_EQ(tool_test::ReadBytes(output), "kept");
    EXPECT_EQ(folder.entryCount(), 2U);
}

} // namespace
