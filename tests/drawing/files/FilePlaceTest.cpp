// Which links are followed to the place of a file.
#include "drawing/files/FilePlace.h"

#include "ModelText.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using kxcontour::FindPlace;
using kxcontour::MayFollowLink;

struct stat Owned(uid_t user, mode_t mode) {
    struct stat status {};
    status.st_uid = user;
    status.st_mode = mode;
    return status;
}

constexpr uid_t kUser = 1000;
constexpr uid_t kStranger = 1001;
constexpr uid_t kFolderOwner = 0;

bool Follows(uid_t linkOwner, mode_t folderMode) {
    return MayFollowLink(Owned(linkOwner, S_IFLNK | 0777U),
                         Owned(kFolderOwner, S_IFDIR | folderMode), kUser);
}

TEST(MayFollowLink, TrustsTheUserAndTheOwnerOfASharedFolder) {
    EXPECT_TRUE(Follows(kUser, 01777));
    EXPECT_TRUE(Follows(kFolderOwner, 01777));
    EXPECT_FALSE(Follows(kStranger, 01777));
    EXPECT_FALSE(Follows(kStranger, 01773)) << "readable or not";
}

TEST(MayFollowLink, TrustsAllLinksInOtherFolders) {
    EXPECT_TRUE(Follows(kStranger, 0777)) << "as the system does: anybody can do anything there";
    EXPECT_TRUE(Follows(kStranger, 01755));
    EXPECT_TRUE(Follows(kStranger, 01775)) << "a folder of a group";
    EXPECT_TRUE(Follows(kStranger, 0755));
}

TEST(MayFollowLink, BindsRootToo) {
    EXPECT_FALSE(
        MayFollowLink(Owned(kStranger, S_IFLNK | 0777U), Owned(kUser, S_IFDIR | 01777U), 0));
}

TEST(FindPlace, TellsTheFileAtTheEndOfItsLinks) {
    const tool_test::TemporaryFolder folder;
    std::filesystem::create_directory(folder.path("there"));
    folder.write("there/file", "1234");
    std::filesystem::create_symlink("there/file", folder.path("second"));
    std::filesystem::create_symlink(folder.path("second"), folder.path("first"));
    const kxcontour::FilePlace place = FindPlace(folder.path("first"));
    EXPECT_EQ(place.name, "file");
    EXPECT_TRUE(std::filesystem::equivalent(place.folder.path, folder.path("there")));
    ASSERT_TRUE(place.status);
    EXPECT_EQ(place.status->st_size, 4);
    EXPECT_FALSE(FindPlace(folder.path("there/none")).status);
}

} // namespace
