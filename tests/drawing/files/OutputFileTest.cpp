// Files that appear whole or not at all.
#include "drawing/files/OutputFile.h"

#include "ModelText.h"
#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

using kxcontour::OutputFile;
using tool_test::FailureOf;
using tool_test::Holds;
using tool_test::ReadBytes;
using tool_test::TemporaryFolder;

void Write(OutputFile& output, const std::string& text) {
    EXPECT_TRUE(kxcontour::WriteAll(output.create(), text));
}

unsigned int ModeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_mode & 07777U;
}

/// Sets the process's mask for new files while it lives.
class FileMask {
public:
    explicit FileMask(mode_t mask) : before_(::umask(mask)) {}
    ~FileMask() { ::umask(before_); }
    FileMask(const FileMask&) = delete;
    FileMask& operator=(const FileMask&) = delete;

private:
    mode_t before_;
};

TEST(OutputFile, AppearsWithItsCommit) {
    const TemporaryFolder folder;
    OutputFile output(folder.path("a.svg"));
    EXPECT_EQ(folder.entryCount(), 0U) << "looking leaves no trace";
    Write(output, "new");
    EXPECT_FALSE(fs::exists(folder.path("a.svg")));
    output.commit();
    EXPECT_EQ(ReadBytes(folder.path("a.svg")), "new");
    EXPECT_EQ(folder.entryCount(), 1U);
}

TEST(OutputFile, LeavesNothingBehindWithoutACommit) {
    const TemporaryFolder folder;
    folder.write("a.svg", "old");
    {
        OutputFile output(folder.path("a.svg"));
        Write(output, "new");
    }
    EXPECT_EQ(ReadBytes(folder.path("a.svg")), "old");
    EXPECT_EQ(folder.entryCount(), 1U);
}

TEST(OutputFile, ReplacesAFileAndKeepsItsPermissions) {
    const TemporaryFolder folder;
    const std::string path = folder.write("a.svg", "old and longer");
    ASSERT_EQ(::chmod(path.c_str(), 0604), 0);
    OutputFile output(path);
    Write(output, "new");
    output.commit();
    EXPECT_EQ(ReadBytes(path), "new");
    EXPECT_EQ(ModeOf(path), 0604U);
}

TEST(OutputFile, GivesANewFileThePermissionsOfAny) {
    const TemporaryFolder folder;
    const FileMask mask(027);
    OutputFile output(folder.path("a.svg"));
    Write(output, "new");
    output.commit();
    EXPECT_EQ(ModeOf(folder.path("a.svg")), 0640U);
}

/// A drawing over a file that is prepared to run as its owner must not become such a program.
TEST(OutputFile, NeverKeepsBitsThatLetAFileRunAsItsOwner) {
    const TemporaryFolder folder;
    const std::string path = folder.write("a.svg", "old");
    for (const mode_t bits : {mode_t{S_ISUID}, mode_t{S_ISGID}, mode_t{S_ISVTX}}) {
        ASSERT_EQ(::chmod(path.c_str(), 0755U | bits), 0);
        OutputFile output(path);
        Write(output, "new");
        output.commit();
        EXPECT_EQ(ModeOf(path), 0755U);
    }
}

TEST(OutputFile, KeepsNoPermissionsOfAFileOfAnotherUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    const TemporaryFolder folder;
    const FileMask mask(027);
    const std::string path = folder.write("a.svg", "old");
    ASSERT_EQ(::chown(path.c_str(), 65534, 65534), 0);
    ASSERT_EQ(::chmod(path.c_str(), 04777), 0);
    OutputFile output(path);
    Write(output, "new");
    output.commit();
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
    EXPECT_EQ(ModeOf(path), 0640U);
}

TEST(KeptPermissions, AreThoseOfAFileOfOnesOwnWithoutSpecialBits) {
    struct stat replaced {};
    replaced.st_uid = 1000;
    replaced.st_mode = S_IFREG | 07654U;
    EXPECT_EQ(kxcontour::KeptPermissions(replaced, 1000), std::optional<mode_t>(0654U));
    EXPECT_EQ(kxcontour::KeptPermissions(replaced, 1001), std::nullopt);
    EXPECT_EQ(kxcontour::KeptPermissions(replaced, 0), std::nullopt) << "not even for root";
}

TEST(OutputFile, FollowsLinksToTheFileTheyName) {
    const TemporaryFolder folder;
    fs::create_directory(folder.path("there"));
    folder.write("there/a.svg", "old");
    fs::create_symlink("there/a.svg", folder.path("second"));
    fs::create_symlink("second", folder.path("first"));
    OutputFile output(folder.path("first"));
    Write(output, "new");
    output.commit();
    EXPECT_TRUE(fs::is_symlink(folder.path("first")));
    EXPECT_TRUE(fs::is_symlink(folder.path("second")));
    EXPECT_EQ(ReadBytes(folder.path("there/a.svg")), "new");
}

