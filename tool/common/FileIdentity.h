// Which file it is, whatever it is called.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <tuple>

namespace kxcontour {

/// The same for all paths that lead to one file, over links of both kinds, and for no others.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;
    /// Of a file that does not exist yet, its name in the folder of that number; else empty.
    std::string name;

    bool operator==(const FileIdentity& other) const = default;
    bool operator<(const FileIdentity& other) const {
        return std::tie(device, number, name) < std::tie(other.device, other.number, other.name);
    }
};

/// The identity of the file at the end of a path; none where no file can be. Never throws
/// kxdrawing::Error.
std::optional<FileIdentity> IdentityOfPath(const std::string& path);

/// The identity of what a descriptor is open for; none unless it is a regular file.
std::optional<FileIdentity> IdentityOfDescriptor(int descriptor);

} // namespace kxcontour
