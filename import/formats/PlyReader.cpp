// A PLY file (Turk 1994: header in text, body in text or binary of either byte order).
#include "import/formats/PlyReader.h"

#include "import/formats/TextScanner.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <system_error>
#include <utility>

namespace kxcontour {
namespace {

constexpr std::string_view kPlyFormat = "Stanford Polygon Library (PLY) Importer";

enum class PlyEncoding { Text, LittleEndian, BigEndian };

enum class PlyType { None, Int8, UInt8, Int16, UInt16, Int32, UInt32, Float, Double };

std::size_t SizeOf(PlyType type) {
    constexpr std::array<std::size_t, 9> kSizes{0, 1, 1, 2, 2, 4, 4, 4, 8};
    return kSizes[static_cast<std::size_t>(type)];
}

struct PlyProperty {
    std::string_view name;
    PlyType type = PlyType::None;
    PlyType countType = PlyType::None; ///< None: not a list.

    bool isList() const { return countType != PlyType::None; }
};

struct PlyElement {
    std::string_view name;
    std::uint64_t rows = 0;
    std::vector<PlyProperty> properties;
};

struct PlyHeader {
    PlyEncoding encoding = PlyEncoding::Text;
    std::vector<PlyElement> elements;
};

/// Thrown where the body is shorter than the header states.
struct BodyEnded {};

PlyType TypeOf(std::string_view name) {
    // Two for each type, in the order of the enumeration.
    constexpr std::array<std::string_view, 16> kNames{
        "char", "int8",  "uchar", "uint8",  "short", "int16",   "ushort", "uint16",
        "int",  "int32", "uint",  "uint32", "float", "float32", "double", "float64"};
    const auto at = std::find(kNames.begin(), kNames.end(), name) - kNames.begin();
    return at == std::ssize(kNames) ? PlyType::None : static_cast<PlyType>(1 + at / 2);
}

/// Reads the header and stops behind it.
class PlyHeaderReader {
public:
    PlyHeaderReader(TextScanner& scanner, const ModelRequest& request)
        : scanner_(scanner), request_(request) {}

    PlyHeader run() {
        scanner_.skipLine(); // "ply"
        while (!scanner_.atEnd()) {
            const std::string_view keyword = nextWord();
            if (keyword == "end_header") {
                requireLineEnd();
                scanner_.skipLine();
                return std::move(header_);
            }
            const bool known = readLine(keyword);
            requireLineEnd();
            if (!known) {
                RefuseModel(request_, scanner_.place() + " of its header is invalid");
            }
            scanner_.skipLine();
        }
        RefuseCutModel(request_);
    }

private:
    std::string_view nextWord() {
        return scanner_.toNextInLine() ? scanner_.word() : std::string_view();
    }

    /// The last line has an end as well: without it, the file was cut there.
    void requireLineEnd() {
        scanner_.rest();
        if (scanner_.atEnd()) {
            RefuseCutModel(request_);
        }
    }

    /// Skips comments and unknown keywords.
    bool readLine(std::string_view keyword) {
        if (keyword == "format") {
            return readFormat();
        }
        if (keyword == "element") {
            return readElement();
        }
        return keyword != "property" || readProperty();
    }

    bool readFormat() {
        const std::string_view name = nextWord();
        header_.encoding = name == "binary_little_endian" ? PlyEncoding::LittleEndian
                           : name == "binary_big_endian"  ? PlyEncoding::BigEndian
                                                          : PlyEncoding::Text;
        return name == "ascii" || header_.encoding != PlyEncoding::Text;
    }

    bool readElement() {
        PlyElement element;
        element.name = nextWord();
        const std::string_view count = nextWord();
        const char* end = count.data() + count.size();
        const auto [stop, error] = std::from_chars(count.data(), end, element.rows);
        header_.elements.push_back(element);
        return error == std::errc() && stop == end;
    }

    bool readProperty() {
        PlyProperty property;
        std::string_view type = nextWord();
        if (type == "list") {
            property.countType = TypeOf(nextWord());
            if (property.countType == PlyType::None || property.countType >= PlyType::Float) {
                return false;
            }
            type = nextWord();
        }
        property.type = TypeOf(type);
        property.name = nextWord();
        if (property.type == PlyType::None || header_.elements.empty()) {
            return false;
        }
        header_.elements.back().properties.push_back(property);
        return true;
    }

    TextScanner& scanner_;
    const ModelRequest& request_;
    PlyHeader header_;
};

/// The values of a body in text.
class PlyTextBody {
public:
    PlyTextBody(TextScanner scanner, const ModelRequest& request)
        : scanner_(scanner), request_(request) {}

