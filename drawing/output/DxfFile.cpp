// Numbers are written with twelve digits: exact to less than a nanometre on any page.
#include "drawing/output/DxfFile.h"

#include <fmt/format.h>

namespace kxcontour {

void DxfFile::put(int code, double number) {
    constexpr int kDigits = 12;
    put(code, Number{number, kDigits});
}

void DxfFile::put(int code, DxfHandle handle) {
    put(code, fmt::format("{:X}", handle.number));
}

void DxfFile::put(int code, Point point) {
    put(code, point.x);
    put(code + 10, point.y);
}

void DxfFile::put(int code, const DxfPoint& point) {
    put(code, point.point);
    put(code + 20, point.z);
}

void DxfFile::startObject(std::string_view type, DxfHandle own, DxfHandle owner) {
    // Entries of this one table have their handle elsewhere.
    write(0, type, type == "DIMSTYLE" ? 105 : 5, own, 330, owner);
}

void DxfFile::finish() {
    write(0, "EOF");
    out_.flush();
}

} // namespace kxcontour
