// Text is read by keywords, binary files by offsets.
#include "import/formats/StlReader.h"

#include "import/files/LetterCase.h"
#include "import/formats/TextScanner.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

namespace kxcontour {
namespace {

constexpr std::size_t kStlHeader = 84;
constexpr std::size_t kStlFacet = 50;
constexpr std::string_view kStlFormat = "Stereolithography (STL) Importer";

std::uint32_t LittleEndianWord(const char* bytes) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return std::endian::native == std::endian::little ? word : __builtin_bswap32(word);
}

/// Binary files hold as many facets as the word behind their header states, and nothing else.
bool IsStlBytes(std::string_view bytes) {
    return bytes.size() >= kStlHeader &&
           bytes.size() ==
               kStlHeader + kStlFacet * std::uint64_t{LittleEndianWord(bytes.data() + 80)};
}

FileModel ReadStlBytes(std::string_view bytes) {
    FileModel model;
    model.fromFloats = true;
    FileObject object;
    const std::size_t facets = (bytes.size() - kStlHeader) / kStlFacet;
    model.positions.reserve(3 * facets);
    object.corners.reserve(3 * facets);
    for (std::size_t facet = 0; facet < facets; ++facet) {
        // Behind the normal, which has three numbers as well.
        const char* at = bytes.data() + kStlHeader + kStlFacet * facet + 12;
        for (int corner = 0; corner < 3; ++corner, at += 12) {
            FilePoint p;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                p[axis] =
                    static_cast<double>(std::bit_cast<float>(LittleEndianWord(at + 4 * axis)));
            }
            object.corners.push_back(static_cast<std::uint32_t>(model.positions.size()));
            model.positions.push_back(p);
        }
    }
    model.objects.push_back(std::move(object));
    return model;
}

class StlTextReader {
public:
    StlTextReader(std::string_view text, const ModelRequest& request)
        : scanner_(text), request_(request) {}

    FileModel run() {
        model_.objects.emplace_back();
        while (scanner_.toNext()) {
            readStatement();
        }
        endLoop();
        endSolid();
        return std::move(model_);
    }

private:
    /// Skips all other words, and the numbers of normals.
    void readStatement() {
        const std::string_view word = scanner_.word();
        if (EqualsIgnoringCase(word, "vertex")) {
            readVertex();
        } else if (EqualsIgnoringCase(word, "endloop") || EqualsIgnoringCase(word, "endfacet")) {
            endLoop();
        } else if (EqualsIgnoringCase(word, "solid")) {
            endLoop();
            startSolid();
        } else if (EqualsIgnoringCase(word, "endsolid")) {
            scanner_.rest();
        }
    }

    void readVertex() {
        FilePoint p;
        for (double& coordinate : p) {
            if (!scanner_.toNext() || !scanner_.number(coordinate)) {
                RefuseWord(request_, scanner_, "a coordinate");
            }
        }
        faces_.corners.push_back(static_cast<std::uint32_t>(model_.positions.size()));
        model_.positions.push_back(p);
    }

    void endLoop() {
        const std::size_t size = faces_.corners.size() - loop_;
        if (size > 0) {
            faces_.sizes.push_back(static_cast<std::uint32_t>(size));
        }
        loop_ = faces_.corners.size();
    }

    void startSolid() {
        endSolid();
        if (!model_.objects.back().corners.empty()) {
            model_.objects.emplace_back();
        }
        const std::string_view line = scanner_.rest();
        model_.objects.back().name = line.substr(0, line.find_first_of(" \t"));
    }

    void endSolid() {
        Triangulate(std::exchange(faces_, {}), model_, model_.objects.back());
        loop_ = 0;
    }

    TextScanner scanner_;
    const ModelRequest& request_;
    FileModel model_;
    FileFaces faces_;      ///< Of the solid.
    std::size_t loop_ = 0; ///< The first corner of the loop.
};

} // namespace

bool IsStlText(std::string_view bytes) {
    return bytes.substr(0, 5) == "solid" && !IsStlBytes(bytes);
}

std::optional<FileModel> ReadStl(std::string_view bytes, const ModelRequest& request) {
    const bool isText = IsStlText(bytes);
    if (!isText && !IsStlBytes(bytes)) {
        return std::nullopt;
    }
    FileModel model = isText ? StlTextReader(bytes, request).run() : ReadStlBytes(bytes);
    model.format = kStlFormat;
    return model;
}

} // namespace kxcontour
