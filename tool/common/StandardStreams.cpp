// A closed stream becomes /dev/null, open for the wrong direction only.
#include "tool/common/StandardStreams.h"

#include "drawing/files/Descriptor.h"
#include "drawing/files/FilePlace.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace kxcontour {
namespace {

constexpr const char* kStandardOutput = "standard output";

} // namespace

void OccupyClosedStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (::fcntl(stream, F_GETFD) < 0) {
            // The lowest free descriptor is this one: those below are taken.
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

void RequireStandardOutput() {
    const int flags = ::fcntl(STDOUT_FILENO, F_GETFL);
    if (flags < 0 || (flags & O_ACCMODE) == O_RDONLY) {
        RefuseToWrite(kStandardOutput, EBADF);
    }
}

// Straight to the descriptor: a stream would keep the failure and forget the reason.
void WriteToStandardOutput(std::string_view text) {
    if (!WriteAll(STDOUT_FILENO, text)) {
        RefuseToWrite(kStandardOutput, errno);
    }
}

} // namespace kxcontour
