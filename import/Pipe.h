// Buffered values over a pipe between two processes of one program.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <limits>
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

/// What came is not what the other process has to send.
class PipeSpoiled : public std::exception {
public:
    const char* what() const noexcept override { return "the pipe carries something else"; }
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
        if (size > 0) { // Nothing may lie at null.
            std::memcpy(buffer_->data() + used_, data, size);
            used_ += size;
        }
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

/// Reads from a descriptor, which it owns, what a process sends that is not to be trusted.
///
/// Throws PipeEnded where a value does not come whole, PipeTimedOut where the other process takes
/// longer than it may, and PipeSpoiled where it sends more than it may. No more memory is taken
/// than about twice what has come.
class PipeReader {
public:
    using Clock = std::chrono::steady_clock;

    explicit PipeReader(int descriptor);
    ~PipeReader();
    PipeReader(const PipeReader&) = delete;
    PipeReader& operator=(const PipeReader&) = delete;

    /// @name Limits
    /// There are none at first; each call sets a limit anew. Only waiting takes time, and it stands
    /// still while this process is stopped.
    /// @{
    void limitTime(std::chrono::milliseconds time) { timeLeft_ = time; }
    void limitSize(std::uint64_t bytes) { sizeLeft_ = bytes; }
    /// @}

    /// @name More of a limit that there is
    /// @{
    void addTime(std::chrono::milliseconds time);
    void addSize(std::uint64_t bytes);
    /// @}

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

    /// A bool, of which not every byte is one.
    bool flag();

    /// What PipeWriter::text() wrote, of at most so many bytes.
    std::string text(std::size_t most);

private:
    static constexpr std::size_t kBufferSize = 1U << 18U;

    void bytesOverEnd(char* to, std::size_t size);
    void fill();
    void waitForBytes();

    int descriptor_;
    Clock::duration timeLeft_ = Clock::duration::max();
    std::uint64_t sizeLeft_ = std::numeric_limits<std::uint64_t>::max();
    std::size_t start_ = 0;
    std::size_t end_ = 0;
    std::unique_ptr<std::array<char, kBufferSize>> buffer_;
};

} // namespace kxcontour
