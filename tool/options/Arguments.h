// Arguments to options, by the option table and nothing else.
#pragma once

#include "options/GivenOptions.h"

#include <string>
#include <vector>

namespace kxcontour {

/// Takes arguments apart into the texts of options; what is no option is a "model".
///
/// Values may follow as the next argument or behind a sign (--page=A3); after "--" everything is a
/// model. Throws Failure (Usage) for an option that does not exist, naming the nearest, for one
/// without its value, for a flag with one, and for one that is given twice and is not repeatable.
/// An option that asks for help or the version comes back before anything else is found wrong.
GivenOptions ReadArguments(const std::vector<std::string>& arguments);

} // namespace kxcontour
