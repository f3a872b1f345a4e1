// Runs of a program, with what it printed and how it ended.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tool_test {

/// What a run is not given.
struct RunLimits {
    std::optional<std::size_t> fileSize; ///< Bytes at which files cannot grow any more.
    bool obeysPermissions = false;       ///< Root, too, is bound by the permissions of files.
};

struct RunResult {
    int exitCode = -1; ///< -1 when a signal ended it.
    std::string out;
    std::string err;
};

/// Runs a program to its end, with nothing to read.
RunResult
Run(const std::string& program, const std::vector<std::string>& arguments, RunLimits limits = {});

} // namespace tool_test
