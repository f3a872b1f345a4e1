// Upper and lower case of ASCII letters, in any locale.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace kxcontour {

inline char LowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline std::string LowerCase(std::string_view text) {
    std::string lower(text);
    for (char& letter : lower) {
        letter = LowerCase(letter);
    }
    return lower;
}

inline bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return LowerCase(x) == LowerCase(y);
           });
}

} // namespace kxcontour
