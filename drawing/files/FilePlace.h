// Where a file is written: an open folder and a name in it.
#pragma once

#include "drawing/files/Descriptor.h"

#include <filesystem>
#include <optional>
#include <string>
#include <sys/stat.h>

namespace kxcontour {

/// A folder that stays the same one, whatever is renamed along its path.
struct Folder {
    std::filesystem::path path; ///< For messages.
    Descriptor descriptor;      ///< Opened with O_PATH: for openat() and its like.
};

/// A name in a folder.
struct FilePlace {
    Folder folder;
    std::string name;
    std::optional<struct stat> status; ///< Of the file; none where there is none yet. Never a link.
};

/// Throws CannotWrite: "PATH: cannot write: WHY".
[[noreturn]] void RefuseToWrite(const std::string& path, const std::string& why);

/// The same with the system's own words for an errno value.
[[noreturn]] void RefuseToWrite(const std::string& path, int error);

/// The place that a path names, with the links at its end followed; the file need not exist.
///
/// A link that MayFollowLink() rules out is not followed. Throws CannotWrite for that,
/// for a path in a folder that does not exist, for one that names a directory by a slash at its
/// end, and where the system refuses to look.
FilePlace FindPlace(const std::string& path);

/// Whether a user may follow a symbolic link in a folder.
///
/// In a folder where everybody may create files and only owners may remove them (/tmp), links of
/// others are a way to have a user overwrite files of their own choice. There, only links of the
/// user and of the folder's owner are followed. Linux has the same rule (proc_sys_fs(5),
/// protected_symlinks), but applies it only to links that it follows itself, and only if it is
/// switched on.
bool MayFollowLink(const struct stat& link, const struct stat& folder, uid_t user);

} // namespace kxcontour
