// A closed stream becomes /dev/null, open for the wrong direction only.
#include "common/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

namespace kxcontour {

void OccupyClosedStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (::fcntl(stream, F_GETFD) < 0) {
            // The lowest free descriptor is this one: those below are taken.
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

bool IsStandardOutputOpen() {
    const int flags = ::fcntl(STDOUT_FILENO, F_GETFL);
    return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY;
}

} // namespace kxcontour
