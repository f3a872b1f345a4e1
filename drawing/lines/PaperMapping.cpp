// Pieces come from the library, which knows how ranges on the screen lie in space; the way from
// there to the sheet is the exporter's, in doubles.
#include "drawing/lines/PaperMapping.h"

#include <ctr/ExportParameters.h>
#include <ctr/RationalTools.h>

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
        const double p[3] = {static_cast<double>(world[0]), static_cast<double>(world[1]),
                             static_cast<double>(world[2])};
        const Wm4::Matrix4<float>& m = parameters_.worldToClip;
        const auto along = [&](int column) {
            return p[0] * static_cast<double>(m[0][column]) +
                   p[1] * static_cast<double>(m[1][column]) +
                   p[2] * static_cast<double>(m[2][column]) + static_cast<double>(m[3][column]);
        };
        const double w = along(3);
        return onSheet(along(0) / w, along(1) / w);
    }

private:
    Point onSheet(double x, double y) const {
        const auto transform = [&](int i) {
            return static_cast<double>(parameters_.pageTransform[static_cast<std::size_t>(i)]);
        };
        const auto offset = [&](int i) { return static_cast<double>(parameters_.pageOffset[i]); };
        const double height = static_cast<double>(parameters_.pageSizeInMM[1]);
        return {transform(0) * x + transform(1) * y + offset(0),
                height - (transform(2) * x + transform(3) * y + offset(1))};
    }

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

std::vector<PaperLine> VisiblePieces(const LineSegmentSet& set, const PageMap& toPage) {
    std::vector<PaperLine> lines;
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

/// What the ranges leave of 0 to 1.
std::vector<RationalInterval> Complement(const std::vector<RationalInterval>& ranges) {
    std::vector<RationalInterval> gaps;
    Fraction from(0, 1);
    for (const RationalInterval& range : ranges) {
        if (ctr::RationalTools::GreaterThan(range.start, from) > 0) {
            gaps.push_back({from, range.start});
        }
        from = range.end;
    }
    if (ctr::RationalTools::GreaterThan(Fraction(1, 1), from) > 0) {
        gaps.push_back({from, Fraction(1, 1)});
    }
    return gaps;
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
        ranges = IsInView(set, i) ? Complement(ranges) : std::vector{Whole()};
    }
    return inverted;
}

/// Gathers the groups of a picture.
class Gathering {
public:
    Gathering(const PaperPlace& place, bool withHidden) : toPage_(place), withHidden_(withHidden) {}

    void add(const LineSetPointer& set, Family family, std::size_t object) {
        if (!set) {
            return;
        }
        addGroup(VisiblePieces(*set, toPage_), {family, false, object, {}});
        if (withHidden_ && !set->occlusionIntervals.empty()) {
            addGroup(VisiblePieces(*Inverted(*set), toPage_), {family, true, object, {}});
        }
    }

    void addHidden(const LineSetPointer& set, Family family, std::size_t object) {
        if (set && withHidden_) {
            addGroup(VisiblePieces(*set, toPage_), {family, true, object, {}});
        }
    }

    PaperLines take() { return std::move(lines_); }

private:
    void addGroup(std::vector<PaperLine> pieces, LineGroup group) {
        if (!pieces.empty()) {
            group.lines = std::move(pieces);
            lines_.groups.push_back(std::move(group));
        }
    }

    PageMap toPage_;
    bool withHidden_;
    PaperLines lines_;
};

/// Makes records of the segments of sets.
class Recording {
public:
    explicit Recording(const PaperPlace& place) : toPage_(place), toFile_(place.worldToFile) {}

    void add(const LineSetPointer& set, Family family, std::size_t object, bool hidden) {
        for (std::size_t i = 0; set && i < SegmentCount(*set); ++i) {
            records_.push_back(record(*set, i, hidden));
            records_.back().family = family;
            records_.back().object = object;
        }
    }

    std::vector<SegmentRecord> take() { return std::move(records_); }

private:
    SegmentRecord record(const LineSegmentSet& set, std::size_t segment, bool hidden) const {
        const auto [a, b] = EndsOf(set, segment);
        SegmentRecord record;
        record.ends = {inFile(a), inFile(b)};
        if (!IsInView(set, segment)) {
            return record;
        }
        const auto clip = segment < set.clipRanges.size()
                              ? set.clipRanges[segment]
                              : LineSegmentSet::ClipRange{0.0F, 1.0F, 1.0F, 1.0F};
        const auto at = [&a = a, &b = b](float t) { return Position((1.0F - t) * a + t * b); };
        record.onPaper = PaperLine{toPage_(at(clip.t0)), toPage_(at(clip.t1))};
        if (hidden) {
            record.hidden.push_back(Whole());
        } else if (segment < set.occlusionIntervals.size()) {
            record.hidden = set.occlusionIntervals[segment];
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
    std::vector<SegmentRecord> records_;
};

} // namespace

PaperLines MapToPaper(const ctr::FeaturesByMesh& lines, const PaperPlace& place, bool withHidden) {
    Gathering gathering(place, withHidden);
    for (std::size_t i = 0; i < lines.meshes.size(); ++i) {
        gathering.add(lines.meshes[i].silhouetteEdges, Family::Silhouette, place.objects[i]);
        gathering.add(lines.meshes[i].creaseEdges, Family::Crease, place.objects[i]);
    }
    gathering.add(lines.intersectionEdges, Family::Intersection, kSharedObject);
    gathering.addHidden(lines.hiddenIntersectionEdges, Family::Intersection, kSharedObject);
    return gathering.take();
}

std::vector<SegmentRecord> RecordsOf(const ctr::FeaturesByMesh& lines, const PaperPlace& place) {
    Recording recording(place);
    for (std::size_t i = 0; i < lines.meshes.size(); ++i) {
        recording.add(lines.meshes[i].silhouetteEdges, Family::Silhouette, place.objects[i], false);
        recording.add(lines.meshes[i].creaseEdges, Family::Crease, place.objects[i], false);
    }
    recording.add(lines.intersectionEdges, Family::Intersection, kSharedObject, false);
    recording.add(lines.hiddenIntersectionEdges, Family::Intersection, kSharedObject, true);
    return recording.take();
}

} // namespace kxcontour
