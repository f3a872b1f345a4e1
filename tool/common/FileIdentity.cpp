// Device and inode, of the file or of the folder that it will be in.
#include "tool/common/FileIdentity.h"

#include "drawing/files/FilePlace.h"
#include "tool/common/Failure.h"

#include <sys/stat.h>

namespace kxcontour {

std::optional<FileIdentity> IdentityOfPath(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        return FileIdentity{status.st_dev, status.st_ino, ""};
    }
    try {
        // A file that does not exist yet, perhaps behind a link.
        const FilePlace place = FindPlace(path);
        if (::fstat(place.folder.descriptor.number(), &status) == 0) {
            return FileIdentity{status.st_dev, status.st_ino, place.name};
        }
    } catch (const kxdrawing::Error&) { // It cannot be written, which whoever tries to will say.
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<FileIdentity> IdentityOfDescriptor(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return FileIdentity{status.st_dev, status.st_ino, ""};
}

} // namespace kxcontour
