// Walks a PLY file (Turk 1994: header in text, body in text or binary of either byte order).
#include "model/PlyCheck.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <system_error>
#include <vector>

namespace kxcontour {
namespace {

enum class Encoding { Text, LittleEndian, BigEndian };

struct Property {
    std::size_t size = 0;      ///< Bytes of a value in a binary body.
    std::size_t countSize = 0; ///< Bytes of a list's length; 0: not a list.
};

struct Element {
    std::uint64_t rows = 0;
    std::vector<Property> properties;
};

struct Header {
    Encoding encoding = Encoding::Text;
    std::vector<Element> elements;
};

bool IsSpace(char c) {
    // Most characters are none, and this one comparison says so.
    return static_cast<unsigned char>(c) <= ' ' &&
           (c == ' ' || c == '\t' || c == '\r' || c == '\n');
}

/// Takes the next word off the front of the text; empty at its end.
std::string_view TakeWord(std::string_view& text) {
    std::size_t start = 0;
    while (start < text.size() && IsSpace(text[start])) {
        ++start;
    }
    std::size_t end = start;
    while (end < text.size() && !IsSpace(text[end])) {
        ++end;
    }
    const std::string_view word = text.substr(start, end - start);
    text.remove_prefix(end);
    return word;
}

/// Takes the next line off the front, with any of the three line ends; nothing when none follows.
std::optional<std::string_view> TakeLine(std::string_view& text) {
    const std::size_t end = text.find_first_of("\r\n");
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view line = text.substr(0, end);
    const bool two = text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n';
    text.remove_prefix(end + (two ? 2 : 1));
    return line;
}

/// Bytes of a scalar type; 0 for an unknown one.
std::size_t SizeOf(std::string_view type) {
    if (type == "char" || type == "uchar" || type == "int8" || type == "uint8") {
        return 1;
    }
    if (type == "short" || type == "ushort" || type == "int16" || type == "uint16") {
        return 2;
    }
    if (type == "int" || type == "uint" || type == "float" || type == "int32" || type == "uint32" ||
        type == "float32") {
        return 4;
    }
    return type == "double" || type == "float64" ? 8 : 0;
}

bool IsReal(std::string_view type) {
    return type.substr(0, 5) == "float" || type == "double";
}

std::optional<Property> ParseProperty(std::string_view line) {
    Property property;
    std::string_view type = TakeWord(line);
    if (type == "list") {
        const std::string_view countType = TakeWord(line);
        property.countSize = SizeOf(countType);
        if (property.countSize == 0 || IsReal(countType)) {
            return std::nullopt;
        }
        type = TakeWord(line);
    }
    property.size = SizeOf(type);
    return property.size == 0 ? std::nullopt : std::optional<Property>(property);
}

std::optional<std::uint64_t> ParseCount(std::string_view word) {
    std::uint64_t value = 0;
    const char* end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    return error == std::errc() && stop == end ? std::optional<std::uint64_t>(value) : std::nullopt;
}

/// One line of the header; false when it is not understood.
bool ReadHeaderLine(std::string_view line, Header& header) {
    const std::string_view keyword = TakeWord(line);
    if (keyword == "format") {
        const std::string_view name = TakeWord(line);
        header.encoding = name == "binary_little_endian" ? Encoding::LittleEndian
                          : name == "binary_big_endian"  ? Encoding::BigEndian
                                                         : Encoding::Text;
        return true;
    }
    if (keyword == "element") {
        TakeWord(line);
        const std::optional<std::uint64_t> rows = ParseCount(TakeWord(line));
        header.elements.push_back({rows.value_or(0), {}});
        return rows.has_value();
    }
    if (keyword == "property") {
        const std::optional<Property> property = ParseProperty(line);
        if (!property || header.elements.empty()) {
            return false;
        }
        header.elements.back().properties.push_back(*property);
    }
    return true;
}

/// Reads the values of a body in text.
class TextBody {
public:
    explicit TextBody(std::string_view rest) : rest_(rest) {}

    bool skip(std::uint64_t values, const Property&) {
        while (values > 0 && !TakeWord(rest_).empty()) {
            --values;
        }
        return values == 0;
    }

    std::optional<std::uint64_t> length(const Property&) { return ParseCount(TakeWord(rest_)); }

    /// Rows are as long as their text: there is no shortcut.
    static std::uint64_t rowSize(const Element&) { return 0; }
    bool skipBytes(std::uint64_t) { return true; }

private:
    std::string_view rest_;
};

/// Reads the values of a binary body.
class BinaryBody {
public:
    BinaryBody(std::string_view rest, bool bigEndian) : rest_(rest), bigEndian_(bigEndian) {}

    bool skip(std::uint64_t values, const Property& property) {
        return values <= rest_.size() && skipBytes(values * property.size);
    }

    std::optional<std::uint64_t> length(const Property& property) {
        const std::size_t size = property.countSize;
        if (rest_.size() < size) {
            return std::nullopt;
        }
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t at = bigEndian_ ? i : size - 1 - i;
            value = value << 8U | static_cast<unsigned char>(rest_[at]);
        }
        rest_.remove_prefix(size);
        return value;
    }

    /// Bytes of a row when all rows are equally long, else 0.
    static std::uint64_t rowSize(const Element& element) {
        std::uint64_t size = 0;
        for (const Property& property : element.properties) {
            if (property.countSize != 0) {
                return 0;
            }
            size += property.size;
        }
        return size;
    }

    bool skipBytes(std::uint64_t bytes) {
        if (bytes > rest_.size()) {
            return false;
        }
        rest_.remove_prefix(bytes);
        return true;
    }

private:
    std::string_view rest_;
    bool bigEndian_;
};

template <class Body> bool SkipRow(Body& body, const Element& element) {
    for (const Property& property : element.properties) {
        std::uint64_t values = 1;
        if (property.countSize != 0) {
            const std::optional<std::uint64_t> length = body.length(property);
            if (!length) {
                return false;
            }
            values = *length;
        }
        if (!body.skip(values, property)) {
            return false;
        }
    }
    return true;
}

template <class Body> bool HoldsAll(Body body, const Header& header) {
    for (const Element& element : header.elements) {
        if (element.properties.empty()) {
            continue;
        }
        if (const std::uint64_t size = Body::rowSize(element); size > 0) {
            // A product that does not fit 64 bits is beyond any file.
            if (element.rows > UINT64_MAX / size || !body.skipBytes(element.rows * size)) {
                return false;
            }
            continue;
        }
        for (std::uint64_t row = 0; row < element.rows; ++row) {
            if (!SkipRow(body, element)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

bool IsCompletePly(std::string_view bytes) {
    Header header;
    while (const std::optional<std::string_view> line = TakeLine(bytes)) {
        std::string_view words = *line;
        if (TakeWord(words) == "end_header") {
            return header.encoding == Encoding::Text
                       ? HoldsAll(TextBody(bytes), header)
                       : HoldsAll(BinaryBody(bytes, header.encoding == Encoding::BigEndian),
                                  header);
        }
        if (!ReadHeaderLine(*line, header)) {
            return true;
        }
    }
    return false;
}

} // namespace kxcontour
