// Numbers by fast_float (Lemire 2021, "Number parsing at a gigabyte per second"), which rounds
// correctly and knows no locale.
#include "import/formats/TextScanner.h"

#include <algorithm>
#include <fast_float/fast_float.h>
#include <limits>
#include <system_error>

namespace kxcontour {
namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

/// "1.#QNAN", "-1.#IND00", "1.#INF": a number that '#' follows.
bool IsNanSuffix(const char* at, const char* end) {
    return at != end && *at == '#';
}

} // namespace

bool TextScanner::number(double& value) {
    const char* first = at_ != end_ && *at_ == '+' ? at_ + 1 : at_;
    if (first != at_ && first != end_ && (*first == '-' || *first == '+')) {
        return false;
    }
    const fast_float::from_chars_result result = fast_float::from_chars(first, end_, value);
    if (result.ec != std::errc() && result.ec != std::errc::result_out_of_range) {
        return false;
    }
    const char* stop = result.ptr;
    if (IsNanSuffix(stop, end_)) {
        value = std::numeric_limits<double>::quiet_NaN();
        stop = std::find_if(stop, end_, isSpace);
    }
    if (stop != end_ && !isSpace(*stop) && *stop != '\\') {
        return false;
    }
    at_ = stop;
    return true;
}

std::string_view TextScanner::rest() {
    toNextInLine();
    const char* first = at_;
    while (at_ != end_ && !isLineEnd(*at_)) {
        ++at_;
    }
    const char* last = at_;
    while (last != first && IsBlank(last[-1])) {
        --last;
    }
    return {first, static_cast<std::size_t>(last - first)};
}

bool TextScanner::skipContinuation() {
    const char* p = at_ + 1;
    if (p != end_ && *p == '\r') {
        ++p;
    }
    if (p != end_ && *p == '\n') {
        ++p;
    }
    if (p == at_ + 1) {
        return false;
    }
    at_ = p;
    return true;
}

std::string TextScanner::place() const {
    std::size_t line = 1;
    for (const char* p = start_; p != at_; ++p) {
        const bool second = *p == '\n' && p != start_ && p[-1] == '\r';
        line += isLineEnd(*p) && !second ? 1 : 0;
    }
    return "line " + std::to_string(line);
}

} // namespace kxcontour
