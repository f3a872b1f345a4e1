// Drawings on cairo's surfaces.
#pragma once

#include "drawing/output/BufferedFile.h"
#include "drawing/paper/Paper.h"

#include <cairo.h>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace kxcontour {

using CairoSurface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

/// Draws every path in order, with y down; so many units of the surface are a millimetre.
///
/// Cairo rounds positions to 1/256 of a unit. Failures show in the status of the surface.
void Paint(cairo_surface_t* surface, double unitsPerMillimetre, const kxdrawing::Drawing& drawing);

/// A file that cairo writes to.
class CairoFile {
public:
    /// Writes to a descriptor, which stays the caller's.
    explicit CairoFile(int descriptor) : file_(descriptor) {}

    /// To be given to cairo, with the CairoFile as closure.
    static cairo_status_t Write(void* file, const unsigned char* bytes, unsigned int count);

    /// Ends the file. Throws WriteFailure when it did not take everything, std::bad_alloc or
    /// std::runtime_error when the status says that cairo itself failed.
    void finish(cairo_status_t status);

    /// Bytes to be written as soon as cairo has written so many.
    void insertAt(std::size_t position, const std::string& bytes);

private:
    void take(std::string_view bytes);

    BufferedFile file_;
    int reason_ = 0;
    std::size_t written_ = 0; ///< By cairo.
    std::size_t insertionPosition_ = 0;
    std::string insertion_; ///< Empty when there is none to come.
};

} // namespace kxcontour
