// JSON (RFC 8259), written directly: a document tree of a million segments would take far more
// memory than the segments.
#include "drawing/output/TextWriter.h"
#include "drawing/output/Writers.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>

namespace kxcontour {
namespace {

/// A string, quoted and escaped; bytes that are not UTF-8 become U+FFFD.
std::string Quoted(const std::string& text) {
    using nlohmann::json;
    return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

/// JSON has no number for infinities and NaN.
void WriteNumber(TextWriter& file, double value) {
    if (std::isfinite(value)) {
        file << Number{value};
    } else {
        file << "null";
    }
}

template <class Items, class WriteItem>
void WriteArray(TextWriter& file, const Items& items, const WriteItem& writeItem) {
    file << '[';
    const char* separator = "";
    for (const auto& item : items) {
        file << separator;
        writeItem(item);
        separator = ",";
    }
    file << ']';
}

template <class Numbers> void WriteNumbers(TextWriter& file, const Numbers& numbers) {
    WriteArray(file, numbers, [&](double value) { WriteNumber(file, value); });
}

void WriteInterval(TextWriter& file, const kxdrawing::Interval& interval) {
    WriteArray(file, std::array{interval.from, interval.to}, [&](const auto& fraction) {
        file << '[' << fraction.numerator << ',' << fraction.denominator << ']';
    });
}

void WriteSegment(TextWriter& file, const kxdrawing::Line& segment) {
    file << "{\"family\":\"" << NameOf(segment.kind) << "\",\"object\":";
    if (segment.object == kNoObject) {
        file << "null";
    } else {
        file << segment.object;
    }
    file << ",\"ends\":";
    WriteArray(file, segment.ends, [&](const auto& end) { WriteNumbers(file, end); });
    file << ",\"paper\":";
    if (segment.onPage) {
        WriteArray(file, std::array{segment.onPage->a, segment.onPage->b}, [&](const Point& point) {
            WriteNumbers(file, std::array{point.x, point.y});
        });
    } else {
        file << "null";
    }
    file << ",\"hidden\":";
    WriteArray(file, segment.hidden, [&](const auto& range) { WriteInterval(file, range); });
    file << ",\"repeated\":";
    WriteArray(file, segment.repeated, [&](const auto& range) { WriteNumbers(file, range); });
    file << '}';
}

void WriteHead(TextWriter& file, const kxdrawing::Drawing& drawing) {
    file << "{\n\"generator\": \"kxcontour\",\n\"page\": {\"width\": ";
    WriteNumber(file, drawing.page.width);
    file << ", \"height\": ";
    WriteNumber(file, drawing.page.height);
    file << ", \"unit\": \"mm\"},\n\"title\": " << Quoted(drawing.title)
         << ",\n\"description\": " << Quoted(drawing.description) << ",\n\"objects\": ";
    WriteArray(file, drawing.objects, [&](const std::string& name) { file << Quoted(name); });
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
