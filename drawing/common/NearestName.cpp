// Optimal string alignment: Levenshtein's distance with swaps of neighbours (Damerau 1964).
#include "drawing/common/NearestName.h"

#include <algorithm>
#include <cstddef>

namespace kxcontour {
namespace {

char Lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool SameLetter(char a, char b) {
    return Lower(a) == Lower(b);
}

/// No distance is less.
std::size_t LengthDifference(std::string_view a, std::string_view b) {
    return std::max(a.size(), b.size()) - std::min(a.size(), b.size());
}

} // namespace

std::size_t SpellingDistance(std::string_view a, std::string_view b) {
    // Rows i - 2, i - 1 and i of the table whose entry j is the distance of the first i letters of
    // a from the first j letters of b.
    std::vector<std::size_t> beforeLast(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (SameLetter(a[i - 1], b[j - 1]) ? 0 : 1);
            row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
            if (i > 1 && j > 1 && SameLetter(a[i - 1], b[j - 2]) &&
                SameLetter(a[i - 2], b[j - 1])) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
    }
    return row[b.size()];
}

std::string NearestName(std::string_view word, const std::vector<std::string>& candidates) {
    const std::size_t tolerated = std::max<std::size_t>(2, word.size() / 3);
    std::size_t best = tolerated + 1;
    std::string nearest;
    for (const std::string& candidate : candidates) {
        if (LengthDifference(word, candidate) >= best) {
            continue;
        }
        const std::size_t distance = SpellingDistance(word, candidate);
        // A word that shares no letter with the candidate is no misspelling of it.
        if (distance < best && distance < std::max(word.size(), candidate.size())) {
            best = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

} // namespace kxcontour
