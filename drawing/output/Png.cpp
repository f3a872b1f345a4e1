// A picture through cairo's image surface, with its physical size, which cairo does not write, as a
// pHYs chunk (Portable Network Graphics, section 11.3.5.3).
#include "drawing/common/Failure.h"
#include "drawing/output/CairoPainter.h"
#include "drawing/output/Writers.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace kxcontour {
namespace {

constexpr double kMillimetresPerInch = 25.4;
constexpr double kMillimetresPerMetre = 1000.0;
/// What cairo's surfaces take.
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

/// The cyclic redundancy check of PNG (annex D), bit by bit.
std::uint32_t Checksum(std::string_view bytes) {
    constexpr std::uint32_t kPolynomial = 0xEDB88320U;
    std::uint32_t sum = 0xFFFFFFFFU;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum & 1U) != 0 ? sum >> 1U ^ kPolynomial : sum >> 1U;
        }
    }
    return ~sum;
}

std::string ResolutionChunk(double pixelsPerMillimetre) {
    const auto perMetre = static_cast<std::uint32_t>(
        std::clamp(std::round(pixelsPerMillimetre * kMillimetresPerMetre), 1.0, 2147483647.0));
    const std::string data = BigEndian(perMetre) + BigEndian(perMetre) + '\1';
    const std::string content = "pHYs" + data;
    return BigEndian(static_cast<std::uint32_t>(data.size())) + content +
           BigEndian(Checksum(content));
}

/// The pixels along a side; at least one.
int PixelsOf(double millimetres, double pixelsPerMillimetre) {
    const double pixels = std::round(millimetres * pixelsPerMillimetre);
    if (!(pixels <= kMostPixels)) {
        throw Failure(ExitCode::Usage, "the picture would have more than 32767 pixels a side; ask "
                                       "for fewer dots per inch or a smaller page");
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
