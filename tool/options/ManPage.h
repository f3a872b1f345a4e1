// The manual page.
#pragma once

#include <string>

namespace kxcontour {

/// kxcontour(1) in mdoc, for man, mandoc and groff.
std::string ManPage();

} // namespace kxcontour
