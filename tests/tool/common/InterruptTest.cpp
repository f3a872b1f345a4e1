// What an interrupt removes, on one thread and on many.
#include "tool/common/Interrupt.h"

#include "ModelText.h"
#include "drawing/files/UnfinishedFile.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using kxcontour::InterruptsHeld;
using kxcontour::UnfinishedFile;
using tool_test::TemporaryFolder;

/// Runs something in a process that handles interrupts; returns its exit code, -1 for a signal.
int ExitCodeOf(const std::function<void()>& action, const std::function<void(pid_t)>& meanwhile) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
        kxcontour::HandleInterrupts();
        action();
        ::_exit(0);
    }
    meanwhile(child);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int ExitCodeOf(const std::function<void()>& action) {
    return ExitCodeOf(action, [](pid_t) {});
}

void Create(const std::string& path) {
    std::ofstream(path) << "x";
}

TEST(UnfinishedFile, IsRemovedWhileItIsAnnounced) {
    const TemporaryFolder folder;
    const auto run = [&folder] {
        Create(folder.path("kept"));
        Create(folder.path("gone"));
        { const UnfinishedFile finished(folder.path("kept")); }
        const UnfinishedFile unfinished(folder.path("gone"));
        ::raise(SIGINT);
    };
    EXPECT_EQ(ExitCodeOf(run), 128 + SIGINT);
    EXPECT_TRUE(std::filesystem::exists(folder.path("kept")));
    EXPECT_FALSE(std::filesystem::exists(folder.path("gone")));
}

TEST(UnfinishedFile, HasRoomForSixtyFourAtATime) {
    const TemporaryFolder folder;
    const auto run = [&folder] {
        std::vector<std::unique_ptr<UnfinishedFile>> files;
        // Places are free again: many more than there is room for, one after the other.
        for (int i = 0; i < 1000; ++i) {
            const UnfinishedFile finished(folder.path("finished"));
        }
        for (int i = 0; i < 70; ++i) {
            const std::string path = folder.path(std::to_string(i));
            Create(path);
            files.push_back(std::make_unique<UnfinishedFile>(path));
        }
        ::raise(SIGTERM);
    };
    EXPECT_EQ(ExitCodeOf(run), 128 + SIGTERM);
    EXPECT_EQ(folder.entryCount(), 6U);
}

TEST(UnfinishedFile, IgnoresPathsThatNoFileHas) {
    const TemporaryFolder folder;
    const auto run = [&folder] {
        const UnfinishedFile none(std::string(100000, 'x'));
        const UnfinishedFile unfinished(folder.path("gone"));
        Create(folder.path("gone"));
        ::raise(SIGINT);
    };
    EXPECT_EQ(ExitCodeOf(run), 128 + SIGINT);
    EXPECT_EQ(folder.entryCount(), 0U);
}

TEST(InterruptsHeld, LetsAnInterruptWaitAndNests) {
    const TemporaryFolder folder;
    const auto run = [&folder] {
        {
            const InterruptsHeld held;
            {
                const InterruptsHeld again;
                ::raise(SIGINT);
            }
            Create(folder.path("done"));
        }
        Create(folder.path("too late"));
    };
    EXPECT_EQ(ExitCodeOf(run), 128 + SIGINT);
    EXPECT_TRUE(std::filesystem::exists(folder.path("done")));
    EXPECT_EQ(folder.entryCount(), 1U);
}

TEST(UnfinishedFile, LeavesTheFilesOfItsParentAlone) {
    const TemporaryFolder folder;
    Create(folder.path("parent's"));
    const auto run = [&folder] {
        const UnfinishedFile unfinished(folder.path("parent's"));
        const pid_t grandchild = ::fork();
        if (grandchild == 0) {
            ::raise(SIGINT);
        }
        int status = 0;
        ::waitpid(grandchild, &status, 0);
        ::_exit(WIFSIGNALED(status) ? WTERMSIG(status) : -1);
    };
    EXPECT_EQ(ExitCodeOf(run), SIGINT) << "ended by the signal itself";
    EXPECT_TRUE(std::filesystem::exists(folder.path("parent's")));
}

TEST(UnfinishedFile, IsRemovedByEverySignalThatEndsARun) {
    for (const int signal : {SIGINT, SIGHUP, SIGQUIT, SIGTERM, SIGXCPU}) {
        const TemporaryFolder folder;
        const auto run = [&folder, signal] {
            Create(folder.path("gone"));
            const UnfinishedFile unfinished(folder.path("gone"));
            ::raise(signal);
        };
        EXPECT_EQ(ExitCodeOf(run), 128 + signal);
        EXPECT_EQ(folder.entryCount(), 0U) << signal;
    }
}

TEST(UnfinishedFile, IsRemovedByAnAbort) {
    const TemporaryFolder folder;
    const auto run = [&folder] {
        const InterruptsHeld held;
        Create(folder.path("gone"));
        const UnfinishedFile unfinished(folder.path("gone"));
        std::abort();
    };
    EXPECT_EQ(ExitCodeOf(run), -1) << "ended by SIGABRT";
    EXPECT_EQ(folder.entryCount(), 0U);
}

TEST(HandleInterrupts, LeavesSignalsIgnoredThatAreIgnored) {
    for (const int signal : {SIGINT, SIGHUP, SIGQUIT, SIGTERM, SIGXCPU}) {
        const auto before = std::signal(signal, SIG_IGN);
        EXPECT_EQ(ExitCodeOf([signal] { ::raise(signal); }), 0) << signal;
        std::signal(signal, before);
    }
}

/// Files come and go on several threads, as OutputFile makes them.
void MakeFilesForEver(const TemporaryFolder& folder, int thread) {
    for (;;) {
        const std::string path = folder.path(std::to_string(thread));
        std::unique_ptr<UnfinishedFile> unfinished;
        {
            const InterruptsHeld held;
            Create(path);
            unfinished = std::make_unique<UnfinishedFile>(path);
        }
        const InterruptsHeld held;
        ::unlink(path.c_str());
        unfinished.reset();
    }
}

TEST(UnfinishedFile, IsRemovedOnWhicheverThreadTheInterruptComes) {
    const int trials = test_support::Scaled(40);
    for (int trial = 0; trial < trials; ++trial) {
        const TemporaryFolder folder;
        const auto run = [&folder] {
            for (int thread = 0; thread < 4; ++thread) {
                std::thread([&folder, thread] { MakeFilesForEver(folder, thread); }).detach();
            }
            std::this_thread::sleep_for(std::chrono::minutes(1));
        };
        const auto interrupt = [&folder, trial, trials](pid_t child) {
            while (folder.entryCount() == 0) {
                std::this_thread::yield();
            }
            std::this_thread::sleep_for(std::chrono::microseconds(5480 * trial / trials));
            ::kill(child, trial % 2 == 0 ? SIGINT : SIGTERM);
        };
        const int code = ExitCodeOf(run, interrupt);
        EXPECT_EQ(code, 128 + (trial % 2 == 0 ? SIGINT : SIGTERM)) << trial;
        EXPECT_EQ(folder.entryCount(), 0U) << trial;
    }
}

} // namespace
