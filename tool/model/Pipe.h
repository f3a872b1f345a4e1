// Buffered values over a pipe between two processes of one program.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <type_traits>

namespace kxcontour {

/// The other process closed the pipe before the message was whole.
class PipeEnded : public std::exception {
public:
    const char* what() const noexcept override { return "the pipe ended early"; }
};

/// The message was not whole when its time was up.
class PipeTimedOut : public std::exception {
public:
    const char* what() const noexcept override { return "the pipe was too slow"; }
};

/// Writes to a descriptor, which it owns.
class PipeWriter {
public:
    explicit PipeWriter(int descriptor);
    /// Closes, without writing what is left in the buffer.
    ~PipeWriter();
    PipeWriter(const PipeWriter&) = delete;
    PipeWriter& operator=(const PipeWriter&) = delete;

    void bytes(const void* data, std::size_t size) {
        if (size > kBufferSize - used_) {
            bytesOverEnd(static_cast<const char*>(data), size);
            return;
        }
        std::memcpy(buffer_->data() + used_, data, size);
        used_ += size;
    }

    template <class T> void value(T value) {
        static_assert(std::is_trivially_copyable_v<T>);
        bytes(&value, sizeof value);
    }

    /// A text of any length.
    void text(const std::string& text) {
        value(text.size());
        bytes(text.data(), text.size());
    }

    /// Writes out the buffer. False when this or an earlier write failed.
    bool flush();

private:
    static constexpr std::size_t kBufferSize = 1U << 18U;

    void bytesOverEnd(const char* from, std::size_t size);

    int descriptor_;
    bool good_ = true;
    std::size_t used_ = 0;
    std::unique_ptr<std::array<char, kBufferSize>> buffer_;
};

/// Reads from a descriptor, which it owns. Throws PipeEnded where a value does not come whole, and
/// PipeTimedOut where it has not come by the deadline.
class PipeReader {
public:
    using Clock = std::chrono::steady_clock;

    explicit PipeReader(int descriptor, Clock::time_point deadline = Clock::time_point::max());
    ~PipeReader();
    PipeReader(const PipeReader&) = delete;
    PipeReader& operator=(const PipeReader&) = delete;

    void bytes(void* data, std::size_t size) {
        if (size > end_ - start_) {
            bytesOverEnd(static_cast<char*>(data), size);
            return;
        }
        std::memcpy(data, buffer_->data() + start_, size);
        start_ += size;
    }

    template <class T> T value() {
        static_assert(std::is_trivially_copyable_v<T>);
        T value{};
        bytes(&value, sizeof value);
        return value;
    }

    /// What PipeWriter::text() wrote.
    std::string text() {
        std::string text(value<std::size_t>(), '\0');
        bytes(text.data(), text.size());
        return text;
    }

private:
    static constexpr std::size_t kBufferSize = 1U << 18U;

    void bytesOverEnd(char* to, std::size_t size);
    void fill();
    void waitForBytes() const;

    int descriptor_;
    Clock::time_point deadline_;
    std::size_t start_ = 0;
    std::size_t end_ = 0;
    std::unique_ptr<std::array<char, kBufferSize>> buffer_;
};

} // namespace kxcontour
