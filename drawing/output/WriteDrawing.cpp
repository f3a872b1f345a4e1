// Chooses the writer of a format.
#include "drawing/output/WriteDrawing.h"

#include <kxDrawing/Errors.h>

#include "drawing/output/FileStream.h"
#include "drawing/output/Writers.h"

#include <system_error>

namespace kxcontour {
namespace {

[[noreturn]] void FailedToWrite(const std::string& path, const WriteFailure& failure) {
    throw kxdrawing::CannotWrite(path + ": cannot write: " +
                                 (failure.reason() != 0
                                      ? std::generic_category().message(failure.reason())
                                      : failure.what()));
}

} // namespace

void WriteTo(std::ostream& out,
             const kxdrawing::Drawing& drawing,
             kxdrawing::Format format,
             const kxdrawing::WriteOptions& options) {
    switch (format) {
    case kxdrawing::Format::Pdf:
        return WritePdf(drawing, out);
    case kxdrawing::Format::Png:
        return WritePng(drawing, options.dotsPerInch, out);
    case kxdrawing::Format::Dxf:
        return WriteDxf(drawing, out);
    case kxdrawing::Format::Json:
        return WriteJson(drawing, out);
    case kxdrawing::Format::Svg:
        break;
    }
    return WriteSvg(drawing, out);
}

void WriteDrawing(const kxdrawing::Drawing& drawing,
                  kxdrawing::Format format,
                  const kxdrawing::WriteOptions& options,
                  OutputFile& file,
                  const std::string& name) {
    FileStream stream(file.create());
    try {
        WriteTo(stream, drawing, format, options);
    } catch (const WriteFailure& failure) {
        FailedToWrite(name, failure);
    }
    file.commit();
}

} // namespace kxcontour
