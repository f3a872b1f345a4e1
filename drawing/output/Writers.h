// Every format that a drawing is written in.
//
// A writer fills an empty file through its descriptor, which stays open; it throws WriteFailure
// when the file did not come out whole. The same drawing gives the same bytes, whatever the locale,
// clock and machine.
#pragma once

#include "drawing/paper/Paper.h"

#include <exception>
#include <string>

namespace kxcontour {

/// A file that could not be written whole.
class WriteFailure : public std::exception {
public:
    explicit WriteFailure(int reason) : reason_(reason) {}

    const char* what() const noexcept override { return "the drawing did not come out whole"; }
    /// An errno value, or 0 when the system gave none.
    int reason() const { return reason_; }

private:
    int reason_;
};

/// Whether the library's exporter can write the drawing: no layers, no dashes, no arcs.
bool IsPlain(const kxdrawing::Drawing& drawing);

/// SVG through ctr::SVGExporter, one group a path group, one path element a path. IsPlain() only.
void WritePlainSvg(const kxdrawing::Drawing& drawing, int descriptor);

/// SVG with layers as Inkscape shows them, dashes, and arcs as elliptic arc commands, in parts of a
/// quarter turn or less. Points and numbers are those of WritePlainSvg(); every group has its
/// family and "hidden", where it is, as class. Nameless layers have their groups directly below the
/// root.
void WriteLayeredSvg(const kxdrawing::Drawing& drawing, int descriptor);

/// A PDF page of the sheet's size; layers are drawn in order. Positions are within 0.001 mm.
void WritePdf(const kxdrawing::Drawing& drawing, int descriptor);

/// A picture on a white sheet, with its resolution; dotsPerInch over 0, and the picture at most
/// 32767 pixels a side: throws Failure (Usage), before it touches the file, beyond. Throws
/// std::bad_alloc when the pixels (4 bytes each) do not fit into memory.
void WritePng(const kxdrawing::Drawing& drawing, double dotsPerInch, int descriptor);

/// DXF (AC1015) in millimetres, y up: LINE for paths of one line, CIRCLE and ARC for circular arcs,
/// ELLIPSE for others, LWPOLYLINE for the rest; one DXF layer for each family, "HIDDEN" for hidden
/// lines, or for each layer of the drawing where it has names. A layer has the style of its first
/// lines; others on it carry their own.
void WriteDxf(const kxdrawing::Drawing& drawing, int descriptor);

} // namespace kxcontour
