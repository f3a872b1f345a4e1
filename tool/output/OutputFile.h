// Writes a file so that it is either whole or not there.
#pragma once

#include "common/Interrupt.h"

#include <filesystem>
#include <optional>
#include <string>

namespace kxcontour {

/// A file that is written beside its target and takes the target's place when it is whole.
///
/// Links are followed: the file that a link names is replaced, not the link. A new file gets the
/// permissions that any new file gets, a replaced one keeps those it had. Any number of threads may
/// write files, one thread each.
///
/// The path "-" is standard output. It gets a copy of a file in $TMPDIR, or in /tmp, so that
/// nothing is written to it before the whole is there.
class OutputFile {
public:
    /// Looks whether the path can be written, and leaves no trace.
    ///
    /// Throws Failure (CannotWrite) for a path in a folder that does not exist or is not writable,
    /// and for one that names a directory, a device, a pipe or a write-protected file; for "-" when
    /// standard output is closed.
    explicit OutputFile(const std::string& path);

    /// Removes what was not committed.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Creates the empty file and returns its path. Call it once. Throws Failure (CannotWrite).
    const std::string& create();

    /// Puts the file in the target's place. Throws Failure (CannotWrite); the target then is as it
    /// was, while standard output may have got a part.
    void commit();

private:
    bool isStandardOutput() const { return target_.empty(); }
    void remove();

    std::string path_;             ///< As messages call it.
    std::filesystem::path target_; ///< The path with links followed; empty for standard output.
    std::string temporary_;        ///< Empty while there is none.
    std::optional<UnfinishedFile> unfinished_;
};

} // namespace kxcontour
