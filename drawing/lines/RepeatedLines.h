// Records that say each visible line once.
#pragma once

#include "drawing/paper/Paper.h"

#include <vector>

namespace kxcontour {

/// Fills in which visible ranges of the records lie on what another record shows, by the rules of
/// RemoveOverlaps(): of any place on paper one record is left that shows it. Records that begin and
/// end within a joint lose their place on paper. Records of one family and object
/// follow each other, as RecordsOf() gives them.
void MarkRepeated(std::vector<kxdrawing::Line>& records, const PaperTolerances& tolerances);

} // namespace kxcontour
