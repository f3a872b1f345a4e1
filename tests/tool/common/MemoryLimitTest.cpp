// How much memory there is, from the system's own words, and that no more is used.
#include "tool/common/MemoryLimit.h"

#include "import/process/SanitizedBuild.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

using kxcontour::AvailableMemory;
using Bytes = std::optional<std::uint64_t>;

/// The files of a system of its own.
class MemoryOfASystem : public testing::Test {
protected:
    MemoryOfASystem()
        : root_(std::filesystem::path(testing::TempDir()) /
                ("kxcontour_memory_" + std::to_string(getpid()))) {}
    ~MemoryOfASystem() override { std::filesystem::remove_all(root_); }

    void write(const std::string& name, const std::string& text) const {
        const std::filesystem::path path = root_ / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }

    std::filesystem::path root_;
};

TEST_F(MemoryOfASystem, IsUnknownWhereTheSystemDoesNotSay) {
    EXPECT_EQ(AvailableMemory(root_), Bytes());
    write("proc/meminfo", "MemTotal: 100 kB\nSwapFree: 7 kB\n");
    EXPECT_EQ(AvailableMemory(root_), Bytes());
}

TEST_F(MemoryOfASystem, IsWhatIsFreeOrCanBeFreedAndFreeSwap) {
    write("proc/meminfo", "MemTotal:  1000 kB\nMemFree: 1 kB\nMemAvailable:   200 kB\n"
                          "HugePages_Total:   0\nSwapFree:  30 kB\n");
    EXPECT_EQ(AvailableMemory(root_), Bytes(230 * 1024));
}

TEST_F(MemoryOfASystem, IsNoMoreThanAnyGroupHasLeft) {
    write("proc/meminfo", "MemAvailable: 1000 kB\n");
    write("proc/self/cgroup", "0::/shop/drawing\n");
    write("sys/fs/cgroup/shop/drawing/memory.max", "max\n");
    write("sys/fs/cgroup/shop/drawing/memory.current", "5000\n");
    EXPECT_EQ(AvailableMemory(root_), Bytes(1000 * 1024));
    write("sys/fs/cgroup/shop/memory.max", "9000\n");
    write("sys/fs/cgroup/shop/memory.current", "6000\n");
    EXPECT_EQ(AvailableMemory(root_), Bytes(3000));
    // Of these, a thousand are files that were read.
    write("sys/fs/cgroup/shop/memory.stat", "anon 5000\ninactive_file 700\nactive_file 300\n");
    EXPECT_EQ(AvailableMemory(root_), Bytes(4000));
    write("sys/fs/cgroup/shop/memory.current", "10001\n");
    EXPECT_EQ(AvailableMemory(root_), Bytes(0));
}

TEST_F(MemoryOfASystem, IsReadFromGroupsOfTheFirstVersionToo) {
    write("proc/self/cgroup", "12:cpu,cpuacct:/other\n4:memory:/shop\n0::/\n");
    write("sys/fs/cgroup/memory/shop/memory.limit_in_bytes", "7000\n");
    write("sys/fs/cgroup/memory/shop/memory.usage_in_bytes", "3000\n");
    write("sys/fs/cgroup/cpu,cpuacct/other/memory.limit_in_bytes", "1\n");
    EXPECT_EQ(AvailableMemory(root_), Bytes(4000));
}

TEST(MemoryLimit, MakesAllocationsFail) {
    if (kxcontour::kIsSanitized) {
        GTEST_SKIP() << "sanitizers reserve more memory than a limit can allow";
    }
    const auto allocate = [](std::size_t bytes) {
        try {
            const std::vector<char> large(bytes);
            return !large.empty();
        } catch (const std::bad_alloc&) {
            return false;
        }
    };
    EXPECT_EXIT(
        {
            constexpr std::uint64_t kLimit = std::uint64_t{64} << 20U;
            const bool before = allocate(2 * kLimit);
            kxcontour::LimitMemory(kLimit);
            // A higher one does not lift it.
            kxcontour::LimitMemory(4 * kLimit);
            const bool after = allocate(2 * kLimit);
            const bool little = allocate(kLimit / 64);
            std::_Exit(before && !after && little ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
