// One stroke per path, with round caps and joins.
#include "drawing/output/CairoPainter.h"

#include "drawing/common/Angles.h"

#include <algorithm>
#include <new>
#include <stdexcept>

namespace kxcontour {
namespace {

using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

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
    if (arc.sweep > 0.0) {
        cairo_arc(context, 0.0, 0.0, 1.0, start, end);
    } else {
        cairo_arc_negative(context, 0.0, 0.0, 1.0, start, end);
    }
    cairo_restore(context);
}

void AddPath(cairo_t* context, const Path& path) {
    cairo_move_to(context, path.points.front().x, path.points.front().y);
    auto arc = path.arcs.begin();
    for (std::size_t i = 1; i < path.points.size(); ++i) {
        if (arc != path.arcs.end() && arc->first == i - 1) {
            i = arc->last;
            AddArc(context, *arc++);
        } else {
            cairo_line_to(context, path.points[i].x, path.points[i].y);
        }
    }
    if (path.isClosed()) {
        cairo_close_path(context);
    }
}

} // namespace

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

cairo_status_t CairoSink::Write(void* sink, const unsigned char* bytes, unsigned int count) {
    auto& self = *static_cast<CairoSink*>(sink);
    // An exception must not pass through cairo, which is C.
    try {
        self.take({reinterpret_cast<const char*>(bytes), count});
    } catch (...) {
        self.failure_ = self.failure_ ? self.failure_ : std::current_exception();
        return CAIRO_STATUS_WRITE_ERROR;
    }
    return CAIRO_STATUS_SUCCESS;
}

void CairoSink::insertAt(std::size_t position, const std::string& bytes) {
    insertionPosition_ = position;
    insertion_ = bytes;
}

void CairoSink::take(std::string_view bytes) {
    const std::size_t before = std::min(insertionPosition_ - written_, bytes.size());
    if (!insertion_.empty() && written_ + before == insertionPosition_) {
        out_ << bytes.substr(0, before) << insertion_ << bytes.substr(before);
        insertion_.clear();
    } else {
        out_ << bytes;
    }
    written_ += bytes.size();
}

void CairoSink::finish(cairo_status_t status) {
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

} // namespace kxcontour
