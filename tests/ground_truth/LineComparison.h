// Compares sets of lines on paper by length.
#pragma once

#include "PaperView.h"

#include <cstddef>
#include <vector>

namespace ground_truth {

/// A stretch of one of the lines that were compared.
struct Stretch {
    std::size_t line;
    FlatLine where;
};

/// The stretches of lines all of whose points are farther than the distance from all others.
std::vector<Stretch>
FarFrom(const std::vector<FlatLine>& lines, const std::vector<FlatLine>& others, double distance);

/// Every line of paper once: stretches that lie on lines before them within the distance go. The
/// number of each is that of the line that it is from.
std::vector<Stretch> EachOnce(const std::vector<FlatLine>& lines, double distance);

double LengthOf(const std::vector<Stretch>& stretches);
double LengthOf(const std::vector<FlatLine>& lines);

} // namespace ground_truth
