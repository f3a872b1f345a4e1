// File descriptors that are closed by themselves.
#pragma once

#include <string_view>
#include <utility>

namespace kxcontour {

/// Owns a file descriptor, or none.
class Descriptor {
public:
    Descriptor() = default;
    /// Takes what open() and its like return: a negative number is none.
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }

    explicit operator bool() const { return number_ >= 0; }
    int number() const { return number_; }

    /// Closes it now; false, with errno, when the system reports what it could not write earlier.
    bool close();

private:
    int number_ = -1;
};

/// Writes all bytes to a descriptor; false, with errno, when it does not take them.
bool WriteAll(int descriptor, std::string_view bytes);

} // namespace kxcontour
