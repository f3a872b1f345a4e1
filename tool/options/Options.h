// The command line.
#pragma once

#include "camera/PageSize.h"
#include "camera/View.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace kxcontour {

/// What one run is asked to do, checked as far as that goes without looking at files.
struct Options {
    std::string model;
    std::string output;
    std::vector<std::string> occluders; ///< Models that hide lines and are not drawn.
    View view = View::Iso;
    PageSize page;
    std::optional<double> creaseAngle; ///< Degrees, over 0 and under 180; none: not given.
    std::optional<std::string> title;
    std::optional<std::string> description;
    bool timing = false;
};

/// Reads the arguments (without the program's name).
///
/// Nothing is returned when the arguments ask for help or the version, which is then written to
/// out. Throws Failure (Usage), naming the nearest option for one that does not exist.
std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::ostream& out);

} // namespace kxcontour
