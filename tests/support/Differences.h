// A description of the differences between two lists.
#pragma once

#include <array>
#include <cstddef>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

namespace test_support {

template <typename T> void Show(std::ostream& out, const T& value) {
    out << value;
}

template <typename T, std::size_t N> void Show(std::ostream& out, const std::array<T, N>& numbers) {
    for (std::size_t i = 0; i < N; ++i) {
        out << (i == 0 ? "(" : " ") << numbers[i];
    }
    out << ')';
}

template <typename T> void Show(std::ostream& out, const std::vector<T>& list) {
    out << '{';
    for (const T& entry : list) {
        Show(out, entry);
        out << ' ';
    }
    out << '}';
}

/// Nothing when the lists are equal; else what they are, their first difference and their lengths.
template <typename T>
std::string
DifferenceOf(const std::string& what, const std::vector<T>& found, const std::vector<T>& expected) {
    if (found == expected) {
        return {};
    }
    std::ostringstream out;
    out.imbue(std::locale::classic());
    std::size_t i = 0;
    while (i < found.size() && i < expected.size() && found[i] == expected[i]) {
        ++i;
    }
    out << what << ": " << found.size() << " instead of " << expected.size() << ", number " << i
        << " is ";
    const auto show = [&](const std::vector<T>& list) {
        if (i < list.size()) {
            Show(out, list[i]);
        } else {
            out << "missing";
        }
    };
    show(found);
    out << " instead of ";
    show(expected);
    out << '\n';
    return out.str();
}

} // namespace test_support
