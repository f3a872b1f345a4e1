// Reads what the kernel says in /proc and in the control groups (versions 1 and 2), and has it
// count the private pages of the process. Pages count when they are asked for, not when they are
// used, which for large arrays is nearly the same.
#include "tool/common/MemoryLimit.h"

#include "import/process/SanitizedBuild.h"

#include <algorithm>
#include <fstream>
#include <string>
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

Bytes LeftOnMachine(const Path& root) {
    std::ifstream file(root / "proc/meminfo");
    std::uint64_t sum = 0;
    bool known = false;
    std::string name;
    std::uint64_t kibibytes = 0;
    for (std::string rest; file >> name >> kibibytes; std::getline(file, rest)) {
        if (name == "MemAvailable:" || name == "SwapFree:") {
            known = known || name == "MemAvailable:";
            sum += kibibytes * 1024;
        }
    }
    return known ? Bytes(sum) : std::nullopt;
}

/// The files of a group of processes that hold its limit and its use.
struct GroupFiles {
    const char* limit;
    const char* use;
};

/// Files that were read count as a group's memory until something else needs it.
std::uint64_t CachedFiles(const Path& folder) {
    std::ifstream file(folder / "memory.stat");
    std::uint64_t sum = 0;
    std::string name;
    for (std::uint64_t bytes = 0; file >> name >> bytes;) {
        sum += name == "inactive_file" || name == "active_file" ? bytes : 0;
    }
    return sum;
}

/// What a group and those that it is in have left.
Bytes LeftInGroups(const Path& hierarchy, Path group, const GroupFiles& files) {
    Bytes least;
    for (;; group = group.parent_path()) {
        const Path folder = hierarchy / group.relative_path();
        const Bytes limit = NumberIn(folder / files.limit);
        const Bytes use = NumberIn(folder / files.use);
        if (limit && use) {
            const std::uint64_t kept = *use - std::min(*use, CachedFiles(folder));
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
