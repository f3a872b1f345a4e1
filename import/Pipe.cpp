// Reading and writing whole blocks.
#include "import/Pipe.h"

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

PipeReader::PipeReader(int descriptor)
    : descriptor_(descriptor), buffer_(std::make_unique<std::array<char, kBufferSize>>()) {}

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

void PipeReader::addTime(std::chrono::milliseconds time) {
    if (timeLeft_ != Clock::duration::max()) {
        timeLeft_ += time;
    }
}

void PipeReader::addSize(std::uint64_t bytes) {
    sizeLeft_ += std::min(bytes, std::numeric_limits<std::uint64_t>::max() - sizeLeft_);
}

bool PipeReader::flag() {
    const auto byte = value<unsigned char>();
    if (byte > 1) {
        throw PipeSpoiled();
    }
    return byte == 1;
}

std::string PipeReader::text(std::size_t most) {
    const auto size = value<std::size_t>();
    if (size > most) {
        throw PipeSpoiled();
    }
    std::string text;
    while (text.size() < size) {
        const std::size_t before = text.size();
        text.resize(before + std::min(size - before, kBufferSize));
        bytes(text.data() + before, text.size() - before);
    }
    return text;
}

void PipeReader::waitForBytes() {
    if (timeLeft_ == Clock::duration::max()) {
        return;
    }
    // In slices, so that a time in which this process was stopped counts as one of them.
    constexpr Clock::duration kSlice = std::chrono::seconds(1);
    pollfd waiting{descriptor_, POLLIN, 0};
    while (true) {
        const Clock::duration slice = std::clamp(timeLeft_, Clock::duration::zero(), kSlice);
        const Clock::time_point start = Clock::now();
        const int ready =
            ::poll(&waiting, 1,
                   static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(slice).count()));
        if (ready > 0 || (ready < 0 && errno != EINTR)) {
            timeLeft_ -= std::min(Clock::now() - start, kSlice);
            return;
        }
        if (timeLeft_ <= Clock::duration::zero()) {
            throw PipeTimedOut();
        }
        timeLeft_ -= std::min(Clock::now() - start, kSlice);
    }
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
    if (static_cast<std::uint64_t>(size) > sizeLeft_) {
        throw PipeSpoiled();
    }
    sizeLeft_ -= static_cast<std::uint64_t>(size);
    start_ = 0;
    end_ = static_cast<std::size_t>(size);
}

} // namespace kxcontour
