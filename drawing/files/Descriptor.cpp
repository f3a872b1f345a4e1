// The system's own calls, with interruptions made good.
#include "drawing/files/Descriptor.h"

#include <cerrno>
#include <cstddef>
#include <unistd.h>

namespace kxcontour {

bool Descriptor::close() {
    const int number = std::exchange(number_, -1);
    return number < 0 || ::close(number) == 0;
}

bool WriteAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace kxcontour
