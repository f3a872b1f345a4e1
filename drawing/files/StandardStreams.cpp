// A closed stream becomes /dev/null, open for the wrong direction only.
#include "drawing/files/StandardStreams.h"

#include <kxDrawing/Errors.h>

#include "drawing/files/Descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
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

// Straight to the descriptor: a stream would keep the failure and forget the reason.
void WriteToStandardOutput(std::string_view text) {
    if (!WriteAll(STDOUT_FILENO, text)) {
        throw kxdrawing::CannotWrite("standard output: cannot write: " +
                                     std::generic_category().message(errno));
    }
}

} // namespace kxcontour
