// Groups lines by layer and style, and makes paths of each group.
#include "drawing/paper/Composing.h"

#include "drawing/paper/ArcFitting.h"
#include "drawing/paper/Joining.h"
#include "drawing/paper/Overlaps.h"
#include "drawing/paper/Plane.h"
#include "drawing/paper/Weights.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <numeric>
#include <set>

namespace kxcontour {
namespace {

constexpr const char* kSharedName = "intersections";
constexpr const char* kNoName = "unnamed";

/// The drawing order of layers by type and of groups, from bottom to top.
std::size_t RankOf(const LineGroup& group) {
    constexpr std::array<std::size_t, 3> kRanks{2, 1, 3}; // By kind.
    return group.hidden ? 0 : kRanks[static_cast<std::size_t>(group.kind)];
}

/// Makes names unique in the order in which they come.
class UniqueNames {
public:
    std::string take(const std::string& wanted) {
        std::string name = wanted;
        for (int& number = lastNumbers_[wanted]; !taken_.insert(name).second;) {
            number = std::max(number, 1) + 1;
            name = wanted + " (" + std::to_string(number) + ")";
        }
        return name;
    }

private:
    std::set<std::string> taken_;
    std::map<std::string, int> lastNumbers_; ///< By wanted name: the last number given to it.
};

/// Invisible objects take names as well, so that a layer has the same name in every view of a
/// scene.
std::vector<std::string> ObjectLayerNames(const std::vector<std::string>& objects) {
    UniqueNames names;
    std::vector<std::string> result;
    result.reserve(objects.size() + 1);
    for (const std::string& object : objects) {
        result.push_back(names.take(object.empty() ? kNoName : object));
    }
    result.push_back(names.take(kSharedName));
    return result;
}

std::vector<std::string> LayerNames(const PageLines& lines, Layering layering) {
    if (layering == Layering::Type) {
        return {"hidden", "crease", "silhouette", "intersection"};
    }
    return layering == Layering::Object ? ObjectLayerNames(lines.objects)
                                        : std::vector<std::string>{""};
}

std::size_t LayerOf(const LineGroup& group, const PageLines& lines, Layering layering) {
    if (layering == Layering::Type) {
        return RankOf(group);
    }
    return layering == Layering::Object ? std::min(group.object, lines.objects.size()) : 0;
}

/// Lines of one layer and style, which are joined.
struct Bundle {
    PathGroup group;
    std::vector<PageLine> lines;
};

Bundle& BundleFor(const LineGroup& group, const StyleSheet& styles, std::vector<Bundle>& bundles) {
    const StrokeStyle& style = styles.of(group.kind, group.hidden);
    const auto found = std::find_if(bundles.begin(), bundles.end(), [&](const Bundle& bundle) {
        return bundle.group.hidden == group.hidden && bundle.group.style == style;
    });
    if (found != bundles.end()) {
        return *found;
    }
    bundles.push_back({{group.kind, group.hidden, style, {}}, {}});
    return bundles.back();
}

/// By layer; in each, hidden ones first, then in the order of RankOf().
std::vector<std::vector<Bundle>>
BundlesOf(const PageLines& lines, const LineOptions& options, std::size_t layerCount) {
    std::vector<const LineGroup*> groups;
    groups.reserve(lines.groups.size());
    for (const LineGroup& group : lines.groups) {
        groups.push_back(&group);
    }
    std::stable_sort(groups.begin(), groups.end(), [](const LineGroup* a, const LineGroup* b) {
        return RankOf(*a) < RankOf(*b);
    });
    std::vector<std::vector<Bundle>> layers(layerCount);
    for (const LineGroup* group : groups) {
        if (!group->lines.empty()) {
            std::vector<Bundle>& layer = layers[LayerOf(*group, lines, options.layering)];
            Bundle& bundle = BundleFor(*group, options.styles, layer);
            bundle.lines.insert(bundle.lines.end(), group->lines.begin(), group->lines.end());
        }
    }
    return layers;
}

/// A path no larger than this many joints is omitted.
constexpr double kLeastJoints = 4.0;

/// Millimetres. The part of an edge that shows beside the face it starts on is shorter; a longer
/// dangle is a line of the model, whatever the least length of paths.
constexpr double kLongestDangle = 0.02;

/// Millimetres. Contracting an edge moves others by its length.
constexpr double kLongestContracted = 0.01;

bool IsTooShort(const Path& path, double minLength, double joint) {
    plane::Bounds bounds;
    for (const Point& point : path.points) {
        bounds.add(point);
    }
    return plane::LengthOf(path.points) < minLength ||
           std::max(bounds.size().x, bounds.size().y) <= kLeastJoints * joint;
}

/// There are gaps only where duplicates were removed.
JoiningRules JoiningRulesFor(double minLength, const PaperTolerances& tolerances, bool hasGaps) {
    return {tolerances.joint, std::min(minLength, kLongestDangle),
            std::min(minLength, kLongestContracted), hasGaps ? tolerances.coincidence : 0.0};
}

PathGroup GroupOf(const Bundle& bundle,
                  const LineOptions& options,
                  const JoiningRules& joining,
                  DrawingStatistics& report) {
    PathGroup group = bundle.group;
    group.paths = JoinLines(bundle.lines, joining);
    report.shortPaths += std::erase_if(group.paths, [&](const Path& path) {
        return IsTooShort(path, options.minLength, joining.joint);
    });
    report.paths += group.paths.size();
    if (options.arcTolerance) {
        for (Path& path : group.paths) {
            RecogniseArcs(path, *options.arcTolerance);
        }
    }
    return group;
}

std::size_t CountLines(const PageLines& lines) {
    return std::transform_reduce(lines.groups.begin(), lines.groups.end(), std::size_t{0},
                                 std::plus<>(),
                                 [](const LineGroup& group) { return group.lines.size(); });
}

} // namespace

kxdrawing::Drawing
Compose(PageLines lines, const LineOptions& options, const PaperTolerances& tolerances) {
    kxdrawing::Drawing drawing;
    drawing.statistics.lines = CountLines(lines);
    const bool hasGaps = RemoveOverlaps(lines, tolerances.coincidence);
    drawing.statistics.shownOnce = CountLines(lines);
    EvenOutWeights(lines, options.styles);
    const std::vector<std::string> names = LayerNames(lines, options.layering);
    const std::vector<std::vector<Bundle>> bundles = BundlesOf(lines, options, names.size());
    const JoiningRules joining = JoiningRulesFor(options.minLength, tolerances, hasGaps);
    for (std::size_t i = 0; i < names.size(); ++i) {
        kxdrawing::Layer layer;
        layer.name = names[i];
        for (const Bundle& bundle : bundles[i]) {
            PathGroup group = GroupOf(bundle, options, joining, drawing.statistics);
            if (!group.paths.empty()) {
                layer.groups.push_back(std::move(group));
            }
        }
        if (!layer.groups.empty()) {
            drawing.layers.push_back(std::move(layer));
        }
    }
    return drawing;
}

} // namespace kxcontour
