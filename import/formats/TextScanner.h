// Scans the words and numbers of a text without copying it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kxcontour {

/// A position in a text that moves from its start to its end. Nothing is read beyond the end.
///
/// Lines end with any of the three line ends. A backslash before a line end continues the line:
/// both count as a blank.
class TextScanner {
public:
    explicit TextScanner(std::string_view text)
        : start_(text.data()), at_(text.data()), end_(text.data() + text.size()) {}

    bool atEnd() const { return at_ == end_; }

    /// The next character; 0 at the end.
    char peek() const { return at_ == end_ ? '\0' : *at_; }
    void advance() { ++at_; }

    static bool isLineEnd(char c) { return c == '\n' || c == '\r'; }
    static bool isSpace(char c) {
        // The first comparison rejects most characters.
        return static_cast<unsigned char>(c) <= ' ' && (c == ' ' || c == '\t' || isLineEnd(c));
    }

    /// Moves to the next character of this line that is no blank; false at its end.
    bool toNextInLine() {
        while (at_ != end_) {
            if (*at_ == ' ' || *at_ == '\t') {
                ++at_;
            } else if (*at_ != '\\' || !skipContinuation()) {
                return !isLineEnd(*at_);
            }
        }
        return false;
    }

    /// Moves to the next character that is neither blank nor line end; false at the end of the
    /// text.
    bool toNext() {
        while (at_ != end_ && isSpace(*at_)) {
            ++at_;
        }
        return at_ != end_;
    }

    /// Moves behind the end of this line.
    void skipLine() {
        while (at_ != end_ && !isLineEnd(*at_)) {
            if (*at_ != '\\' || !skipContinuation()) {
                ++at_;
            }
        }
        if (at_ != end_) {
            at_ += *at_ == '\r' && at_ + 1 != end_ && at_[1] == '\n' ? 2 : 1;
        }
    }

    /// The rest of this line without blanks around it; stays before the line's end.
    std::string_view rest();

    /// The characters up to the next blank or line end, which may be none.
    std::string_view word() {
        const char* first = at_;
        while (at_ != end_ && !isSpace(*at_)) {
            ++at_;
        }
        return {first, static_cast<std::size_t>(at_ - first)};
    }

    /// Reads a decimal number up to a blank or a line end: "1", "+.5", "-1e-3", "nan", "inf", and
    /// forms that some compilers print for NaN, "-1.#IND". Does not move and returns false for
    /// anything else.
    bool number(double& value);

    /// Reads an integer and stops behind it; numbers beyond 18 digits become the largest. Does not
    /// move and returns false where there is none.
    bool integer(std::int64_t& value) {
        const char* p = at_;
        const bool negative = p != end_ && *p == '-';
        p += negative ? 1 : 0;
        const char* first = p;
        std::int64_t sum = 0;
        for (; p != end_ && *p >= '0' && *p <= '9'; ++p) {
            sum = sum < kLargestTenth ? 10 * sum + (*p - '0') : kLargest;
        }
        if (p == first) {
            return false;
        }
        value = negative ? -sum : sum;
        at_ = p;
        return true;
    }

    /// The number of bytes that are left.
    std::size_t left() const { return static_cast<std::size_t>(end_ - at_); }
    /// The text that is left.
    std::string_view leftText() const { return {at_, left()}; }

    /// "line 7": where the scanner is, counted from 1. Linear time; for messages.
    std::string place() const;

private:
    static constexpr std::int64_t kLargest = 1000000000000000000;
    static constexpr std::int64_t kLargestTenth = kLargest / 10;

    /// At a backslash: moves behind it and the line end that follows; false where none does.
    bool skipContinuation();

    const char* start_;
    const char* at_;
    const char* end_;
};

} // namespace kxcontour
