// Completion scripts for shells.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

/// The script that makes a shell of kShells complete options, their values and files. Throws
/// InvalidArgument for another shell, naming the nearest.
std::string Completions(std::string_view shell);

} // namespace kxcontour
