// The writers of a finished drawing, one function per format.
//
// A writer throws CannotWrite when the stream fails, and passes on what the stream throws. The same
// drawing gives the same bytes, independent of locale, clock and machine.
#pragma once

#include "drawing/paper/Paper.h"

#include <cstddef>
#include <ostream>

namespace kxcontour {

/// Splits a path into its arcs, onArc(arc), and the runs of lines between them, onRun(first point,
/// last point), in order.
template <class OnRun, class OnArc>
void ForEachPiece(const Path& path, const OnRun& onRun, const OnArc& onArc) {
    std::size_t next = 0;
    for (const Arc& arc : path.arcs) {
        if (arc.first > next) {
            onRun(next, arc.first);
        }
        onArc(arc);
        next = arc.last;
    }
    if (next + 1 < path.points.size()) {
        onRun(next, path.points.size() - 1);
    }
}

/// SVG 1.1 in millimetres: one group per PathGroup, one path element per path, arcs as elliptic arc
/// commands of a quarter turn or less. A drawing with named layers, dashes or arcs has layers as
/// Inkscape shows them, and every group has its kind, and "hidden" where it is, as class; groups
/// of a nameless layer are children of the root.
void WriteSvg(const kxdrawing::Drawing& drawing, std::ostream& out);

/// A PDF page of the sheet's size; layers are drawn in order. Positions are within 0.001 mm.
void WritePdf(const kxdrawing::Drawing& drawing, std::ostream& out);

/// A picture on a white sheet, with its resolution; dotsPerInch over 0, and the picture at most
/// 32767 pixels a side: throws InvalidArgument, before anything is written, beyond. Throws
/// std::bad_alloc when the pixels (4 bytes each) do not fit into memory.
void WritePng(const kxdrawing::Drawing& drawing, double dotsPerInch, std::ostream& out);

/// DXF (AC1015) in millimetres, y up: LINE for paths of one line, CIRCLE and ARC for circular arcs,
/// ELLIPSE for others, LWPOLYLINE for the rest; one DXF layer for each kind, "HIDDEN" for hidden
/// lines, or for each layer of the drawing where it has names. A layer has the style of its first
/// lines; others on it carry their own.
void WriteDxf(const kxdrawing::Drawing& drawing, std::ostream& out);

/// Writes one JSON object (UTF-8, numbers in full precision, one segment per line):
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
/// "family" is the string of NameOf(). "object" is an index into the array "objects", or null for
/// lines shared by several objects. "paper" is null for segments outside the view and for those
/// seen end-on. "hidden" is an array of intervals given by start and end, each an exact fraction of
/// two integers below 2^63: readers that keep numbers as doubles lose digits beyond 2^53.
/// "repeated" is an array of intervals of the visible rest that coincide with another segment, in
/// decimals, since they depend on distances on paper. The remainder, neither hidden nor repeated,
/// is what other formats draw: each visible line once, however short. In strings, bytes that are
/// not UTF-8 become U+FFFD; numbers that are not finite become null.
void WriteJson(const kxdrawing::Drawing& drawing, std::ostream& out);

} // namespace kxcontour
