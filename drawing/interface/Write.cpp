// The public operations that write.
#include <kxDrawing/Errors.h>
#include <kxDrawing/Writers.h>

#include "drawing/files/OutputFile.h"
#include "drawing/output/Writers.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <string_view>
#include <utility>

namespace kxdrawing {
namespace {

constexpr std::array<std::pair<std::string_view, Format>, 5> kEndings{{{".svg", Format::Svg},
                                                                       {".pdf", Format::Pdf},
                                                                       {".png", Format::Png},
                                                                       {".dxf", Format::Dxf},
                                                                       {".json", Format::Json}}};

void Check(const Drawing& drawing, Format format, const WriteOptions& options) {
    if (format == Format::Json && drawing.lines.empty()) {
        throw InvalidArgument("JSON needs the lines of the drawing, which was made without them");
    }
    if (format == Format::Png && !(options.dotsPerInch > 0.0)) {
        throw InvalidArgument("the resolution is not positive");
    }
}

} // namespace

Format FormatOf(const std::filesystem::path& path) {
    std::string ending = path.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    for (const auto& [known, format] : kEndings) {
        if (ending == known) {
            return format;
        }
    }
    throw InvalidArgument("'" + ending +
                          "' is not a file name ending of drawings: svg, pdf, png, dxf or json");
}

void write(const Drawing& drawing, std::ostream& out, Format format, const WriteOptions& options) {
    Check(drawing, format, options);
    switch (format) {
    case Format::Pdf:
        return kxcontour::WritePdf(drawing, out);
    case Format::Png:
        return kxcontour::WritePng(drawing, options.dotsPerInch, out);
    case Format::Dxf:
        return kxcontour::WriteDxf(drawing, out);
    case Format::Json:
        return kxcontour::WriteJson(drawing, out);
    case Format::Svg:
        break;
    }
    return kxcontour::WriteSvg(drawing, out);
}

void write(const Drawing& drawing, const std::filesystem::path& path, const WriteOptions& options) {
    const Format format = FormatOf(path);
    Check(drawing, format, options);
    kxcontour::OutputFile(path.string()).write([&](std::ostream& out) {
        write(drawing, out, format, options);
    });
}

} // namespace kxdrawing
