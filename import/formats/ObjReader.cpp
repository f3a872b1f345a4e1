// One pass over the lines; polygons are triangulated when all vertices are known.
#include "import/formats/ObjReader.h"

#include "import/formats/TextScanner.h"

#include <map>
#include <utility>

namespace kxcontour {
namespace {

constexpr std::string_view kObjFormat = "Wavefront Object Importer";

class ObjReader {
public:
    ObjReader(std::string_view text, const ModelRequest& request)
        : scanner_(text), request_(request) {
        model_.format = kObjFormat;
    }

    /// None where no statement of the file is one of OBJ.
    std::optional<FileModel> run() {
        while (!scanner_.atEnd()) {
            if (scanner_.toNextInLine()) {
                readStatement();
            }
            scanner_.skipLine();
        }
        if (!isObj_) {
            return std::nullopt;
        }
        requireIndices();
        finishObjects();
        return std::move(model_);
    }

private:
    /// The largest index that occurs, and where.
    struct Reach {
        std::uint64_t count = 0; ///< The index plus one: as many have to exist.
        TextScanner where{{}};
    };

    void readStatement() {
        const char first = scanner_.peek();
        if (first == '#') {
            scanner_.rest(); // No backslash continues a comment.
            return;
        }
        isObj_ = readStatement(scanner_.word()) || isObj_;
    }

    /// False for a keyword that is skipped.
    bool readStatement(std::string_view keyword) {
        if (keyword == "v") {
            readPosition();
        } else if (keyword == "vn") {
            readNormal();
        } else if (keyword == "f" || keyword == "fo") {
            readFace();
        } else if (keyword == "o") {
            openObject();
        } else if (keyword == "g") {
            openGroup();
        } else if (keyword == "l" || keyword == "p") {
            countLinesOrPoints(keyword == "l");
        } else {
            return false;
        }
        return true;
    }

    double number() {
        double value = 0.0;
        if (!scanner_.toNextInLine() || !scanner_.number(value)) {
            RefuseWord(request_, scanner_, "a number");
        }
        return value;
    }

    /// Three coordinates; a single number behind them is a weight, more are a colour.
    void readPosition() {
        FilePoint p{number(), number(), number()};
        double weight = 1.0;
        if (scanner_.toNextInLine() && scanner_.number(weight) && !scanner_.toNextInLine() &&
            weight != 0.0 && weight != 1.0) {
            for (double& coordinate : p) {
                coordinate /= weight;
            }
        }
        model_.positions.push_back(p);
    }

    void readNormal() {
        const double x = number();
        const double y = number();
        const double z = number();
        model_.normals.emplace_back(static_cast<float>(x), static_cast<float>(y),
                                    static_cast<float>(z));
    }

    /// Corners "7", "7/2", "7/2/3" and "7//3"; negative numbers count back from the last.
    void readFace() {
        FileFaces& faces = current();
        const std::size_t before = faces.corners.size();
        while (scanner_.toNextInLine()) {
            readCorner(faces);
        }
        const std::size_t size = faces.corners.size() - before;
        if (size < 3) {
            model_.leftOutPolygons += size > 0 ? 1 : 0;
            faces.corners.resize(before);
            faces.normals.resize(std::min(faces.normals.size(), before));
            return;
        }
        faces.sizes.push_back(static_cast<std::uint32_t>(size));
    }

    void readCorner(FileFaces& faces) {
        const TextScanner where = scanner_;
        const std::uint32_t position = index(where, model_.positions.size(), positionReach_);
        std::uint32_t normal = kNoIndex;
        if (skipSlash()) {
            std::int64_t texture = 0;
            scanner_.integer(texture);
            if (skipSlash() && !isCornerEnd()) {
                normal = index(where, model_.normals.size(), normalReach_);
            }
        }
        if (!isCornerEnd()) {
            refuseCorner(where);
        }
        if (normal != kNoIndex || !faces.normals.empty()) {
            // Corners that came before the first normal of the object have none.
            faces.normals.resize(faces.corners.size(), kNoIndex);
            faces.normals.push_back(normal);
        }
        faces.corners.push_back(position);
    }

