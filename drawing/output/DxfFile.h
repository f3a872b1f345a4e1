// The grammar of DXF: groups of a code and a value, each on a line of its own.
#pragma once

#include "drawing/output/TextWriter.h"
#include "drawing/paper/Paper.h"

#include <cstdint>
#include <string_view>
#include <type_traits>

namespace kxcontour {

/// The number of an object; unique in its file, 0 for none.
struct DxfHandle {
    std::uint64_t number = 0;
};

/// A point in space.
struct DxfPoint {
    Point point;
    double z = 0.0;
};

/// Writes groups and assigns handles. Operations throw what TextWriter's do.
class DxfFile {
public:
    explicit DxfFile(std::ostream& out) : out_(out) {}

    /// Writes groups, each given by a code and a value: text, number, handle or point. A point in
    /// the plane becomes two groups, code and code + 10; a point in space three.
    template <class Value, class... More>
    void write(int code, const Value& value, const More&... more) {
        if constexpr (std::is_integral_v<Value>) {
            put(code, static_cast<std::int64_t>(value));
        } else {
            put(code, value);
        }
        if constexpr (sizeof...(More) > 0) {
            write(more...);
        }
    }

    void startSection(std::string_view name) { write(0, "SECTION", 2, name); }
    void endSection() { write(0, "ENDSEC"); }

    /// Starts an object or an entry of a table.
    void startObject(std::string_view type, DxfHandle own, DxfHandle owner);

    /// Handles increase from 1 on.
    DxfHandle newHandle() { return {next_++}; }

    /// Ends the file.
    void finish();

private:
    /// Text, an integer or a Number.
    template <class Value> void put(int code, const Value& value) {
        out_ << std::int64_t{code} << '\n' << value << '\n';
    }
    void put(int code, double number);
    void put(int code, DxfHandle handle);
    void put(int code, Point point);
    void put(int code, const DxfPoint& point);

    std::uint64_t next_ = 1;
    TextWriter out_;
};

} // namespace kxcontour
