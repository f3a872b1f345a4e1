// Writes a file so that it is either whole or not there.
#pragma once

#include "drawing/files/FilePlace.h"
#include "drawing/files/TemporaryFile.h"

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <sys/stat.h>

namespace kxcontour {

/// A file that is written beside its target and takes the target's place when it is whole.
///
/// Links are followed as FindPlace() does it: the file that a link names is replaced, not the link.
/// A replaced file of the user's own keeps its permissions (KeptPermissions()); every other file
/// gets those of any new file. Any number of threads may write files, one thread each.
class OutputFile {
public:
    /// Looks whether the path can be written, and leaves no trace.
    ///
    /// Throws CannotWrite for a path in a folder that does not exist or is not writable,
    /// for one behind a link that must not be followed, and for one that names a directory, a
    /// device, a pipe or a write-protected file.
    explicit OutputFile(const std::string& path);

    /// Removes what was not committed.
    ~OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Creates the empty file and returns the descriptor to write it through, which stays with the
    /// OutputFile. Call it once. Throws CannotWrite.
    int create();

    /// Puts the file in the target's place. Throws CannotWrite; the target then is as it was.
    void commit();

    /// Creates the file, has it written and commits it. Throws CannotWrite, and what writer throws.
    void write(const std::function<void(std::ostream&)>& writer);

private:
    std::string path_;
    FilePlace place_;
    std::optional<TemporaryFile> file_;
};

/// The permissions that a replaced file hands on: reading, writing and executing, of a file that
/// belongs to the user; none of another's. Set-user-ID, set-group-ID and sticky bits are never
/// handed on: they were given to what was in the file, not to what will be.
std::optional<mode_t> KeptPermissions(const struct stat& replaced, uid_t user);

} // namespace kxcontour
