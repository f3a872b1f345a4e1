// Pieces come from the library, which knows how ranges on the screen lie in space; the way from
// there to the sheet is the exporter's, in doubles.
#include "drawing/lines/PaperMapping.h"

#include <ctr/ExportParameters.h>
#include <ctr/IntervalTools.h>
#include <ctr/detail/PageMap.h>

#include <cstdint>
#include <utility>

namespace kxcontour {
namespace {

using ctr::LineSegmentSet;
using ctr::RationalInterval;
using Position = Wm4::Vector3<float>;
using LineSetPointer = kx::kxPointer<LineSegmentSet>;

/// Maps points of the world to the sheet, y pointing down.
class PageMap {
public:
    explicit PageMap(const PaperPlace& place) : parameters_(place.camera) {
        parameters_.setPageSizeInMM(
            {static_cast<float>(place.page.width), static_cast<float>(place.page.height)});
        parameters_.computeBestFitTransform();
    }

    Point operator()(const Position& world) const {
        const Wm4::Vector2<double> point = ctr::detail::ToPage<double>(parameters_, world);
        return {point[0], point[1]};
    }

    /// The distance from the eye, up to a factor; the same everywhere without perspective.
    double depthOf(const Position& world) const {
        const Wm4::Matrix4<float>& m = parameters_.worldToClip;
        double depth = static_cast<double>(m[3][3]);
        for (int i = 0; i < 3; ++i) {
            depth += static_cast<double>(world[i]) * static_cast<double>(m[i][3]);
        }
        return depth;
    }

private:
    ctr::ExportParameters parameters_;
};

std::size_t SegmentCount(const LineSegmentSet& set) {
    return static_cast<std::size_t>(set.GetIndexBuffer()->GetIndexQuantity()) / 2;
}

/// The end points of a segment; sets of lines found are in world space.
std::pair<Position, Position> EndsOf(const LineSegmentSet& set, std::size_t segment) {
    const unsigned int* indices = set.GetIndexBuffer()->GetData() + 2 * segment;
    const kx::kxVertexBuffer& vertices = *set.GetVertexBuffer();
    return {vertices.Position3(static_cast<int>(indices[0])),
            vertices.Position3(static_cast<int>(indices[1]))};
}

std::vector<PageLine> VisiblePieces(const LineSegmentSet& set, const PageMap& toPage) {
    std::vector<PageLine> lines;
    const LineSetPointer pieces(LineSegmentSet::BakeVisibleSegments(&set));
    if (!pieces) {
        return lines;
    }
    lines.reserve(SegmentCount(*pieces));
    for (std::size_t i = 0; i < SegmentCount(*pieces); ++i) {
        const auto [a, b] = EndsOf(*pieces, i);
        lines.push_back({toPage(a), toPage(b)});
    }
    return lines;
}

bool IsInView(const LineSegmentSet& set, std::size_t segment) {
    return segment >= set.clipRanges.size() ||
           set.clipRanges[segment].t0 < set.clipRanges[segment].t1;
}

/// The same lines with visible and hidden exchanged; what is outside the view stays away.
LineSetPointer Inverted(const LineSegmentSet& set) {
    kx::kxRttiInterface* clone = nullptr;
    set.Clone(clone);
    LineSetPointer inverted(static_cast<LineSegmentSet*>(clone));
    for (std::size_t i = 0; i < inverted->occlusionIntervals.size(); ++i) {
        std::vector<RationalInterval>& ranges = inverted->occlusionIntervals[i];
        ranges = IsInView(set, i) ? ctr::IntervalTools::Complement(ranges)
                                  : std::vector{RationalInterval{{0, 1}, {1, 1}}};
    }
    return inverted;
}

std::vector<kxdrawing::Interval> Intervals(const std::vector<RationalInterval>& ranges) {
    std::vector<kxdrawing::Interval> intervals;
    intervals.reserve(ranges.size());
    for (const RationalInterval& range : ranges) {
        intervals.push_back({{range.start[0], range.start[1]}, {range.end[0], range.end[1]}});
    }
    return intervals;
}

std::array<double, 3> InFile(const Position& p, const Wm4::Matrix4<double>& toFile) {
    std::array<double, 3> point{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto column = static_cast<int>(axis);
        point[axis] = toFile[3][column];
        for (int i = 0; i < 3; ++i) {
            point[axis] += static_cast<double>(p[i]) * toFile[i][column];
        }
    }
    return point;
}

/// One segment of a set, but for its kind and object.
kxdrawing::Line LineOf(const LineSegmentSet& set,
                       std::size_t segment,
                       const PageMap& toPage,
                       const Wm4::Matrix4<double>& toFile) {
    const auto [a, b] = EndsOf(set, segment);
    kxdrawing::Line line;
    line.ends = {InFile(a, toFile), InFile(b, toFile)};
    if (!IsInView(set, segment)) {
        return line;
    }
    const auto clip = segment < set.clipRanges.size()
                          ? set.clipRanges[segment]
                          : LineSegmentSet::ClipRange{0.0F, 1.0F, 1.0F, 1.0F};
    const auto at = [&a = a, &b = b](float t) { return Position((1.0F - t) * a + t * b); };
    line.onPage = PageLine{toPage(at(clip.t0)), toPage(at(clip.t1))};
    line.endsOnPage = {InFile(at(clip.t0), toFile), InFile(at(clip.t1), toFile)};
    line.depthRatio = toPage.depthOf(at(clip.t1)) / toPage.depthOf(at(clip.t0));
    if (segment < set.occlusionIntervals.size()) {
        line.hidden = Intervals(set.occlusionIntervals[segment]);
    }
    return line;
}

/// Calls visit(set, kind, object, whether it is hidden as a whole) for all sets of lines.
template <class Visit>
void ForEachSet(const ctr::FeaturesByMesh& lines, const PaperPlace& place, const Visit& visit) {
    const auto visitAny = [&](const LineSetPointer& set, auto... which) {
        if (set) {
            visit(*set, which...);
        }
    };
    for (std::size_t i = 0; i < lines.meshes.size(); ++i) {
        visitAny(lines.meshes[i].silhouetteEdges, LineKind::Silhouette, place.objects[i], false);
        visitAny(lines.meshes[i].creaseEdges, LineKind::Crease, place.objects[i], false);
    }
    visitAny(lines.intersectionEdges, LineKind::Intersection, kNoObject, false);
    visitAny(lines.hiddenIntersectionEdges, LineKind::Intersection, kNoObject, true);
}

} // namespace

PageLines MapToPaper(const ctr::FeaturesByMesh& lines, const PaperPlace& place, bool withHidden) {
    const PageMap toPage(place);
    PageLines onPage;
    const auto add = [&](const LineSegmentSet& set, LineKind kind, bool hidden, auto object) {
        std::vector<PageLine> pieces = VisiblePieces(set, toPage);
        if (!pieces.empty()) {
            onPage.groups.push_back({kind, hidden, object, std::move(pieces)});
        }
    };
    ForEachSet(lines, place, [&](const LineSegmentSet& set, auto kind, auto object, bool hidden) {
        if (!hidden || withHidden) {
            add(set, kind, hidden, object);
        }
        if (!hidden && withHidden && !set.occlusionIntervals.empty()) {
            add(*Inverted(set), kind, true, object);
        }
    });
    return onPage;
}

std::vector<kxdrawing::Line> LinesOf(const ctr::FeaturesByMesh& lines, const PaperPlace& place) {
    const PageMap toPage(place);
    std::vector<kxdrawing::Line> all;
    ForEachSet(lines, place, [&](const LineSegmentSet& set, auto kind, auto object, bool hidden) {
        for (std::size_t i = 0; i < SegmentCount(set); ++i) {
            all.push_back(LineOf(set, i, toPage, place.worldToFile));
            all.back().kind = kind;
            all.back().object = object;
            if (hidden && all.back().onPage) {
                all.back().hidden = {{{0, 1}, {1, 1}}};
            }
        }
    });
    return all;
}

} // namespace kxcontour
