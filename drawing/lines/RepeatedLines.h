// Records that say each visible line once.
#pragma once

#include "drawing/paper/Paper.h"

#include <vector>

namespace kxcontour {

/// Lines this near are one line, ends this near one point. Millimetres.
struct PaperTolerances {
    double coincidence = 0.02;
    double joint = 0.001;
};

/// Fills in which visible ranges of the records lie on what another record shows, by the rules of
/// RemoveOverlaps(): of any place on paper one record is left that shows it. Records that begin and
/// end within a joint lose their place on paper. Records of one family and object
/// follow each other, as RecordsOf() gives them.
void MarkRepeated(std::vector<kxdrawing::Line>& records, const PaperTolerances& tolerances);

} // namespace kxcontour
