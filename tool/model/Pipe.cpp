// Reading and writing whole blocks.
#include "model/Pipe.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace kxcontour {

PipeWriter::PipeWriter(int descriptor)
    : descriptor_(descriptor), buffer_(std::make_unique<std::array<char, kBufferSize>>()) {}

PipeWriter::~PipeWriter() {
    ::close(descriptor_);
}

void PipeWriter::bytesOverEnd(const char* from, std::size_t size) {
    while (size > 0) {
        if (used_ == kBufferSize) {
            flush();
        }
        const std::size_t part = std::min(size, kBufferSize - used_);
        std::memcpy(buffer_->data() + used_, from, part);
        used_ += part;
        from += part;
        size -= part;
    }
}

bool PipeWriter::flush() {
    std::size_t done = 0;
    while (good_ && done < used_) {
        const ssize_t written = ::write(descriptor_, buffer_->data() + done, used_ - done);
        if (written >= 0) {
            done += static_cast<std::size_t>(written);
        } else {
            good_ = errno == EINTR;
        }
    }
    used_ = 0;
    return good_;
}

PipeReader::PipeReader(int descriptor, Clock::time_point deadline)
    : descriptor_(descriptor), deadline_(deadline),
      buffer_(std::make_unique<std::array<char, kBufferSize>>()) {}

PipeReader::~PipeReader() {
    ::close(descriptor_);
}

void PipeReader::bytesOverEnd(char* to, std::size_t size) {
    while (size > 0) {
        if (start_ == end_) {
            fill();
        }
        const std::size_t part = std::min(size, end_ - start_);
        std::memcpy(to, buffer_->data() + start_, part);
        start_ += part;
        to += part;
        size -= part;
    }
}

void PipeReader::waitForBytes() const {
    if (deadline_ == Clock::time_point::max()) {
        return;
    }
    pollfd waiting{descriptor_, POLLIN, 0};
    int ready = 0;
    do {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now()).count();
        // In pieces of a minute at most: the interval is an int.
        ready = ::poll(&waiting, 1, static_cast<int>(std::clamp<long long>(left, 0, 60000)));
        if (ready == 0 && left <= 60000) {
            throw PipeTimedOut();
        }
    } while (ready == 0 || (ready < 0 && errno == EINTR));
}

void PipeReader::fill() {
    waitForBytes();
    ssize_t size = -1;
    do {
        size = ::read(descriptor_, buffer_->data(), kBufferSize);
    } while (size < 0 && errno == EINTR);
    if (size <= 0) {
        throw PipeEnded();
    }
    start_ = 0;
    end_ = static_cast<std::size_t>(size);
}

} // namespace kxcontour
