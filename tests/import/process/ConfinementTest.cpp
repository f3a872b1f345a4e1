// What a confined process can and cannot do, tried in processes of their own.
#include "import/process/Confinement.h"

#include "ModelText.h"
#include "import/process/SanitizedBuild.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using kxcontour::Confine;
using kxcontour::Confined;
using tool_test::TemporaryFolder;

constexpr int kNotConfined = 100;
constexpr int kStopped = 101;

/// The error number of an attempt in a process that is confined to a folder; 0 when it succeeds,
/// kStopped when the process is ended for it.
int ErrorOf(const TemporaryFolder& folder, const std::function<bool()>& attempt) {
    const pid_t child = ::fork();
    if (child == 0) {
        const int descriptor = ::open(folder.path("").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        const Confined confined = Confine({descriptor});
        if (!confined.files || !confined.calls) {
            ::_exit(kNotConfined);
        }
        errno = 0;
        ::_exit(attempt() ? 0 : errno);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS ? kStopped : WEXITSTATUS(status);
}

class Confinement : public testing::Test {
protected:
    void SetUp() override {
        if (errorOf([] { return true; }) == kNotConfined) {
            GTEST_SKIP() << "this kernel has no Landlock, or filters are forbidden";
        }
    }

    int errorOf(const std::function<bool()>& attempt) const { return ErrorOf(folder_, attempt); }

    int errorOfOpening(const std::string& path, int flags) const {
        return errorOf([&] { return ::open(path.c_str(), flags, 0600) >= 0; });
    }

    TemporaryFolder folder_;
    TemporaryFolder other_;
};

TEST_F(Confinement, LeavesFilesOfTheFolderToRead) {
    std::filesystem::create_directory(folder_.path("below"));
    EXPECT_EQ(errorOfOpening(folder_.write("a", "a"), O_RDONLY), 0);
    EXPECT_EQ(errorOfOpening(folder_.write("below/b", "b"), O_RDONLY), 0);
}

TEST_F(Confinement, TakesAllOtherFiles) {
    EXPECT_EQ(errorOfOpening(other_.write("a", "a"), O_RDONLY), EACCES);
    EXPECT_EQ(errorOfOpening("/etc/passwd", O_RDONLY), EACCES);
    EXPECT_EQ(errorOfOpening("/dev/null", O_RDONLY), EACCES);
    EXPECT_EQ(errorOfOpening("/proc/self/environ", O_RDONLY), EACCES);
    EXPECT_EQ(errorOfOpening(folder_.path(""), O_RDONLY | O_DIRECTORY), EACCES)
        << "a list of files";
    std::filesystem::create_symlink(other_.path("a"), folder_.path("link"));
    EXPECT_EQ(errorOfOpening(folder_.path("link"), O_RDONLY), EACCES);
}

TEST_F(Confinement, LeavesNothingToWrite) {
    const std::string path = folder_.write("a", "a");
    for (const int flags : {O_WRONLY, O_RDWR, O_RDONLY | O_TRUNC, O_RDONLY | O_CREAT}) {
        EXPECT_EQ(errorOfOpening(path, flags), EPERM) << flags;
    }
    EXPECT_EQ(errorOfOpening(folder_.path(""), O_TMPFILE | O_RDWR), EPERM);
    EXPECT_EQ(errorOf([&] { return ::unlink(path.c_str()) == 0; }), kStopped);
    EXPECT_EQ(errorOf([&] { return ::rename(path.c_str(), path.c_str()) == 0; }), kStopped);
    EXPECT_EQ(errorOf([&] { return ::mkdir(path.c_str(), 0700) == 0; }), kStopped);
    EXPECT_EQ(errorOf([&] { return ::truncate(path.c_str(), 0) == 0; }), kStopped);
    EXPECT_EQ(errorOf([&] { return ::chmod(path.c_str(), 0777) == 0; }), EPERM);
    EXPECT_EQ(tool_test::ReadBytes(path), "a");
}

TEST_F(Confinement, LeavesNoNetwork) {
    for (const int family : {AF_INET, AF_INET6, AF_UNIX, AF_NETLINK}) {
        EXPECT_EQ(errorOf([&] { return ::socket(family, SOCK_DGRAM, 0) >= 0; }), kStopped);
    }
    int ends[2];
    EXPECT_EQ(errorOf([&] { return ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0; }), kStopped);
}

TEST_F(Confinement, LeavesNoOtherProcess) {
    const char* const none[] = {nullptr};
    auto* const empty = const_cast<char* const*>(none);
    EXPECT_EQ(errorOf([&] { return ::execve("/bin/true", empty, empty) == 0; }), kStopped);
    EXPECT_EQ(errorOf([] { return ::kill(::getppid(), 0) == 0; }), kStopped);
    EXPECT_EQ(errorOf([] { return ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0; }), kStopped);
    if (!kxcontour::kIsSanitized) {
        EXPECT_EQ(errorOf([] { return ::fork() >= 0; }), kStopped);
    }
}

TEST_F(Confinement, LeavesWhatAProcessDoesForItself) {
    EXPECT_EQ(errorOf([] { return std::vector<int>(std::size_t{1} << 24U).size() > 0; }), 0);
    EXPECT_EQ(errorOf([] { return ::getpid() > 0 && ::sysconf(_SC_PAGESIZE) > 0; }), 0);
    EXPECT_EQ(errorOf([] {
                  try {
                      throw 1;
                  } catch (int) {
                      return true;
                  }
              }),
              0);
    const pid_t child = ::fork();
    if (child == 0) {
        std::signal(SIGABRT, SIG_DFL);
        Confine({});
        ::abort();
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
}

} // namespace
