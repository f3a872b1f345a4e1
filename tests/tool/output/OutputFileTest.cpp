// Files that appear whole or not at all.
#include "output/OutputFile.h"

#include "ModelText.h"
#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

using kxcontour::ExitCode;
using kxcontour::OutputFile;
using tool_test::FailureOf;
using tool_test::Holds;
using tool_test::ReadBytes;
using tool_test::TemporaryFolder;

void Write(OutputFile& output, const std::string& text) {
    std::ofstream(output.create()) << text;
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
        EXPECT_EQ(folder.entryCount(), 2U);
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
    std::string message = FailureOf(ExitCode::CannotWrite, [&] { const OutputFile output(path); });
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
    const std::string message = FailureOf(ExitCode::CannotWrite, [] {
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
    FailureOf(ExitCode::CannotWrite, [&] { output.commit(); });
    EXPECT_TRUE(fs::is_directory(folder.path("a.svg")));
}

} // namespace
