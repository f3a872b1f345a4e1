// Ctrl-C at any moment of a run on a large model.
#include "ModelText.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

/// Enough triangles for every stage to be interrupted in it.
std::string LargeModel() {
    return tool_test::StlBytes(test_support::Sphere({0.0F, 0.0F, 0.0F}, 1.0F, 400, 200));
}

pid_t Start(const std::string& model, const std::string& output) {
    const pid_t child = ::fork();
    if (child == 0) {
        const int nowhere = ::open("/dev/null", O_RDWR);
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
        ::execl(KXCONTOUR_BINARY, KXCONTOUR_BINARY, model.c_str(), "-o", output.c_str(),
                static_cast<char*>(nullptr));
        ::_exit(127);
    }
    return child;
}

class Interrupt : public testing::TestWithParam<int> {};

TEST_P(Interrupt, EndsTheRunAtOnceAndLeavesNothingBehind) {
    const tool_test::TemporaryFolder folder;
    const std::string model = folder.write("model.stl", LargeModel());
    const std::string output = folder.write("drawing.svg", "kept");
    int interrupted = 0;
    for (int delay = 0; delay < 2000; delay += delay < 50 ? 10 : 150) {
        const pid_t child = Start(model, output);
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        const auto sent = Clock::now();
        ::kill(child, GetParam());
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
            break; // It was faster than the signal.
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - sent).count();
        // Before the program has set up its handler the signal itself ends it. That is a matter of
        // a few milliseconds, and of more on a machine that is busy with other tests.
        const bool tooEarly = WIFSIGNALED(status) && WTERMSIG(status) == GetParam() && delay < 200;
        EXPECT_TRUE(tooEarly || (WIFEXITED(status) && WEXITSTATUS(status) == 128 + GetParam()))
            << delay;
        // A tenth of a second, and room for a machine that is busy with other tests.
        EXPECT_LT(seconds, 0.5) << delay;
        EXPECT_EQ(tool_test::ReadBytes(output), "kept") << delay;
        EXPECT_EQ(folder.entryCount(), 2U) << delay;
        interrupted += tooEarly ? 0 : 1;
    }
    EXPECT_GT(interrupted, 3);
}

INSTANTIATE_TEST_SUITE_P(Signals, Interrupt, testing::Values(SIGINT, SIGHUP, SIGQUIT));

TEST(IgnoredInterrupt, LetsTheRunDraw) {
    const tool_test::TemporaryFolder folder;
    const std::string model = folder.write("model.stl", LargeModel());
    for (const int signal : {SIGINT, SIGHUP}) {
        const std::string output = folder.path(std::to_string(signal) + ".svg");
        // What is ignored here is ignored in the run, too, as under nohup.
        const auto before = std::signal(signal, SIG_IGN);
        const pid_t child = Start(model, output);
        int status = 0;
        int sent = 0;
        while (::waitpid(child, &status, WNOHANG) == 0) {
            ::kill(child, signal);
            ++sent;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        std::signal(signal, before);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << signal;
        EXPECT_GT(sent, 3);
        EXPECT_GT(tool_test::ReadBytes(output).size(), 1000U);
    }
}

} // namespace
