// Parses the command-line arguments by the option table.
#pragma once

#include "tool/options/GivenOptions.h"

#include <string>
#include <vector>

namespace kxcontour {

/// Splits arguments into the texts of options. An argument that is no option is a "model".
///
/// A value is the next argument or follows an equals sign (--page=A3); after "--" every argument is
/// a model. Throws InvalidArgument for an unknown option, naming the nearest, for an option without
/// its value, for a flag with a value, and for a repeated option that is not repeatable. Arguments
/// with help or version are not checked for unknown and repeated options.
GivenOptions ReadArguments(const std::vector<std::string>& arguments);

} // namespace kxcontour
