// The error of a drawing that could not be written completely.
#pragma once

#include <exception>

namespace kxcontour {

/// A write that failed.
class WriteFailure : public std::exception {
public:
    explicit WriteFailure(int reason) : reason_(reason) {}

    const char* what() const noexcept override { return "the drawing was not written completely"; }
    /// An errno value, or 0 when the reason is unknown, as it is for most streams.
    int reason() const { return reason_; }

private:
    int reason_;
};

} // namespace kxcontour
