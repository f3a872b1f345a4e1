// A file on its way to its name.
#pragma once

#include "drawing/files/Descriptor.h"
#include "drawing/files/FilePlace.h"
#include "drawing/files/UnfinishedFile.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace kxcontour {

/// A new, empty file in a folder, which goes away unless it is moved to a name.
///
/// It has no name where the file system allows that (O_TMPFILE), else one that cannot be guessed;
/// an interrupt removes it. It is opened once, and all that is written goes to its descriptor: what
/// others put under its name is never touched. Operations throw std::system_error.
class TemporaryFile {
public:
    enum class Kind { Unnamed, Named };

    /// Creates the file with the permissions that open() would give it. The folder has to outlive
    /// it. Named files are what all of them are where the system offers nothing better.
    TemporaryFile(const Folder& folder, mode_t permissions, Kind kind = Kind::Unnamed);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// For reading and writing; stays with the file.
    int descriptor() const { return file_.number(); }

    /// Puts the file under a name of its folder, in place of what is there, in one step, and closes
    /// it. When that fails, what is there stays as it is.
    void moveTo(const std::string& name);

private:
    void create(mode_t permissions);
    void link();
    std::string ownPath() const { return (folder_.path / name_).string(); }

    const Folder& folder_;
    Descriptor file_;
    std::string name_; ///< Empty while it has none.
    std::optional<UnfinishedFile> unfinished_;
};

} // namespace kxcontour
