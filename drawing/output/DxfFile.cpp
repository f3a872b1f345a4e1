// Numbers are written with twelve digits: exact to less than a nanometre on any page.
#include "drawing/output/DxfFile.h"

#include <array>
#include <charconv>

namespace kxcontour {

void DxfFile::text(int code, std::string_view value) {
    file_ << std::int64_t{code} << '\n' << value << '\n';
}

void DxfFile::whole(int code, std::int64_t value) {
    file_ << std::int64_t{code} << '\n' << value << '\n';
}

void DxfFile::real(int code, double value) {
    constexpr int kDigits = 12;
    file_ << std::int64_t{code} << '\n' << Number{value, kDigits} << '\n';
}

void DxfFile::handle(int code, DxfHandle handle) {
    constexpr int kHexadecimal = 16;
    std::array<char, kHexadecimal> digits;
    char* end =
        std::to_chars(digits.data(), digits.data() + digits.size(), handle, kHexadecimal).ptr;
    for (char* digit = digits.data(); digit != end; ++digit) {
        *digit = *digit >= 'a' ? static_cast<char>(*digit - 'a' + 'A') : *digit;
    }
    text(code, {digits.data(), static_cast<std::size_t>(end - digits.data())});
}

void DxfFile::point(Point point, int offset) {
    real(10 + offset, point.x);
    real(20 + offset, point.y);
}

void DxfFile::spacePoint(Point point, int offset, double z) {
    this->point(point, offset);
    real(30 + offset, z);
}

void DxfFile::startSection(std::string_view name) {
    text(0, "SECTION");
    text(2, name);
}

void DxfFile::startObject(std::string_view type, DxfHandle own, DxfHandle owner) {
    text(0, type);
    // Entries of this one table have their handle elsewhere.
    handle(type == "DIMSTYLE" ? 105 : 5, own);
    handle(330, owner);
}

void DxfFile::finish() {
    text(0, "EOF");
    file_.flush();
}

} // namespace kxcontour
