// PDF and PNG, rendered by cairo with one stroke per path. Cairo rounds positions to 1/256 of a
// unit of its surface; that of PDF is a point.
//
// Cairo does not write the physical size of a picture; it is inserted as a pHYs chunk (Portable
// Network Graphics, section 11.3.5.3).
#include <kxDrawing/Errors.h>

#include "drawing/common/Angles.h"
#include "drawing/common/Utf8.h"
#include "drawing/output/TextWriter.h"
#include "drawing/output/Writers.h"

#include <algorithm>
#include <cairo-pdf.h>
#include <cairo.h>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <zlib.h>

namespace kxcontour {
namespace {

using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;
using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

constexpr double kMillimetresPerInch = 25.4;
constexpr double kPointsPerMillimetre = 72.0 / kMillimetresPerInch;
constexpr double kMillimetresPerMetre = 1000.0;
/// The limit of cairo's surfaces.
constexpr double kMostPixels = 32767.0;

/// Of PNG: signature and header chunk.
constexpr std::size_t kEndOfHeader = 8 + 4 + 4 + 13 + 4;

void SetStyle(cairo_t* context, const StrokeStyle& style) {
    constexpr double kFull = 255.0;
    const auto& [red, green, blue] = style.color;
    cairo_set_source_rgb(context, red / kFull, green / kFull, blue / kFull);
    cairo_set_line_width(context, style.width);
    cairo_set_line_cap(context, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(context, CAIRO_LINE_JOIN_ROUND);
    cairo_set_dash(context, style.dashes.data(), static_cast<int>(style.dashes.size()), 0.0);
}

/// Continues the path along an arc, as part of the unit circle in the ellipse's own axes.
void AddArc(cairo_t* context, const Arc& arc) {
    cairo_save(context);
    cairo_translate(context, arc.center.x, arc.center.y);
    cairo_rotate(context, arc.rotation * kDegree);
    cairo_scale(context, arc.radiusX, arc.radiusY);
    const double start = arc.start * kDegree;
    const double end = start + arc.sweep * kDegree;
    const auto add = arc.sweep > 0.0 ? &cairo_arc : &cairo_arc_negative;
    add(context, 0.0, 0.0, 1.0, start, end);
    cairo_restore(context);
}

void AddPath(cairo_t* context, const Path& path) {
    cairo_move_to(context, path.points.front().x, path.points.front().y);
    ForEachPiece(
        path,
        [&](std::size_t first, std::size_t last) {
            for (std::size_t i = first + 1; i <= last; ++i) {
                cairo_line_to(context, path.points[i].x, path.points[i].y);
            }
        },
        [&](const Arc& arc) { AddArc(context, arc); });
    if (path.isClosed()) {
        cairo_close_path(context);
    }
}

/// Draws every path in order, with y down. Failures show in the status of the surface.
void Paint(cairo_surface_t* surface, double unitsPerMillimetre, const kxdrawing::Drawing& drawing) {
    const Context context(cairo_create(surface), &cairo_destroy);
    cairo_scale(context.get(), unitsPerMillimetre, unitsPerMillimetre);
    for (const kxdrawing::Layer& layer : drawing.layers) {
        for (const PathGroup& group : layer.groups) {
            SetStyle(context.get(), group.style);
            for (const Path& path : group.paths) {
                AddPath(context.get(), path);
                cairo_stroke(context.get());
            }
        }
    }
}

/// Passes the output of cairo on to a stream.
class Sink {
public:
    explicit Sink(std::ostream& out) : out_(out) {}

    /// A cairo_write_func_t whose closure is the Sink.
    static cairo_status_t Write(void* sink, const unsigned char* bytes, unsigned int count) {
        auto& self = *static_cast<Sink*>(sink);
        // An exception must not pass through cairo, which is C.
        try {
            self.out_ << std::string_view(reinterpret_cast<const char*>(bytes), count);
        } catch (...) {
            self.failure_ = self.failure_ ? self.failure_ : std::current_exception();
            return CAIRO_STATUS_WRITE_ERROR;
        }
        return CAIRO_STATUS_SUCCESS;
    }

    /// Writes the rest. Throws what writing threw; std::bad_alloc or std::runtime_error when cairo
    /// itself failed, according to its status.
    void finish(cairo_status_t status) {
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        if (status == CAIRO_STATUS_NO_MEMORY) {
            throw std::bad_alloc();
        }
        if (status != CAIRO_STATUS_SUCCESS) {
            throw std::runtime_error(std::string("cairo: ") + cairo_status_to_string(status));
        }
        out_.flush();
    }

private:
    TextWriter out_;
    std::exception_ptr failure_; ///< Of the first failed write.
};

void SetMetadata(cairo_surface_t* surface, cairo_pdf_metadata_t field, const std::string& text) {
    // A text ends at its first zero byte.
    const std::string valid = RepairUtf8(text);
    if (!valid.empty()) {
        cairo_pdf_surface_set_metadata(surface, field, valid.c_str());
    }
}

std::string BigEndian(std::uint32_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(number >> shift & 0xFFU);
    }
    return bytes;
}

std::string ResolutionChunk(double pixelsPerMillimetre) {
    const auto perMetre = static_cast<std::uint32_t>(
        std::clamp(std::round(pixelsPerMillimetre * kMillimetresPerMetre), 1.0, 2147483647.0));
    const std::string data = BigEndian(perMetre) + BigEndian(perMetre) + '\1';
    const std::string content = "pHYs" + data;
    const auto checksum =
        ::crc32_z(0, reinterpret_cast<const Bytef*>(content.data()), content.size());
    return BigEndian(static_cast<std::uint32_t>(data.size())) + content +
           BigEndian(static_cast<std::uint32_t>(checksum));
}

/// The number of pixels along a side; at least one.
int PixelsOf(double millimetres, double pixelsPerMillimetre) {
    const double pixels = std::round(millimetres * pixelsPerMillimetre);
    if (!(pixels <= kMostPixels)) {
        throw kxdrawing::InvalidArgument("the picture would have more than 32767 pixels per side; "
                                         "choose fewer dots per inch or a smaller page");
    }
    return std::max(1, static_cast<int>(pixels));
}

void PaintWhite(cairo_surface_t* surface) {
    const Context context(cairo_create(surface), &cairo_destroy);
    cairo_set_source_rgb(context.get(), 1.0, 1.0, 1.0);
    cairo_paint(context.get());
}

} // namespace

void WritePdf(const kxdrawing::Drawing& drawing, std::ostream& out) {
    Sink sink(out);
    const Surface surface(cairo_pdf_surface_create_for_stream(
                              &Sink::Write, &sink, drawing.page.width * kPointsPerMillimetre,
                              drawing.page.height * kPointsPerMillimetre),
                          &cairo_surface_destroy);
    SetMetadata(surface.get(), CAIRO_PDF_METADATA_TITLE, drawing.title);
    SetMetadata(surface.get(), CAIRO_PDF_METADATA_SUBJECT, drawing.description);
    SetMetadata(surface.get(), CAIRO_PDF_METADATA_CREATOR, "kxcontour");
    // An invalid date omits it; the default would be the time of the run.
    cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATE_DATE, "");
    Paint(surface.get(), kPointsPerMillimetre, drawing);
    cairo_surface_finish(surface.get());
    sink.finish(cairo_surface_status(surface.get()));
}

void WritePng(const kxdrawing::Drawing& drawing, double dotsPerInch, std::ostream& out) {
    const double pixelsPerMillimetre = dotsPerInch / kMillimetresPerInch;
    const int width = PixelsOf(drawing.page.width, pixelsPerMillimetre);
    const int height = PixelsOf(drawing.page.height, pixelsPerMillimetre);
    std::ostringstream picture;
    Sink sink(picture);
    const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height),
                          &cairo_surface_destroy);
    PaintWhite(surface.get());
    Paint(surface.get(), pixelsPerMillimetre, drawing);
    const cairo_status_t status = cairo_surface_status(surface.get());
    sink.finish(status != CAIRO_STATUS_SUCCESS
                    ? status
                    : cairo_surface_write_to_png_stream(surface.get(), &Sink::Write, &sink));
    const std::string bytes = std::move(picture).str();
    TextWriter file(out);
    file << std::string_view(bytes).substr(0, kEndOfHeader) << ResolutionChunk(pixelsPerMillimetre)
         << std::string_view(bytes).substr(kEndOfHeader);
    file.flush();
}

} // namespace kxcontour
