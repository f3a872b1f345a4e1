// Drawings for other programs.
#pragma once

#include "drawing/paper/Paper.h"

#include <ostream>

namespace kxcontour {

/// Writes one JSON object (UTF-8, numbers in full precision, one segment a line):
///
///     {
///     "generator": "kxcontour",
///     "page": {"width": 210, "height": 297, "unit": "mm"},
///     "title": "...",
///     "description": "...",
///     "objects": ["...", ...],
///     "millimetresPerUnit": 1,
///     "segments": [
///     {"family":"crease","object":0,"ends":[[x,y,z],[x,y,z]],"paper":[[x,y],[x,y]],
///      "hidden":[[[n,d],[n,d]],...],"repeated":[[t,t],...]},
///     ...
///     ]
///     }
///
/// "family" is as NameOf() says; "object" is an index into "objects", null for lines that belong to
/// no single one; "paper" is null when nothing lies inside the view or when it is seen end-on.
/// "hidden" holds ranges by their start and end, each an exact fraction of two whole numbers below
/// 2^63: readers that keep numbers as doubles lose the ends of those beyond 2^53. "repeated" holds
/// ranges of the visible rest that lie on what another segment shows, as decimals, for they are a
/// matter of paper. So what is in neither is what other formats draw: each visible line once,
/// however short. Names that are no UTF-8 have U+FFFD in the place of the wrong bytes, and a number
/// that is not finite is null. Throws WriteFailure, see Writers.h.
void WriteJson(const kxdrawing::Drawing& drawing, std::ostream& out);

} // namespace kxcontour