    [[noreturn]] void refuseCorner(const TextScanner& where) const {
        RefuseWord(request_, where, "a corner of a face");
    }

    [[noreturn]] void refuseIndex(const TextScanner& where, const std::string& number) const {
        RefuseModel(request_, where.place() + ": index out of range: " + number);
    }

    bool skipSlash() {
        if (scanner_.peek() != '/') {
            return false;
        }
        scanner_.advance();
        return true;
    }

    bool isCornerEnd() const {
        return scanner_.atEnd() || TextScanner::isSpace(scanner_.peek()) || scanner_.peek() == '\\';
    }

    /// An index of the file, from 1 on or back from -1, as one from 0 on.
    std::uint32_t index(const TextScanner& where, std::size_t count, Reach& reach) {
        std::int64_t number = 0;
        if (!scanner_.integer(number)) {
            refuseCorner(where);
        }
        const auto known = static_cast<std::int64_t>(count);
        const std::int64_t at = number < 0 ? known + number : number - 1;
        if (number == 0 || at < 0 || at >= std::int64_t{kNoIndex}) {
            refuseIndex(where, std::to_string(number));
        }
        if (static_cast<std::uint64_t>(at) >= reach.count) {
            reach.count = static_cast<std::uint64_t>(at) + 1;
            reach.where = where;
        }
        return static_cast<std::uint32_t>(at);
    }

    void requireIndices() const {
        requireIndices(positionReach_, model_.positions.size());
        requireIndices(normalReach_, model_.normals.size());
    }

    void requireIndices(const Reach& reach, std::size_t count) const {
        if (reach.count > count) {
            refuseIndex(reach.where, std::to_string(reach.count));
        }
    }

    void countLinesOrPoints(bool lines) {
        std::size_t count = 0;
        for (; scanner_.toNextInLine(); ++count) {
            scanner_.word();
        }
        model_.leftOutPolygons += lines && count > 0 ? count - 1 : count;
    }

    void openObject() {
        const auto [known, isNew] = objectOf_.emplace(scanner_.rest(), faces_.size());
        if (isNew) {
            open(known->first);
        }
        current_ = known->second;
    }

    void openGroup() {
        const std::string_view name = scanner_.rest();
        if (group_ != name || faces_.empty()) {
            group_ = name;
            objectOf_.emplace(name, faces_.size());
            open(group_);
        }
    }

    void open(const std::string& name) {
        current_ = faces_.size();
        faces_.emplace_back();
        model_.objects.emplace_back();
        model_.objects.back().name = name;
    }

    FileFaces& current() {
        if (faces_.empty()) {
            open("");
        }
        return faces_[current_];
    }

    void finishObjects() {
        for (std::size_t i = 0; i < faces_.size(); ++i) {
            Triangulate(std::exchange(faces_[i], {}), model_, model_.objects[i]);
        }
    }

    TextScanner scanner_;
    const ModelRequest& request_;
    FileModel model_;
    bool isObj_ = false;
    std::vector<FileFaces> faces_; ///< Of each object.
    std::map<std::string, std::size_t, std::less<>> objectOf_;
    std::string group_; ///< The last one.
    std::size_t current_ = 0;
    Reach positionReach_;
    Reach normalReach_;
};

bool IsWideText(std::string_view bytes) {
    return bytes.substr(0, 2) == "\xFE\xFF" || bytes.substr(0, 2) == "\xFF\xFE";
}

} // namespace

std::optional<FileModel> ReadObj(std::string_view bytes, const ModelRequest& request) {
    if (IsWideText(bytes)) {
        return std::nullopt;
    }
    const std::string_view mark = "\xEF\xBB\xBF";
    if (bytes.substr(0, mark.size()) == mark) {
        bytes.remove_prefix(mark.size());
    }
    return ObjReader(bytes, request).run();
}

} // namespace kxcontour
