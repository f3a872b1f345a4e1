// Names of layers in DXF.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>

namespace kxcontour {

/// Makes names that a DXF file may hold: characters that DXF forbids become "_", those that are not
/// in code page 1252 "\U+" and their code, and names that differ in case only, which DXF takes for
/// one, get a number.
class DxfNames {
public:
    /// Two names are taken from the start: "0", which every file has, and "Defpoints", which
    /// programs do not plot.
    DxfNames() : taken_{"0", "defpoints"} {}

    /// The name, UTF-8, in the file's code page.
    std::string make(const std::string& name);

private:
    std::set<std::string> taken_;                    ///< Without case.
    std::map<std::string, std::size_t> lastNumbers_; ///< By a name without case: the last it got.
};

} // namespace kxcontour
