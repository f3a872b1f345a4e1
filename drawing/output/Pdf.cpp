// One page on cairo's PDF surface, whose unit is a point.
#include "drawing/common/Utf8.h"
#include "drawing/output/CairoPainter.h"
#include "drawing/output/Writers.h"

#include <cairo-pdf.h>

namespace kxcontour {
namespace {

constexpr double kPointsPerMillimetre = 72.0 / 25.4;

void SetMetadata(cairo_surface_t* surface, cairo_pdf_metadata_t field, const std::string& text) {
    // A text ends at its first zero byte.
    const std::string valid = RepairUtf8(text);
    if (!valid.empty()) {
        cairo_pdf_surface_set_metadata(surface, field, valid.c_str());
    }
}

} // namespace

void WritePdf(const kxdrawing::Drawing& drawing, std::ostream& out) {
    CairoSink sink(out);
    const CairoSurface surface(
        cairo_pdf_surface_create_for_stream(&CairoSink::Write, &sink,
                                            drawing.page.width * kPointsPerMillimetre,
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

} // namespace kxcontour
