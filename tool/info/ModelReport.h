// Facts about models as text and JSON.
#pragma once

#include "import/ModelInfo.h"

#include <ostream>
#include <vector>

namespace kxcontour {

/// Writes a block of lines for people. Lists the first 20 objects.
void WriteText(const ModelInfo& info, std::ostream& out);

/// Writes one JSON object, {"models": [...]}, and a line end. Lengths are in millimetres and in the
/// files' units; bytes that are not UTF-8 become replacement characters.
void WriteJson(const std::vector<ModelInfo>& models, std::ostream& out);

} // namespace kxcontour
