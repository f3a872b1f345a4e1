// Chooses the writer of a format.
#include "drawing/output/WriteDrawing.h"

#include "drawing/common/Failure.h"
#include "drawing/output/JsonWriter.h"
#include "drawing/output/Writers.h"

#include <system_error>

namespace kxcontour {
namespace {

void Write(const kxdrawing::Drawing& drawing,
           kxdrawing::Format format,
           const kxdrawing::WriteOptions& options,
           int file) {
    switch (format) {
    case kxdrawing::Format::Pdf:
        return WritePdf(drawing, file);
    case kxdrawing::Format::Png:
        return WritePng(drawing, options.dotsPerInch, file);
    case kxdrawing::Format::Dxf:
        return WriteDxf(drawing, file);
    case kxdrawing::Format::Json:
        return WriteJson(drawing, file);
    case kxdrawing::Format::Svg:
        break;
    }
    if (IsPlain(drawing)) {
        return WritePlainSvg(drawing, file);
    }
    return WriteLayeredSvg(drawing, file);
}

[[noreturn]] void FailedToWrite(const std::string& path, const WriteFailure& failure) {
    throw Failure(ExitCode::CannotWrite,
                  path + ": cannot write: " +
                      (failure.reason() != 0 ? std::generic_category().message(failure.reason())
                                             : failure.what()));
}

} // namespace

void WriteDrawing(const kxdrawing::Drawing& drawing,
                  kxdrawing::Format format,
                  const kxdrawing::WriteOptions& options,
                  OutputFile& file,
                  const std::string& name) {
    const int descriptor = file.create();
    try {
        Write(drawing, format, options, descriptor);
    } catch (const WriteFailure& failure) {
        FailedToWrite(name, failure);
    }
    file.commit();
}

} // namespace kxcontour
