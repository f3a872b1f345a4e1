// Drawings as files.
//
// The same drawing gives the same bytes on every machine, in every locale, at any time.
#pragma once

#include <ctr/Export.h>

#include <kxDrawing/Drawing.h>

#include <cstdint>
#include <filesystem>
#include <iosfwd>

namespace kxdrawing {

/// The formats of drawings. All but JSON show Drawing::layers; JSON lists Drawing::lines with their
/// exact occluded intervals.
enum class Format : std::uint8_t { Svg, Pdf, Png, Dxf, Json };

/// The format that the ending of a file name stands for. Throws InvalidArgument for any other
/// ending.
CTR_EXPORT Format FormatOf(const std::filesystem::path& path);

/// Properties of single formats.
struct WriteOptions {
    double dotsPerInch = 300.0; ///< Of PNG; over 0, and the picture at most 32767 pixels a side.
};

/// Writes a drawing into a stream, which stays open. Throws CannotWrite when the stream fails;
/// a part may have been written then. Throws InvalidArgument for JSON without lines and for PNG
/// that would be too large.
CTR_EXPORT void
write(const Drawing& drawing, std::ostream& out, Format format, const WriteOptions& options = {});

/// Writes a drawing into a file in the format of its ending. The file is whole or not there: it is
/// written beside its target and then takes the target's place. Throws CannotWrite, and
/// InvalidArgument as above; whatever was there before stays then.
CTR_EXPORT void
write(const Drawing& drawing, const std::filesystem::path& path, const WriteOptions& options = {});

} // namespace kxdrawing
