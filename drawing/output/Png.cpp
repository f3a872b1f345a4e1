// Renders with cairo's image surface. Cairo does not write the physical size of a picture; it is
// inserted as a pHYs chunk (Portable Network Graphics, section 11.3.5.3).
#include <kxDrawing/Errors.h>

#include "drawing/output/CairoPainter.h"
#include "drawing/output/Writers.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <zlib.h>

namespace kxcontour {
namespace {

constexpr double kMillimetresPerInch = 25.4;
constexpr double kMillimetresPerMetre = 1000.0;
/// The limit of cairo's surfaces.
constexpr double kMostPixels = 32767.0;

/// Signature and header chunk.
constexpr std::size_t kEndOfHeader = 8 + 4 + 4 + 13 + 4;

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
    const std::unique_ptr<cairo_t, decltype(&cairo_destroy)> context(cairo_create(surface),
                                                                     &cairo_destroy);
    cairo_set_source_rgb(context.get(), 1.0, 1.0, 1.0);
    cairo_paint(context.get());
}

} // namespace

void WritePng(const kxdrawing::Drawing& drawing, double dotsPerInch, std::ostream& out) {
    const double pixelsPerMillimetre = dotsPerInch / kMillimetresPerInch;
    const int width = PixelsOf(drawing.page.width, pixelsPerMillimetre);
    const int height = PixelsOf(drawing.page.height, pixelsPerMillimetre);
    CairoSink sink(out);
    const CairoSurface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height),
                               &cairo_surface_destroy);
    PaintWhite(surface.get());
    Paint(surface.get(), pixelsPerMillimetre, drawing);
    cairo_status_t status = cairo_surface_status(surface.get());
    if (status == CAIRO_STATUS_SUCCESS) {
        sink.insertAt(kEndOfHeader, ResolutionChunk(pixelsPerMillimetre));
        status = cairo_surface_write_to_png_stream(surface.get(), &CairoSink::Write, &sink);
    }
    sink.finish(status);
}

} // namespace kxcontour
