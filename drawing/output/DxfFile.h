// The grammar of DXF: pairs of a group code and a value, each on a line.
#pragma once

#include "drawing/output/TextWriter.h"
#include "drawing/paper/Paper.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kxcontour {

/// The number of an object; unique in its file, 0 for none.
using DxfHandle = std::uint64_t;

/// Writes groups and hands out handles. Operations throw WriteFailure (Writers.h).
class DxfFile {
public:
    explicit DxfFile(std::ostream& out) : file_(out) {}

    /// Handles are given out upwards from here.
    DxfHandle newHandle() { return next_++; }

    void text(int code, std::string_view value);
    void whole(int code, std::int64_t value);
    void real(int code, double value);
    void handle(int code, DxfHandle handle);

    /// The groups 10 + offset and 20 + offset.
    void point(Point point, int offset = 0);
    /// The same and 30 + offset: a point in space at height z.
    void spacePoint(Point point, int offset = 0, double z = 0.0);

    void startSection(std::string_view name);
    void endSection() { text(0, "ENDSEC"); }

    /// Starts an object or an entry: its type, handle, owner.
    void startObject(std::string_view type, DxfHandle own, DxfHandle owner);

    /// Ends the file.
    void finish();

private:
    TextWriter file_;
    DxfHandle next_ = 1;
};

} // namespace kxcontour