    double value(PlyType) {
        double value = 0.0;
        if (!scanner_.toNext()) {
            throw BodyEnded();
        }
        if (!scanner_.number(value)) {
            RefuseWord(request_, scanner_, "a number");
        }
        return value;
    }

    std::uint64_t count(PlyType type) {
        const double number = value(type);
        // The limit is beyond any file. NaN fails both comparisons.
        return number >= 0.0 && number < 1e18 ? static_cast<std::uint64_t>(number) : UINT64_MAX;
    }

    void skip(PlyType, std::uint64_t count) {
        for (; count > 0; --count) {
            if (!scanner_.toNext()) {
                throw BodyEnded();
            }
            scanner_.word();
        }
    }

    std::size_t left() const { return scanner_.left(); }

private:
    TextScanner scanner_;
    const ModelRequest& request_;
};

/// The values of a binary body.
class PlyBytesBody {
public:
    PlyBytesBody(std::string_view rest, bool bigEndian)
        : rest_(rest), swap_(bigEndian != (std::endian::native == std::endian::big)) {}

    double value(PlyType type) {
        switch (type) {
        case PlyType::Int8:
            return static_cast<std::int8_t>(bits<std::uint8_t>());
        case PlyType::UInt8:
            return bits<std::uint8_t>();
        case PlyType::Int16:
            return static_cast<std::int16_t>(bits<std::uint16_t>());
        case PlyType::UInt16:
            return bits<std::uint16_t>();
        case PlyType::Int32:
            return static_cast<std::int32_t>(bits<std::uint32_t>());
        case PlyType::UInt32:
            return bits<std::uint32_t>();
        case PlyType::Float:
            return static_cast<double>(std::bit_cast<float>(bits<std::uint32_t>()));
        case PlyType::Double:
            return std::bit_cast<double>(bits<std::uint64_t>());
        case PlyType::None:
            break;
        }
        return 0.0;
    }

    /// Counts have no sign, whatever their type.
    std::uint64_t count(PlyType type) {
        return SizeOf(type) == 1   ? bits<std::uint8_t>()
               : SizeOf(type) == 2 ? bits<std::uint16_t>()
                                   : bits<std::uint32_t>();
    }

    void skip(PlyType type, std::uint64_t count) {
        if (count > rest_.size() / SizeOf(type)) {
            throw BodyEnded();
        }
        rest_.remove_prefix(count * SizeOf(type));
    }

    std::size_t left() const { return rest_.size(); }

private:
    template <class Bits> Bits bits() {
        if (rest_.size() < sizeof(Bits)) {
            throw BodyEnded();
        }
        std::array<char, sizeof(Bits)> bytes;
        std::memcpy(bytes.data(), rest_.data(), sizeof(Bits));
        if (swap_) {
            std::reverse(bytes.begin(), bytes.end());
        }
        rest_.remove_prefix(sizeof(Bits));
        return std::bit_cast<Bits>(bytes);
    }

