// Which paths lead to one file.
#include "tool/common/FileIdentity.h"

#include "ModelText.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using kxcontour::IdentityOfDescriptor;
using kxcontour::IdentityOfPath;
using tool_test::TemporaryFolder;

TEST(FileIdentity, IsThatOfTheFileBehindLinksOfAllKinds) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "x");
    const auto identity = IdentityOfPath(file);
    ASSERT_TRUE(identity);
    fs::create_symlink("file", folder.path("link"));
    fs::create_hard_link(file, folder.path("twin"));
    EXPECT_EQ(IdentityOfPath(folder.path("link")), identity);
    EXPECT_EQ(IdentityOfPath(folder.path("twin")), identity);
    EXPECT_EQ(IdentityOfPath(folder.path("./file")), identity);
    EXPECT_NE(IdentityOfPath(folder.write("other", "x")), identity);
}

TEST(FileIdentity, OfAFileThatIsYetToComeIsItsPlace) {
    const TemporaryFolder folder;
    fs::create_directory(folder.path("there"));
    fs::create_symlink("there", folder.path("same"));
    fs::create_symlink("there/new", folder.path("dangling"));
    const auto identity = IdentityOfPath(folder.path("there/new"));
    ASSERT_TRUE(identity);
    EXPECT_EQ(IdentityOfPath(folder.path("same/new")), identity);
    EXPECT_EQ(IdentityOfPath(folder.path("dangling")), identity);
    EXPECT_NE(IdentityOfPath(folder.path("there/other")), identity);
    EXPECT_NE(IdentityOfPath(folder.path("new")), identity);
    EXPECT_FALSE(IdentityOfPath(folder.path("none/new"))) << "no file can be there";
}

TEST(FileIdentity, OfADescriptorIsThatOfARegularFile) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "x");
    const int opened = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(IdentityOfDescriptor(opened), IdentityOfPath(file));
    ::close(opened);
    EXPECT_FALSE(IdentityOfDescriptor(opened));
    const int device = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_FALSE(IdentityOfDescriptor(device)) << "many may write to a device";
    ::close(device);
}

} // namespace
