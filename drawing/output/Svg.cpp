// Drawings as SVG 1.1.
#include "drawing/common/Angles.h"
#include "drawing/output/TextWriter.h"
#include "drawing/output/Writers.h"
#include "drawing/output/XmlText.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <string>
#include <string_view>

namespace kxcontour {
namespace {

/// The name of a layer as an XML id: letters, digits and hyphens unchanged, every other byte as an
/// underscore and two hexadecimal digits. Different names have different ids, and the id of a name
/// does not depend on other layers.
std::string LayerId(const std::string& name) {
    constexpr std::string_view kKept =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-";
    std::string id = "layer-";
    for (const char letter : name) {
        if (kKept.find(letter) != std::string_view::npos) {
            id += letter;
        } else {
            id += fmt::format("_{:02X}", static_cast<unsigned char>(letter));
        }
    }
    return id;
}

bool IsPlainGroup(const PathGroup& group) {
    return group.style.dashes.empty() &&
           std::all_of(group.paths.begin(), group.paths.end(),
                       [](const Path& path) { return path.arcs.empty(); });
}

/// Whether the drawing has no layers, dashes and arcs. It is written without names of layers and
/// classes, as ctr::SVGExporter writes line sets.
bool IsPlain(const kxdrawing::Drawing& drawing) {
    return std::all_of(
        drawing.layers.begin(), drawing.layers.end(), [](const kxdrawing::Layer& layer) {
            return layer.name.empty() &&
                   std::all_of(layer.groups.begin(), layer.groups.end(), IsPlainGroup);
        });
}

void WriteHead(TextWriter& file, const kxdrawing::Drawing& drawing, bool plain) {
    const Number width = PaperNumber(drawing.page.width);
    const Number height = PaperNumber(drawing.page.height);
    file << "<?xml version=\"1.0\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
         << (plain ? "" : "xmlns:inkscape=\"http://www.inkscape.org/namespaces/inkscape\" ")
         << "width=\"" << width << "mm\" height=\"" << height << "mm\" viewBox=\"0 0 " << width
         << ' ' << height << "\" >\n";
    if (!drawing.title.empty()) {
        file << "<title>" << EscapeXml(drawing.title) << "</title>\n";
    }
    if (!drawing.description.empty()) {
        file << "<desc>" << EscapeXml(drawing.description) << "</desc>\n";
    }
}

/// The numbers, separated by commas.
void WriteDashes(TextWriter& file, const std::vector<double>& dashes) {
    for (std::size_t i = 0; i < dashes.size(); ++i) {
        file << (i > 0 ? "," : "") << PaperNumber(dashes[i]);
    }
}

void WriteGroupStart(TextWriter& file, const PathGroup& group, bool plain) {
    const auto& [red, green, blue] = group.style.color;
    file << "<g";
    if (!plain) {
        file << " class=\"" << NameOf(group.kind) << (group.hidden ? " hidden\"" : "\"");
    }
    file << " fill=\"none\" stroke-linecap=\"round\" stroke-linejoin=\"round\" stroke=\"rgb("
         << std::size_t{red} << ',' << std::size_t{green} << ',' << std::size_t{blue}
         << ")\" stroke-width=\"" << PaperNumber(group.style.width);
    if (!group.style.dashes.empty()) {
        file << "\" stroke-dasharray=\"";
        WriteDashes(file, group.style.dashes);
    }
    file << "\">\n";
}

void WritePoint(TextWriter& file, const Point& point) {
    file << PaperNumber(point.x) << ',' << PaperNumber(point.y) << ' ';
}

/// The point of an arc at a parameter in degrees (arc.start is the first).
Point PointAt(const Arc& arc, double parameter) {
    const Turn onCircle = TurnBy(parameter);
    const Turn axis = TurnBy(arc.rotation);
    const double along = arc.radiusX * onCircle.cosine;
    const double across = arc.radiusY * onCircle.sine;
    return {arc.center.x + axis.cosine * along - axis.sine * across,
            arc.center.y + axis.sine * along + axis.cosine * across};
}

/// An arc from the current point to the end, in parts of a quarter turn or less.
///
/// A reader computes the centre from the ends of a part. Over a quarter turn their rounding error
/// moves it by no more than itself; near a half turn by the square root of that, a tenth of a
/// millimetre.
void WriteArc(TextWriter& file, const Arc& arc, const Point& end) {
    constexpr double kLargestPart = 90.0 + 1e-9;
    const double parts = std::max(1.0, std::ceil(std::fabs(arc.sweep) / kLargestPart));
    for (double part = 1.0; part <= parts; part += 1.0) {
        file << 'A' << PaperNumber(arc.radiusX) << ',' << PaperNumber(arc.radiusY) << ' '
             << PaperNumber(arc.rotation) << " 0," << (arc.sweep > 0.0 ? '1' : '0') << ' ';
        WritePoint(file, part < parts ? PointAt(arc, arc.start + arc.sweep * (part / parts)) : end);
    }
}

void WritePath(TextWriter& file, const Path& path) {
    file << "  <path d=\"M";
    WritePoint(file, path.points.front());
    ForEachPiece(
        path,
        [&](std::size_t first, std::size_t last) {
            for (std::size_t i = first + 1; i <= last; ++i) {
                file << 'L';
                WritePoint(file, path.points[i]);
            }
        },
        [&](const Arc& arc) { WriteArc(file, arc, path.points[arc.last]); });
    file << "\"/>\n";
}

void WriteGroup(TextWriter& file, const PathGroup& group, bool plain) {
    if (group.paths.empty()) {
        return;
    }
    WriteGroupStart(file, group, plain);
    for (const Path& path : group.paths) {
        WritePath(file, path);
    }
    file << "</g>\n";
}

void WriteLayer(TextWriter& file, const kxdrawing::Layer& layer, bool plain) {
    if (!layer.name.empty()) {
        file << "<g inkscape:groupmode=\"layer\" id=\"" << LayerId(layer.name)
             << "\" inkscape:label=\"" << EscapeXmlAttribute(layer.name) << "\">\n";
    }
    for (const PathGroup& group : layer.groups) {
        WriteGroup(file, group, plain);
    }
    if (!layer.name.empty()) {
        file << "</g>\n";
    }
}

} // namespace

void WriteSvg(const kxdrawing::Drawing& drawing, std::ostream& out) {
    const bool plain = IsPlain(drawing);
    TextWriter file(out);
    WriteHead(file, drawing, plain);
    for (const kxdrawing::Layer& layer : drawing.layers) {
        WriteLayer(file, layer, plain);
    }
    file << "</svg>\n";
    file.flush();
}

} // namespace kxcontour
