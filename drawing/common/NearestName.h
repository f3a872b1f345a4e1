// Finds the name that a misspelt one was meant to be.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

/// The number of letters to insert, delete, replace or swap with their neighbour that turns one
/// word into the other (optimal string alignment), ASCII letters compared without case.
std::size_t SpellingDistance(std::string_view a, std::string_view b);

/// The candidate that is spelt most like the word, the first on a tie.
///
/// Empty when none comes near: more than a third of the word, and more than two letters, differ.
/// Candidates that are too long or too short for it are not looked at, so a word of megabytes among
/// short ones takes no time.
std::string NearestName(std::string_view word, const std::vector<std::string>& candidates);

} // namespace kxcontour
