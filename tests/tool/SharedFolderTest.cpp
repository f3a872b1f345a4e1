// Drawings in folders that others may write, with others at work.
#include "DrawingRuns.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using tool_test::ReadBytes;
using tool_test::RunIn;
using tool_test::RunResult;
using tool_test::TemporaryFolder;

std::string CubeText() {
    return tool_test::ObjText(test_support::Box({-1, -1, -1}, {1, 1, 1}));
}

/// Puts a link in the place of every temporary file that appears in a folder, as fast as it can.
class Planter {
public:
    Planter(const std::string& folder, std::string target)
        : folder_(folder), target_(std::move(target)), events_(::inotify_init1(IN_CLOEXEC)),
          end_(::eventfd(0, EFD_CLOEXEC)) {
        EXPECT_GE(::inotify_add_watch(events_, folder.c_str(), IN_CREATE), 0);
        thread_ = std::thread([this] { work(); });
    }
    ~Planter() {
        ::eventfd_write(end_, 1);
        thread_.join();
        ::close(events_);
        ::close(end_);
    }
    Planter(const Planter&) = delete;
    Planter& operator=(const Planter&) = delete;

private:
    void work() const {
        for (;;) {
            std::array<pollfd, 2> awaited{{{events_, POLLIN, 0}, {end_, POLLIN, 0}}};
            ::poll(awaited.data(), awaited.size(), -1);
            if (awaited[1].revents != 0) {
                return;
            }
            alignas(inotify_event) std::array<char, 65536> buffer;
            const ssize_t size = ::read(events_, buffer.data(), buffer.size());
            for (ssize_t at = 0; at < size;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
                plant(event->name);
                at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            }
        }
    }

    void plant(const std::string& name) const {
        if (name.rfind(".kxcontour-", 0) != 0) {
            return;
        }
        const std::string link = folder_ + "/planted";
        ::unlink(link.c_str());
        if (::symlink(target_.c_str(), link.c_str()) == 0) {
            ::rename(link.c_str(), (folder_ + "/" + name).c_str());
        }
    }

    std::string folder_;
    std::string target_;
    int events_;
    int end_;
    std::thread thread_;
};

/// The file used to be opened a second time by its name, when somebody could have put a link there.
TEST(SharedFolder, NothingIsWrittenThroughALinkThatOthersPutInThePlaceOfATemporary) {
    const TemporaryFolder folder;
    const TemporaryFolder elsewhere;
    folder.write("cube.obj", CubeText());
    const std::string precious = elsewhere.write("precious", "kept");
    const Planter planter(folder.path("."), precious);
    for (const char* ending : {"svg", "pdf", "png", "dxf", "json"}) {
        for (int run = 0; run < 5; ++run) {
            const std::string output = "new" + std::to_string(run) + "." + ending;
            RunIn(folder, "cube.obj -q -o " + output);
            ASSERT_EQ(ReadBytes(precious), "kept") << output;
        }
    }
}

TEST(SharedFolder, AFilePreparedToRunAsItsOwnerLosesThat) {
    const TemporaryFolder folder;
    folder.write("cube.obj", CubeText());
    const std::string output = folder.write("a.svg", "#!/bin/sh\n");
    ASSERT_EQ(::chmod(output.c_str(), 06755), 0);
    const RunResult run = RunIn(folder, "cube.obj -o a.svg");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    struct stat status {};
    ASSERT_EQ(::stat(output.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0755U);
}

TEST(SharedFolder, LinksOfOthersAreNotFollowed) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a link away";
    }
    const TemporaryFolder folder;
    folder.write("cube.obj", CubeText());
    const std::string precious = folder.write("precious.svg", "kept");
    fs::create_directory(folder.path("shared"));
    ASSERT_EQ(::chmod(folder.path("shared").c_str(), 01777), 0);
    fs::create_symlink(precious, folder.path("shared/a.svg"));
    ASSERT_EQ(::lchown(folder.path("shared/a.svg").c_str(), 65534, 65534), 0);
    const RunResult run = RunIn(folder, "cube.obj -o shared/a.svg");
    EXPECT_EQ(run.exitCode, 5);
    EXPECT_EQ(run.err, "kxcontour: shared/a.svg: cannot write: 'shared/a.svg' is another user's "
                       "link in a folder that everyone may write\n");
    EXPECT_EQ(ReadBytes(precious), "kept");
}

} // namespace
