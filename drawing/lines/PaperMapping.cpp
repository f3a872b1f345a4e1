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
using Fraction = Wm4::Vector2<std::int64_t>;
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

const RationalInterval& Whole() {
    static const RationalInterval whole{Fraction(0, 1), Fraction(1, 1)};
    return whole;
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
        ranges = IsInView(set, i) ? ctr::IntervalTools::Complement(ranges) : std::vector{Whole()};
    }
    return inverted;
}

/// Gathers the groups of a picture.
class Gathering {
public:
    Gathering(const PaperPlace& place, bool withHidden) : toPage_(place), withHidden_(withHidden) {}

    void add(const LineSetPointer& set, LineKind kind, std::size_t object) {
        if (!set) {
            return;
        }
        addGroup(VisiblePieces(*set, toPage_), {kind, false, object, {}});
        if (withHidden_ && !set->occlusionIntervals.empty()) {
            addGroup(VisiblePieces(*Inverted(*set), toPage_), {kind, true, object, {}});
        }
    }

    void addHidden(const LineSetPointer& set, LineKind kind, std::size_t object) {
        if (set && withHidden_) {
            addGroup(VisiblePieces(*set, toPage_), {kind, true, object, {}});
        }
    }

    PageLines take() { return std::move(lines_); }

private:
    void addGroup(std::vector<PageLine> pieces, LineGroup group) {
        if (!pieces.empty()) {
            group.lines = std::move(pieces);
            lines_.groups.push_back(std::move(group));
        }
    }

    PageMap toPage_;
    bool withHidden_;
    PageLines lines_;
};

std::vector<kxdrawing::Interval> Intervals(const std::vector<RationalInterval>& ranges) {
    std::vector<kxdrawing::Interval> intervals;
    intervals.reserve(ranges.size());
    for (const RationalInterval& range : ranges) {
        intervals.push_back({{range.start[0], range.start[1]}, {range.end[0], range.end[1]}});
    }
    return intervals;
}

/// Makes records of the segments of sets.
class Recording {
public:
    explicit Recording(const PaperPlace& place) : toPage_(place), toFile_(place.worldToFile) {}

    void add(const LineSetPointer& set, LineKind kind, std::size_t object, bool hidden) {
        for (std::size_t i = 0; set && i < SegmentCount(*set); ++i) {
            records_.push_back(record(*set, i, hidden));
            records_.back().kind = kind;
            records_.back().object = object;
        }
    }

    std::vector<kxdrawing::Line> take() { return std::move(records_); }

private:
    kxdrawing::Line record(const LineSegmentSet& set, std::size_t segment, bool hidden) const {
        const auto [a, b] = EndsOf(set, segment);
        kxdrawing::Line record;
        record.ends = {inFile(a), inFile(b)};
        if (!IsInView(set, segment)) {
            return record;
        }
        const auto clip = segment < set.clipRanges.size()
                              ? set.clipRanges[segment]
                              : LineSegmentSet::ClipRange{0.0F, 1.0F, 1.0F, 1.0F};
        const auto at = [&a = a, &b = b](float t) { return Position((1.0F - t) * a + t * b); };
        record.onPage = PageLine{toPage_(at(clip.t0)), toPage_(at(clip.t1))};
        record.endsOnPage = {inFile(at(clip.t0)), inFile(at(clip.t1))};
        record.depthRatio = toPage_.depthOf(at(clip.t1)) / toPage_.depthOf(at(clip.t0));
        if (hidden) {
            record.hidden.push_back({{0, 1}, {1, 1}});
        } else if (segment < set.occlusionIntervals.size()) {
            record.hidden = Intervals(set.occlusionIntervals[segment]);
        }
        return record;
    }

    std::array<double, 3> inFile(const Position& p) const {
        std::array<double, 3> point{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto column = static_cast<int>(axis);
            point[axis] = toFile_[3][column];
            for (int i = 0; i < 3; ++i) {
                point[axis] += static_cast<double>(p[i]) * toFile_[i][column];
            }
        }
        return point;
    }

    PageMap toPage_;
    Wm4::Matrix4<double> toFile_;
    std::vector<kxdrawing::Line> records_;
};

} // namespace

PageLines MapToPaper(const ctr::FeaturesByMesh& lines, const PaperPlace& place, bool withHidden) {
    Gathering gathering(place, withHidden);
    for (std::size_t i = 0; i < lines.meshes.size(); ++i) {
        gathering.add(lines.meshes[i].silhouetteEdges, LineKind::Silhouette, place.objects[i]);
        gathering.add(lines.meshes[i].creaseEdges, LineKind::Crease, place.objects[i]);
    }
    gathering.add(lines.intersectionEdges, LineKind::Intersection, kNoObject);
    gathering.addHidden(lines.hiddenIntersectionEdges, LineKind::Intersection, kNoObject);
    return gathering.take();
}

std::vector<kxdrawing::Line> LinesOf(const ctr::FeaturesByMesh& lines, const PaperPlace& place) {
    Recording recording(place);
    for (std::size_t i = 0; i < lines.meshes.size(); ++i) {
        recording.add(lines.meshes[i].silhouetteEdges, LineKind::Silhouette, place.objects[i],
                      false);
        recording.add(lines.meshes[i].creaseEdges, LineKind::Crease, place.objects[i], false);
    }
    recording.add(lines.intersectionEdges, LineKind::Intersection, kNoObject, false);
    recording.add(lines.hiddenIntersectionEdges, LineKind::Intersection, kNoObject, true);
    return recording.take();
}

} // namespace kxcontour
