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

/// What a run finds around it.
struct Surroundings {
    std::string input = "/dev/null"; ///< The file it reads as standard input.
    std::string output;              ///< Where its standard output goes; empty: into the result.
    std::string folder;              ///< Where it runs; empty: where the caller is.
    bool readerLeft = false;         ///< Its standard output is a pipe that nobody reads.
    bool outputClosed = false;       ///< It has no standard output.
    bool terminal = false;           ///< Its standard error is a terminal.
    std::vector<std::string> environment; ///< "NAME=value", added to what the caller has.
};

struct RunResult {
    int exitCode = -1; ///< -1 when a signal ended it.
    std::string out;
    std::string err;
};

/// Runs a program to its end.
RunResult Run(const std::string& program,
              const std::vector<std::string>& arguments,
              const RunLimits& limits = {},
              const Surroundings& around = {});

} // namespace tool_test
