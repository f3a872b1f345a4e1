// JSON (RFC 8259), written as it comes: a tree of a million segments would not fit beside them.
#include "drawing/output/JsonWriter.h"

#include "drawing/output/TextWriter.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>

namespace kxcontour {
namespace {

/// A string with its quotes; bytes that are no UTF-8 become U+FFFD.
std::string Quoted(const std::string& text) {
    using nlohmann::json;
    return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

/// JSON has no number for what is not finite.
void WriteNumber(TextWriter& file, double value) {
    if (std::isfinite(value)) {
        file << Number{value};
    } else {
        file << "null";
    }
}

/// "[item,item,...]"
template <class Items, class WriteItem>
void WriteList(TextWriter& file, const Items& items, const WriteItem& writeItem) {
    file << '[';
    const char* separator = "";
    for (const auto& item : items) {
        file << separator;
        writeItem(item);
        separator = ",";
    }
    file << ']';
}

void WritePosition(TextWriter& file, const std::array<double, 3>& position) {
    WriteList(file, position, [&](double value) { WriteNumber(file, value); });
}

void WriteCoordinates(TextWriter& file, const Point& point) {
    WriteList(file, std::array{point.x, point.y}, [&](double value) { WriteNumber(file, value); });
}

void WriteFraction(TextWriter& file, const kxdrawing::Fraction& fraction) {
    file << '[' << fraction.numerator << ',' << fraction.denominator << ']';
}

void WriteRange(TextWriter& file, const kxdrawing::Interval& range) {
    file << '[';
    WriteFraction(file, range.from);
    file << ',';
    WriteFraction(file, range.to);
    file << ']';
}

void WriteSegment(TextWriter& file, const kxdrawing::Line& segment) {
    file << "{\"family\":\"" << NameOf(segment.kind) << "\",\"object\":";
    if (segment.object == kNoObject) {
        file << "null";
    } else {
        file << segment.object;
    }
    file << ",\"ends\":";
    WriteList(file, segment.ends, [&](const auto& end) { WritePosition(file, end); });
    file << ",\"paper\":";
    if (segment.onPage) {
        WriteList(file, std::array{segment.onPage->a, segment.onPage->b},
                  [&](const Point& point) { WriteCoordinates(file, point); });
    } else {
        file << "null";
    }
    file << ",\"hidden\":";
    WriteList(file, segment.hidden, [&](const auto& range) { WriteRange(file, range); });
    file << ",\"repeated\":";
    WriteList(file, segment.repeated, [&](const auto& range) {
        WriteList(file, range, [&](double value) { WriteNumber(file, value); });
    });
    file << '}';
}

void WriteHead(TextWriter& file, const kxdrawing::Drawing& drawing) {
    file << "{\n\"generator\": \"kxcontour\",\n\"page\": {\"width\": ";
    WriteNumber(file, drawing.page.width);
    file << ", \"height\": ";
    WriteNumber(file, drawing.page.height);
    file << ", \"unit\": \"mm\"},\n\"title\": " << Quoted(drawing.title)
         << ",\n\"description\": " << Quoted(drawing.description) << ",\n\"objects\": ";
    WriteList(file, drawing.objects, [&](const std::string& name) { file << Quoted(name); });
    file << ",\n\"millimetresPerUnit\": ";
    WriteNumber(file, drawing.millimetresPerUnit);
    file << ",\n";
}

} // namespace

void WriteJson(const kxdrawing::Drawing& drawing, std::ostream& out) {
    TextWriter file(out);
    WriteHead(file, drawing);
    file << "\"segments\": [";
    const char* separator = "\n";
    for (const kxdrawing::Line& segment : drawing.lines) {
        file << separator;
        WriteSegment(file, segment);
        separator = ",\n";
    }
    file << "\n]\n}\n";
    file.flush();
}

} // namespace kxcontour
