// The writers of a finished drawing, one function per format.
//
// A writer throws WriteFailure when the stream fails, and passes on what the stream throws. The
// same drawing gives the same bytes, independent of locale, clock and machine. A FileStream keeps
// the reason of a failed write.
#pragma once

#include "drawing/output/WriteFailure.h"
#include "drawing/paper/Paper.h"

#include <ostream>

namespace kxcontour {

/// SVG 1.1 in millimetres: one group per PathGroup, one path element per path, arcs as elliptic arc
/// commands of a quarter turn or less. A drawing with named layers, dashes or arcs has layers as
/// Inkscape shows them, and every group has its family, and "hidden" where it is, as class; groups
/// of a nameless layer are children of the root.
void WriteSvg(const kxdrawing::Drawing& drawing, std::ostream& out);

/// A PDF page of the sheet's size; layers are drawn in order. Positions are within 0.001 mm.
void WritePdf(const kxdrawing::Drawing& drawing, std::ostream& out);

/// A picture on a white sheet, with its resolution; dotsPerInch over 0, and the picture at most
/// 32767 pixels a side: throws Failure (Usage), before anything is written, beyond. Throws
/// std::bad_alloc when the pixels (4 bytes each) do not fit into memory.
void WritePng(const kxdrawing::Drawing& drawing, double dotsPerInch, std::ostream& out);

/// DXF (AC1015) in millimetres, y up: LINE for paths of one line, CIRCLE and ARC for circular arcs,
/// ELLIPSE for others, LWPOLYLINE for the rest; one DXF layer for each family, "HIDDEN" for hidden
/// lines, or for each layer of the drawing where it has names. A layer has the style of its first
/// lines; others on it carry their own.
void WriteDxf(const kxdrawing::Drawing& drawing, std::ostream& out);

} // namespace kxcontour
