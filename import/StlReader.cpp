// Text by its keywords, bytes by their places.
#include "import/StlReader.h"

#include "import/TextScanner.h"

#include <bit>
#include <cstdint>
#include <cstring>

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

/// Binary files hold as many facets as the word after their header says, and nothing else.
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

/// Whether a word is a keyword, in letters of either size.
bool IsKeyword(std::string_view word, std::string_view keyword) {
    if (word.size() != keyword.size()) {
        return false;
    }
    for (std::size_t i = 0; i < word.size(); ++i) {
        const char letter =
            word[i] >= 'A' && word[i] <= 'Z' ? static_cast<char>(word[i] + 32) : word[i];
        if (letter != keyword[i]) {
            return false;
        }
    }
    return true;
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
        return std::move(model_);
    }

private:
    /// All other words, and the numbers of normals, pass.
    void readStatement() {
        const std::string_view word = scanner_.word();
        if (IsKeyword(word, "vertex")) {
            loop_.push_back(readVertex());
        } else if (IsKeyword(word, "endloop") || IsKeyword(word, "endfacet")) {
            endLoop();
        } else if (IsKeyword(word, "solid")) {
            endLoop();
            startSolid();
        } else if (IsKeyword(word, "endsolid")) {
            scanner_.rest();
        }
    }

    FilePoint readVertex() {
        FilePoint p;
        for (double& coordinate : p) {
            if (!scanner_.toNext() || !scanner_.number(coordinate)) {
                const std::string place = scanner_.place();
                RefuseModel(request_, place + ": '" + std::string(scanner_.word().substr(0, 40)) +
                                          "' is not a coordinate");
            }
        }
        return p;
    }

    void endLoop() {
        if (loop_.size() < 3) {
            model_.leftOutPolygons += loop_.empty() ? 0 : 1;
            loop_.clear();
            return;
        }
        const auto first = static_cast<std::uint32_t>(model_.positions.size());
        model_.cutPolygons += loop_.size() > 3 ? 1 : 0;
        for (const std::uint32_t corner : cutter_.cut(loop_)) {
            model_.objects.back().corners.push_back(first + corner);
        }
        model_.positions.insert(model_.positions.end(), loop_.begin(), loop_.end());
        loop_.clear();
    }

    void startSolid() {
        if (!model_.objects.back().corners.empty()) {
            model_.objects.emplace_back();
        }
        const std::string_view line = scanner_.rest();
        model_.objects.back().name = line.substr(0, line.find_first_of(" \t"));
    }

    TextScanner scanner_;
    const ModelRequest& request_;
    FileModel model_;
    std::vector<FilePoint> loop_;
    PolygonCutter cutter_;
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
