// Reads what the kernel says in /proc and in the control groups (versions 1 and 2), and has it
// count the private pages of the process. Pages count when they are asked for, not when they are
// used, which for large arrays is nearly the same.
#include "tool/common/MemoryLimit.h"

#include "import/process/SanitizedBuild.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <string_view>
#include <sys/resource.h>

namespace kxcontour {
namespace {

using Path = std::filesystem::path;
using Bytes = std::optional<std::uint64_t>;

Bytes Least(Bytes a, Bytes b) {
    return a && b ? std::min(*a, *b) : (a ? a : b);
}

/// The number in a file; none where there is no file, or a word such as "max" in it.
Bytes NumberIn(const Path& path) {
    std::ifstream file(path);
    std::uint64_t number = 0;
    return file >> number ? Bytes(number) : std::nullopt;
}

/// The sum of the numbers behind two names, in a file of one per line; none without the first.
Bytes SumIn(const Path& path, std::string_view first, std::string_view second) {
    std::ifstream file(path);
    Bytes sum;
    std::uint64_t others = 0;
    std::string name;
    std::uint64_t number = 0;
    for (std::string rest; file >> name >> number; std::getline(file, rest)) {
        sum = name == first ? number : sum;
        others += name == second ? number : 0;
    }
    return sum ? Bytes(*sum + others) : std::nullopt;
}

Bytes LeftOnMachine(const Path& root) {
    const Bytes kibibytes = SumIn(root / "proc/meminfo", "MemAvailable:", "SwapFree:");
    return kibibytes ? Bytes(*kibibytes * 1024) : std::nullopt;
}

/// The files of a group of processes that hold its limit and its use.
struct GroupFiles {
    const char* limit;
    const char* use;
};

/// What a group and those that it is in have left.
Bytes LeftInGroups(const Path& hierarchy, Path group, const GroupFiles& files) {
    Bytes least;
    for (;; group = group.parent_path()) {
        const Path folder = hierarchy / group.relative_path();
        const Bytes limit = NumberIn(folder / files.limit);
        const Bytes use = NumberIn(folder / files.use);
        if (limit && use) {
            // Files that were read count as a group's memory until something else needs it.
            const Bytes cached = SumIn(folder / "memory.stat", "inactive_file", "active_file");
            const std::uint64_t kept = *use - std::min(*use, cached.value_or(0));
            least = Least(least, *limit - std::min(*limit, kept));
        }
        if (!group.has_relative_path()) {
            return least;
        }
    }
}

/// Lines are "number:controllers:group"; version 2 names no controllers.
Bytes LeftInGroups(const Path& root) {
    const Path folder = root / "sys/fs/cgroup";
    Bytes least;
    std::ifstream file(root / "proc/self/cgroup");
    for (std::string line; std::getline(file, line);) {
        const std::size_t first = line.find(':');
        const std::size_t second = line.find(':', first + 1);
        if (first == std::string::npos || second == std::string::npos) {
            continue;
        }
        const std::string controllers = line.substr(first + 1, second - first - 1);
        const Path group = line.substr(second + 1);
        if (controllers.empty()) {
            least = Least(least, LeftInGroups(folder, group, {"memory.max", "memory.current"}));
        } else if (controllers == "memory") {
            least = Least(least, LeftInGroups(folder / "memory", group,
                                              {"memory.limit_in_bytes", "memory.usage_in_bytes"}));
        }
    }
    return least;
}

} // namespace

Bytes AvailableMemory(const Path& root) {
    return Least(LeftOnMachine(root), LeftInGroups(root));
}

void LimitMemory(std::uint64_t bytes) {
    rlimit limit{};
    if (kIsSanitized || ::getrlimit(RLIMIT_DATA, &limit) != 0) {
        return;
    }
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, bytes);
    ::setrlimit(RLIMIT_DATA, &limit);
}

void LimitMemoryToAvailable() {
    if (const Bytes available = AvailableMemory()) {
        // Others want some, too.
        LimitMemory(*available - *available / 8);
    }
}

} // namespace kxcontour
