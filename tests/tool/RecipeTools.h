// Reads the cookbook, and looks at the drawings that its recipes make.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace tool_test {

/// A row of the cookbook's table.
struct Recipe {
    std::string picture; ///< Its path from the cookbook's folder.
    std::string command; ///< As a shell takes it.
};

inline std::ostream& operator<<(std::ostream& out, const Recipe& recipe) {
    return out << recipe.command;
}

/// All recipes. Throws std::runtime_error for a row that is not one.
std::vector<Recipe> ReadRecipes();

/// A path given from the cookbook's folder.
std::string CookbookPath(const std::string& path);

/// Puts the models that the recipes name into a folder, as links.
void LinkModels(const std::string& folder);

/// The files that a recipe writes: what follows -o, once for each view where it has {view} in it.
std::vector<std::string> OutputsOf(const Recipe& recipe);

/// The same drawing as an SVG of moves and lines.
Recipe AsSvg(const Recipe& recipe);

/// The same drawing as the small picture of the cookbook.
Recipe AsPicture(const Recipe& recipe);

struct TwiceReport {
    std::size_t paths = 0;
    std::size_t lines = 0;
    std::string twice; ///< Two lines that lie on each other, as text; empty when there are none.
};

/// Looks for two lines of one group of a drawing that lie on each other: over their common stretch,
/// which is longer than 0.01 mm, both of its ends are within 0.002 mm of the other line.
TwiceReport FindTwice(const std::string& svgPath);

/// The mean difference of two PNG pictures, from 0 to 1; 1 when their sizes differ.
double PictureDifference(const std::string& a, const std::string& b);

} // namespace tool_test
