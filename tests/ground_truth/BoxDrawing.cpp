// The drawing goes the tool's whole way from a model in memory to a file, and is read back.
#include "BoxDrawing.h"

#include <kxDrawing/Writers.h>

#include "drawing/Drawing.h"
#include "drawing/scene/Scene.h"
#include "tool/ModelText.h"
#include "tool/SvgFile.h"

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace ground_truth {
namespace {

/// Lines of paper this near are one: wider than what the tool takes for one line and than what
/// rounding to its grid moves, far narrower than any stroke.
constexpr double kNear = 0.02;
/// Projections of one line through different boxes differ by rounding only.
constexpr double kSameLine = 1e-6;
constexpr float kCrackLength = 2e-6F;
constexpr const char* kCracked = "cracked ";
/// What is seen end-on draws nothing.
constexpr double kPoint = 1e-6;

std::vector<FlatLine> LinesOf(const tool_test::SvgFile& svg) {
    std::vector<FlatLine> lines;
    for (const tool_test::SvgGroup& group : svg.groups) {
        for (const tool_test::SvgPath& path : group.paths) {
            for (std::size_t i = 1; i < path.size(); ++i) {
                const FlatLine line{path[i - 1], path[i]};
                if (LengthOf(line) > 0.0) {
                    lines.push_back(line);
                }
            }
        }
    }
    return lines;
}

std::vector<Stretch> LongestFirst(std::vector<Stretch> stretches) {
    std::stable_sort(stretches.begin(), stretches.end(), [](const Stretch& a, const Stretch& b) {
        return LengthOf(a.where) > LengthOf(b.where);
    });
    return stretches;
}

template <class Kind, std::size_t count> Kind KindNamed(const std::string& name) {
    for (std::size_t i = 0; i < count; ++i) {
        if (name == NameOf(static_cast<Kind>(i))) {
            return static_cast<Kind>(i);
        }
    }
    throw std::invalid_argument("there is no kind '" + name + "'");
}

void AddPlace(std::ostream& text, const FlatLine& line) {
    text << "(" << line.a.x << ", " << line.a.y << ") to (" << line.b.x << ", " << line.b.y << ")";
}

void AddStrokes(std::ostream& svg,
                const std::vector<Stretch>& stretches,
                const char* color,
                double width) {
    svg << "<path fill=\"none\" stroke=\"" << color << "\" stroke-width=\"" << width
        << "\" stroke-linecap=\"round\" d=\"";
    for (const Stretch& stretch : stretches) {
        const FlatLine& line = stretch.where;
        svg << "M" << line.a.x << "," << line.a.y << "L" << line.b.x << "," << line.b.y;
    }
    svg << "\"/>\n";
}

} // namespace

BoxCase ReadCase(const std::string& name) {
    const std::string cracked = kCracked;
    if (name.substr(0, cracked.size()) == cracked) {
        BoxCase sound = ReadCase(name.substr(cracked.size()));
        sound.cracked = true;
        return sound;
    }
    const std::size_t first = name.find('/');
    const std::size_t last = name.rfind('/');
    if (first == last) {
        throw std::invalid_argument("'" + name + "' is not SCENE/VIEW/SEED");
    }
    return {KindNamed<SceneKind, kSceneKinds>(name.substr(0, first)),
            KindNamed<ViewKind, kViewKinds>(name.substr(first + 1, last - first - 1)),
            std::stoull(name.substr(last + 1)), false};
}

std::string NameOf(const BoxCase& boxCase) {
    return std::string(boxCase.cracked ? kCracked : "") + NameOf(boxCase.scene) + "/" +
           NameOf(boxCase.view) + "/" + std::to_string(boxCase.seed);
}

BoxDrawing::BoxDrawing(const BoxCase& boxCase)
    : name_(NameOf(boxCase)), scene_(MakeBoxScene(boxCase.scene, boxCase.seed)),
      view_(boxCase.view, scene_.boxes, boxCase.seed) {
    if (boxCase.cracked) {
        Crack(scene_, kCrackLength, boxCase.seed);
    }
    expect();
    draw();
    compare();
}

void BoxDrawing::expect() {
    std::vector<SpaceLine> sources;
    std::vector<FlatLine> lines;
    for (const SpaceLine& line : VisibleLines(scene_.boxes, view_.eye())) {
        const FlatLine flat{view_.project(line.from), view_.project(line.to)};
        if (LengthOf(flat) > kPoint) {
            sources.push_back(line);
            lines.push_back(flat);
        }
    }
    for (const Stretch& stretch : EachOnce(lines, kSameLine)) {
        sources_.push_back(sources[stretch.line]);
        expected_.push_back(stretch.where);
    }
}

void BoxDrawing::draw() {
    const tool_test::TemporaryFolder folder;
    const std::string path = folder.path("drawing.svg");
    kxcontour::DrawingRequest request;
    request.camera = {view_.request(), {}};
    request.lines.lines = false;
    kxcontour::DrawingObserver observer;
    kxcontour::SceneBuilder builder({});
    builder.addDrawn(ModelOf(scene_), "model");
    kxdrawing::write(DrawScene(builder.finish(), request, observer), path);
    drawn_ = LinesOf(tool_test::ReadSvg(path));
}

void BoxDrawing::compare() {
    missing_ = LongestFirst(FarFrom(expected_, drawn_, kNear));
    invented_ = LongestFirst(FarFrom(drawn_, expected_, kNear));
}

std::string BoxDrawing::report() const {
    constexpr std::size_t kListed = 4;
    std::ostringstream text;
    text << std::setprecision(6) << name_ << ": " << LengthOf(missing_) << " mm missing, "
         << LengthOf(invented_) << " mm invented of " << length() << " mm; " << view_.options()
         << "\n";
    for (std::size_t i = 0; i < std::min(kListed, missing_.size()); ++i) {
        text << "    missing from ";
        AddPlace(text, missing_[i].where);
        text << ", visible " << Describe(sources_[missing_[i].line]) << "\n";
    }
    for (std::size_t i = 0; i < std::min(kListed, invented_.size()); ++i) {
        text << "    invented from ";
        AddPlace(text, invented_[i].where);
        text << "\n";
    }
    return text.str();
}

std::string BoxDrawing::pictureText() const {
    std::ostringstream svg;
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"210mm\" height=\"297mm\" "
           "viewBox=\"0 0 210 297\">\n<rect width=\"210\" height=\"297\" fill=\"white\"/>\n";
    std::vector<Stretch> all;
    for (const FlatLine& line : expected_) {
        all.push_back({0, line});
    }
    AddStrokes(svg, all, "#b0b0b0", 0.5);
    AddStrokes(svg, missing_, "#e00000", 1.2);
    AddStrokes(svg, invented_, "#0040ff", 0.8);
    svg << "</svg>\n";
    return svg.str();
}

void BoxDrawing::write(const std::string& name) const {
    std::ofstream(name + ".obj") << ObjTextOf(scene_);
    std::ofstream(name + ".svg") << pictureText();
}

} // namespace ground_truth