TEST(OutputFile, CreatesTheFileThatADanglingLinkNames) {
    const TemporaryFolder folder;
    fs::create_symlink("a.svg", folder.path("link"));
    OutputFile output(folder.path("link"));
    Write(output, "new");
    output.commit();
    EXPECT_TRUE(fs::is_symlink(folder.path("link")));
    EXPECT_EQ(ReadBytes(folder.path("a.svg")), "new");
}

TEST(OutputFile, WritesIntoTheCurrentFolder) {
    const TemporaryFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.path(""));
    OutputFile output("a.svg");
    Write(output, "new");
    output.commit();
    fs::current_path(before);
    EXPECT_EQ(ReadBytes(folder.path("a.svg")), "new");
}

std::string Refusal(const std::string& path) {
    std::string message = FailureOf<kxdrawing::CannotWrite>([&] { const OutputFile output(path); });
    EXPECT_TRUE(Holds(message, path + ": cannot write: ")) << message;
    return message;
}

TEST(OutputFile, SaysWhyAPathCannotBeWritten) {
    const TemporaryFolder folder;
    folder.write("file", "");
    EXPECT_TRUE(Holds(Refusal(folder.path("none/a.svg")), "there is no folder"));
    EXPECT_TRUE(Holds(Refusal(folder.path("file/a.svg")), "is not a folder"));
    EXPECT_TRUE(Holds(Refusal(folder.path("")), "it is a directory"));
    fs::create_directory(folder.path("inner"));
    EXPECT_TRUE(Holds(Refusal(folder.path("inner")), "it is a directory"));
    EXPECT_TRUE(Holds(Refusal(folder.path("inner/")), "it is a directory"));
    EXPECT_TRUE(Holds(Refusal(folder.path("new/")), "directory"));
}

TEST(OutputFile, DoesNotReplaceDevicesAndPipes) {
    const TemporaryFolder folder;
    EXPECT_TRUE(Holds(Refusal("/dev/null"), "not a regular file"));
    EXPECT_TRUE(Holds(Refusal("/dev/full"), "not a regular file"));
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_TRUE(Holds(Refusal(folder.path("pipe")), "not a regular file"));
}

TEST(OutputFile, GivesUpOnLinksThatGoRound) {
    const TemporaryFolder folder;
    fs::create_symlink("b", folder.path("a"));
    fs::create_symlink("a", folder.path("b"));
    EXPECT_TRUE(Holds(Refusal(folder.path("a")), "symbolic links"));
}

TEST(OutputFile, FailsWhereNoFileCanBeCreated) {
    // Looks like any folder, and for root is a writable one.
    const std::string message = FailureOf<kxdrawing::CannotWrite>([] {
        OutputFile output("/proc/kxcontour.svg");
        output.create();
    });
    EXPECT_TRUE(Holds(message, "/proc/kxcontour.svg: cannot write: ")) << message;
}

TEST(OutputFile, FailsWhereTheTargetCannotBeReplacedAnyMore) {
    const TemporaryFolder folder;
    OutputFile output(folder.path("a.svg"));
    Write(output, "new");
    fs::create_directory(folder.path("a.svg"));
    FailureOf<kxdrawing::CannotWrite>([&] { output.commit(); });
    EXPECT_TRUE(fs::is_directory(folder.path("a.svg")));
}

/// In /tmp, links of others are traps.
TEST(OutputFile, RefusesLinksOfOthersInFoldersThatAllMayWrite) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a link away";
    }
    const TemporaryFolder folder;
    const std::string precious = folder.write("precious", "kept");
    const std::string shared = folder.path("shared");
    fs::create_directory(shared);
    ASSERT_EQ(::chmod(shared.c_str(), 01777), 0);
    const std::string link = shared + "/a.svg";
    for (const std::string& target : {precious, folder.path("new")}) {
        fs::create_symlink(target, link);
        ASSERT_EQ(::lchown(link.c_str(), 65534, 65534), 0);
        EXPECT_TRUE(Holds(Refusal(link), "is another user's link")) << target;
        // The link may also be met on the way.
        fs::create_symlink("shared/a.svg", folder.path("first"));
        EXPECT_TRUE(Holds(Refusal(folder.path("first")), "is another user's link")) << target;
        fs::remove(link);
        fs::remove(folder.path("first"));
    }
    fs::create_symlink(precious, link);
    OutputFile output(link);
    Write(output, "new");
    output.commit();
    EXPECT_EQ(ReadBytes(precious), "new") << "a link of one's own";
}

TEST(OutputFile, IsWrittenByManyThreadsAtOnce) {
    const TemporaryFolder folder;
    const FileMask mask(027);
    constexpr int kThreads = 8;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&folder, thread] {
            for (int i = 0; i < 50; ++i) {
                const std::string name = std::to_string(thread) + "-" + std::to_string(i);
                OutputFile output(folder.path(name));
                Write(output, name);
                output.commit();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(folder.entryCount(), 400U);
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.path(""))) {
        EXPECT_EQ(ReadBytes(entry.path()), entry.path().filename());
        EXPECT_EQ(ModeOf(entry.path()), 0640U) << "the mask of all threads is one";
    }
}

} // namespace