    std::string_view rest_;
    bool swap_;
};

bool IsIndexList(const PlyProperty& property) {
    return property.isList() &&
           (property.name == "vertex_indices" || property.name == "vertex_index");
}

/// Reads the elements of a body in their order.
template <class Body> class PlyBodyReader {
public:
    PlyBodyReader(const PlyHeader& header, Body body) : header_(header), body_(body) {}

    FileModel run() {
        model_.format = kPlyFormat;
        model_.objects.emplace_back();
        for (const PlyElement& element : header_.elements) {
            // Rows without values take no bytes, however many there are.
            if (!element.properties.empty()) {
                readElement(element);
            }
        }
        finishFaces();
        return std::move(model_);
    }

private:
    /// Where the values of a vertex go: coordinates, components of its normal, or nowhere.
    static constexpr std::array<std::string_view, 6> kRoles{"x", "y", "z", "nx", "ny", "nz"};
    static constexpr std::size_t kNoRole = kRoles.size();

    void readElement(const PlyElement& element) {
        if (element.name == "vertex") {
            readVertices(element);
        } else if (element.name == "face" || element.name == "tristrips") {
            readFaces(element, element.name == "tristrips");
        } else {
            for (std::uint64_t row = 0; row < element.rows; ++row) {
                for (const PlyProperty& property : element.properties) {
                    skip(property);
                }
            }
        }
    }

    void skip(const PlyProperty& property) {
        body_.skip(property.type, property.isList() ? body_.count(property.countType) : 1);
    }

    /// Every row takes at least one byte, so the number of bytes bounds the number of rows.
    std::size_t expected(const PlyElement& element) const {
        return static_cast<std::size_t>(std::min<std::uint64_t>(element.rows, body_.left()));
    }

    void readVertices(const PlyElement& element) {
        std::vector<std::size_t> roles;
        for (const PlyProperty& property : element.properties) {
            const auto* role = std::find(kRoles.begin(), kRoles.end(), property.name);
            roles.push_back(property.isList() ? kNoRole
                                              : static_cast<std::size_t>(role - kRoles.begin()));
            model_.fromFloats = model_.fromFloats || (roles.back() < 3 && isFloat(property));
        }
        const bool withNormals = std::count_if(roles.begin(), roles.end(), [](std::size_t role) {
                                     return role >= 3 && role != kNoRole;
                                 }) == 3;
        model_.positions.reserve(model_.positions.size() + expected(element) / 3);
        for (std::uint64_t row = 0; row < element.rows; ++row) {
            readVertex(element, roles, withNormals);
        }
    }

    /// In text, the type does not bound the number of digits.
    bool isFloat(const PlyProperty& property) const {
        return header_.encoding != PlyEncoding::Text && property.type == PlyType::Float;
    }

    void
    readVertex(const PlyElement& element, const std::vector<std::size_t>& roles, bool withNormals) {
        std::array<double, kNoRole> values{};
        for (std::size_t i = 0; i < roles.size(); ++i) {
            if (roles[i] == kNoRole) {
                skip(element.properties[i]);
            } else {
                values[roles[i]] = body_.value(element.properties[i].type);
            }
        }
        model_.positions.push_back({values[0], values[1], values[2]});
        if (withNormals) {
            model_.normals.emplace_back(static_cast<float>(values[3]),
                                        static_cast<float>(values[4]),
                                        static_cast<float>(values[5]));
        }
    }

    void readFaces(const PlyElement& element, bool areStrips) {
        faces_.sizes.reserve(faces_.sizes.size() + (areStrips ? 0 : expected(element) / 4));
        for (std::uint64_t row = 0; row < element.rows; ++row) {
            for (const PlyProperty& property : element.properties) {
                if (!IsIndexList(property)) {
                    skip(property);
                } else if (areStrips) {
                    readStrip(property);
                } else {
                    readFace(property);
                }
            }
        }
    }

    /// A number that is no index becomes kNoIndex.
    std::uint32_t index(const PlyProperty& property) {
        const double value = body_.value(property.type);
        return value >= 0.0 && value < static_cast<double>(kNoIndex) && value == std::floor(value)
                   ? static_cast<std::uint32_t>(value)
                   : kNoIndex;
    }

    void readFace(const PlyProperty& property) {
        std::uint64_t count = body_.count(property.countType);
        const std::size_t before = faces_.corners.size();
        for (; count > 0; --count) {
            faces_.corners.push_back(index(property));
        }
        faces_.sizes.push_back(static_cast<std::uint32_t>(faces_.corners.size() - before));
    }

    /// Each corner makes a triangle with the two before, every second one with reversed
    /// orientation; -1 ends a strip.
    void readStrip(const PlyProperty& property) {
        std::uint64_t count = body_.count(property.countType);
        std::array<std::uint32_t, 2> last{};
        for (std::size_t length = 0; count > 0; --count) {
            const std::uint32_t corner = index(property);
            if (corner == kNoIndex) {
                length = 0;
                continue;
            }
            if (length >= 2) {
                const bool odd = length % 2 == 1;
                faces_.corners.insert(faces_.corners.end(),
                                      {last[odd ? 1 : 0], last[odd ? 0 : 1], corner});
                faces_.sizes.push_back(3);
            }
            last = {last[1], corner};
            ++length;
        }
    }

    /// Faces may come before the vertices, so they are triangulated last.
    void finishFaces() {
        FileObject& object = model_.objects.back();
        Triangulate(std::move(faces_), model_, object);
        if (model_.normals.size() == model_.positions.size() && !model_.normals.empty()) {
            for (const std::uint32_t corner : object.corners) {
                object.normals.push_back(corner < model_.normals.size() ? corner : kNoIndex);
            }
        }
    }

    const PlyHeader& header_;
    Body body_;
    FileModel model_;
    FileFaces faces_;
};

} // namespace

std::optional<FileModel> ReadPly(std::string_view bytes, const ModelRequest& request) {
    if (bytes.substr(0, 4) != "ply\n" && bytes.substr(0, 4) != "ply\r") {
        return std::nullopt;
    }
    TextScanner scanner(bytes);
    const PlyHeader header = PlyHeaderReader(scanner, request).run();
    try {
        if (header.encoding == PlyEncoding::Text) {
            return PlyBodyReader(header, PlyTextBody(scanner, request)).run();
        }
        const bool bigEndian = header.encoding == PlyEncoding::BigEndian;
        return PlyBodyReader(header, PlyBytesBody(scanner.leftText(), bigEndian)).run();
    } catch (const BodyEnded&) {
        RefuseCutModel(request);
    }
}

} // namespace kxcontour
