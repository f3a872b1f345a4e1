// Rendering of drawings with cairo.
#pragma once

#include "drawing/output/TextWriter.h"
#include "drawing/paper/Paper.h"

#include <cairo.h>
#include <cstddef>
#include <exception>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

namespace kxcontour {

using CairoSurface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

/// Draws every path in order, with y down and the given number of surface units per millimetre.
///
/// Cairo rounds positions to 1/256 of a unit. Failures show in the status of the surface.
void Paint(cairo_surface_t* surface, double unitsPerMillimetre, const kxdrawing::Drawing& drawing);

/// Passes the output of cairo on to a stream.
class CairoSink {
public:
    explicit CairoSink(std::ostream& out) : out_(out) {}

    /// A cairo_write_func_t whose closure is the CairoSink.
    static cairo_status_t Write(void* sink, const unsigned char* bytes, unsigned int count);

    /// Writes the rest. Throws what the stream threw or WriteFailure where the stream failed;
    /// std::bad_alloc or std::runtime_error when cairo itself failed, according to its status.
    void finish(cairo_status_t status);

    /// Bytes to be inserted after the given number of bytes from cairo.
    void insertAt(std::size_t position, const std::string& bytes);

private:
    void take(std::string_view bytes);

    TextWriter out_;
    std::exception_ptr failure_; ///< Of the first failed write.
    std::size_t written_ = 0;    ///< By cairo.
    std::size_t insertionPosition_ = 0;
    std::string insertion_; ///< Empty when there is none to come.
};

} // namespace kxcontour
