// Writes a file so that it is either whole or not there.
#pragma once

#include <filesystem>
#include <string>

namespace kxcontour {

/// A file that is written beside its target and takes the target's place when it is whole.
///
/// Links are followed: the file that a link names is replaced, not the link. A new file gets the
/// permissions that any new file gets, a replaced one keeps those it had.
class OutputFile {
public:
    /// Looks whether the path can be written, and leaves no trace.
    ///
    /// Throws Failure (CannotWrite) for a path in a folder that does not exist or is not writable,
    /// and for one that names a directory, a device, a pipe or a write-protected file.
    explicit OutputFile(const std::string& path);

    /// Removes what was not committed.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Creates the empty file beside the target and returns its path. Throws Failure (CannotWrite).
    const std::string& create();

    /// Puts the file in the target's place. Throws Failure (CannotWrite); the target then is as it
    /// was.
    void commit();

private:
    std::string path_;             ///< As the user wrote it, for messages.
    std::filesystem::path target_; ///< The same with links followed.
    std::string temporary_;        ///< Empty while there is none.
};

} // namespace kxcontour
