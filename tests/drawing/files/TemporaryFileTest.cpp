// Files before they have their name: nobody else can have a hand in them.
#include "drawing/files/TemporaryFile.h"

#include "ModelText.h"
#include "tool/common/Interrupt.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using kxcontour::Descriptor;
using kxcontour::Folder;
using tool_test::ReadBytes;
using tool_test::TemporaryFolder;

using OwnFile = kxcontour::TemporaryFile;
using Kind = OwnFile::Kind;

Folder Opened(const TemporaryFolder& folder) {
    return {folder.path(""), Descriptor(::open(folder.path("").c_str(), O_PATH | O_DIRECTORY))};
}

/// Both kinds: where the file system has no files without names, the tests see the second twice.
class TemporaryFiles : public testing::TestWithParam<Kind> {
protected:
    OwnFile make(mode_t permissions = 0600) const { return {opened_, permissions, GetParam()}; }

    void write(const OwnFile& file, const std::string& text) const {
        EXPECT_TRUE(kxcontour::WriteAll(file.descriptor(), text));
    }

    TemporaryFolder folder_;
    Folder opened_ = Opened(folder_);
};

INSTANTIATE_TEST_SUITE_P(Kinds,
                         TemporaryFiles,
                         testing::Values(Kind::Unnamed, Kind::Named),
                         [](const testing::TestParamInfo<Kind>& info) {
                             return info.param == Kind::Unnamed ? "Unnamed" : "Named";
                         });

TEST_P(TemporaryFiles, GetTheirNameInOneStep) {
    OwnFile file = make();
    write(file, "new");
    EXPECT_FALSE(fs::exists(folder_.path("a")));
    file.moveTo("a");
    EXPECT_EQ(ReadBytes(folder_.path("a")), "new");
    EXPECT_EQ(folder_.entryCount(), 1U);
}

TEST_P(TemporaryFiles, TakeThePlaceOfWhatIsThere) {
    folder_.write("a", "old and longer");
    OwnFile file = make();
    write(file, "new");
    file.moveTo("a");
    EXPECT_EQ(ReadBytes(folder_.path("a")), "new");
    EXPECT_EQ(folder_.entryCount(), 1U);
}

TEST_P(TemporaryFiles, GoAwayUnlessTheyAreMoved) {
    { write(make(), "new"); }
    EXPECT_EQ(folder_.entryCount(), 0U);
}

TEST_P(TemporaryFiles, GoAwayWhenTheyCannotBeMoved) {
    fs::create_directory(folder_.path("a"));
    {
        OwnFile file = make();
        EXPECT_THROW(file.moveTo("a"), std::system_error);
    }
    EXPECT_TRUE(fs::is_directory(folder_.path("a")));
    EXPECT_EQ(folder_.entryCount(), 1U);
}

TEST_P(TemporaryFiles, HaveThePermissionsThatAnyFileWouldGet) {
    const mode_t before = ::umask(027);
    OwnFile file = make(0666);
    ::umask(before);
    struct stat status {};
    ASSERT_EQ(::fstat(file.descriptor(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_P(TemporaryFiles, StayInTheirFolderWhateverItIsCalled) {
    const std::string inner = folder_.path("inner");
    fs::create_directory(inner);
    const Folder opened{inner, Descriptor(::open(inner.c_str(), O_PATH | O_DIRECTORY))};
    OwnFile file(opened, 0600, GetParam());
    write(file, "new");
    fs::rename(inner, folder_.path("moved"));
    fs::create_directory(inner);
    file.moveTo("a");
    EXPECT_EQ(ReadBytes(folder_.path("moved/a")), "new");
    EXPECT_TRUE(fs::is_empty(inner));
}

TEST_P(TemporaryFiles, AreRemovedByAnInterrupt) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
        kxcontour::HandleInterrupts();
        const OwnFile file = make();
        ::raise(SIGTERM);
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 128 + SIGTERM);
    EXPECT_EQ(folder_.entryCount(), 0U);
}

/// Where everybody may write, somebody else may put a link under the name of the file between its
/// creation and its first byte. What is written must not follow it.
TEST_P(TemporaryFiles, NeverWriteToWhatIsPutUnderTheirName) {
    const TemporaryFolder elsewhere;
    const std::string precious = elsewhere.write("precious", "kept");
    OwnFile file = make();
    std::size_t planted = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_.path(""))) {
        fs::remove(entry.path());
        fs::create_symlink(precious, entry.path());
        ++planted;
    }
    EXPECT_LE(planted, 1U);
    write(file, "new");
    EXPECT_EQ(ReadBytes(precious), "kept");
    file.moveTo("a");
    EXPECT_EQ(ReadBytes(precious), "kept");
}

TEST(TemporaryFile, HasNoNameWhereTheFileSystemAllowsThat) {
    const TemporaryFolder folder;
    const Folder opened = Opened(folder);
    const Descriptor probe(
        ::openat(opened.descriptor.number(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    const OwnFile file(opened, 0600);
    EXPECT_EQ(folder.entryCount(), probe ? 0U : 1U);
}

TEST(TemporaryFile, HasANameThatCannotBeGuessed) {
    const TemporaryFolder folder;
    const Folder opened = Opened(folder);
    const OwnFile one(opened, 0600, Kind::Named);
    const OwnFile other(opened, 0600, Kind::Named);
    EXPECT_EQ(folder.entryCount(), 2U);
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.path(""))) {
        EXPECT_EQ(entry.path().filename().string().size(), std::string(".kxcontour-").size() + 16)
            << "64 bits";
    }
}

} // namespace
