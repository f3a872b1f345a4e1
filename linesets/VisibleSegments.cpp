// The visible pieces of a set as geometry: the complement of the occluded intervals, mapped from
// screen parameters back to space. Linear in the number of segments and intervals.
//
// A point at parameter s between two projected ends with clip-space weights wa and wb lies at t =
// wa s / ((wa - wb) s + wb) between them in space (perspective-correct interpolation; J. Blinn,
// Hyperbolic interpolation, IEEE CG&A 12(4), 1992). Complements are exact; points are rounded in
// single precision, in a fixed order, and unclipped ends keep their vertex.
#include <ctr/IntervalTools.h>
#include <ctr/LineSegmentSet.h>

#include "linesets/IndexRange.h"
#include "linesets/SetConstruction.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace ctr {
namespace {

using Point = Wm4::Vector3<float>;

/// One end of a visible piece: an unclipped end of its segment (source), or a new point.
struct PieceEnd {
    Point point;
    unsigned int source = kNoVertex;
};

Point Interpolate(const Point& p, const Point& q, float t) {
    Point result;
    for (int i = 0; i < 3; ++i) {
        result[i] = (1.0F - t) * p[i] + t * q[i];
    }
    return result;
}

/// The part of a source segment that is inside the view.
class ClippedSegment {
public:
    ClippedSegment(const LineSegmentSet& set, std::size_t segment) {
        const unsigned int* indices = set.GetIndexBuffer()->GetData() + 2 * segment;
        const kx::kxVertexBuffer& vertices = *set.GetVertexBuffer();
        const Point& a = vertices.Position3(static_cast<int>(indices[0]));
        const Point& b = vertices.Position3(static_cast<int>(indices[1]));
        LineSegmentSet::ClipRange clip{0.0F, 1.0F, 1.0F, 1.0F};
        if (segment < set.clipRanges.size()) {
            clip = set.clipRanges[segment];
        }
        w0_ = clip.w0;
        w1_ = clip.w1;
        first.point = Interpolate(a, b, clip.t0);
        last.point = Interpolate(a, b, clip.t1);
        if (clip.t0 == 0.0F) {
            first.source = indices[0];
        }
        if (clip.t1 == 1.0F) {
            last.source = indices[1];
        }
    }

    /// The point at which an occluded interval begins or ends.
    PieceEnd at(const Wm4::Vector2<std::int64_t>& parameter) const {
        const float s = static_cast<float>(parameter[0]) / static_cast<float>(parameter[1]);
        const float t = (w0_ * s) / ((w0_ - w1_) * s + w1_);
        return {Interpolate(first.point, last.point, t), kNoVertex};
    }

    PieceEnd first;
    PieceEnd last;

private:
    float w0_;
    float w1_;
};

/// Appends the ends of the visible pieces of one segment, two per piece.
void AppendPieces(std::vector<PieceEnd>& ends,
                  const ClippedSegment& segment,
                  const std::vector<RationalInterval>& occluded) {
    if (occluded.empty()) {
        ends.insert(ends.end(), {segment.first, segment.last});
        return;
    }
    const std::size_t begin = ends.size();
    for (const RationalInterval& gap : IntervalTools::Complement(occluded)) {
        ends.insert(ends.end(), {segment.at(gap.start), segment.at(gap.end)});
    }
    // Where a gap reaches an end of the segment, the piece keeps that end as it is.
    if (occluded.front().start[0] != 0) {
        ends[begin] = segment.first;
    }
    const Wm4::Vector2<std::int64_t>& lastOccluded = occluded.back().end;
    if (lastOccluded[0] < lastOccluded[1]) {
        ends.back() = segment.last;
    }
}

/// New indices of the source vertices that pieces reuse, consecutive in source order.
std::vector<unsigned int> NumberReusedVertices(const std::vector<PieceEnd>& ends,
                                               std::size_t sourceVertexCount,
                                               unsigned int& count) {
    std::vector<unsigned int> numbers(sourceVertexCount, kNoVertex);
    for (const PieceEnd& end : ends) {
        if (end.source != kNoVertex) {
            numbers[end.source] = 0;
        }
    }
    count = 0;
    for (unsigned int& number : numbers) {
        if (number != kNoVertex) {
            number = count++;
        }
    }
    return numbers;
}

/// Sets vertices and lines: reused source vertices first, then the new ones.
void SetPieces(LineSegmentSet& set,
               const std::vector<PieceEnd>& ends,
               const kx::kxVertexBuffer& source) {
    const auto sourceCount = static_cast<std::size_t>(source.GetVertexQuantity());
    unsigned int next = 0;
    const std::vector<unsigned int> numbers = NumberReusedVertices(ends, sourceCount, next);
    const auto newCount = static_cast<std::size_t>(std::count_if(
        ends.begin(), ends.end(), [](const PieceEnd& end) { return end.source == kNoVertex; }));
    const kx::kxPointer<kx::kxVertexBuffer> vertices = MakePositionBuffer(next + newCount);
    const kx::kxPointer<kx::kxIndexBuffer> lines = MakeLineBuffer(ends.size() / 2);
    for (std::size_t i = 0; i < sourceCount; ++i) {
        if (numbers[i] != kNoVertex) {
            vertices->Position3(static_cast<int>(numbers[i])) =
                source.Position3(static_cast<int>(i));
        }
    }
    unsigned int* index = lines->GetData();
    for (const PieceEnd& end : ends) {
        if (end.source == kNoVertex) {
            vertices->Position3(static_cast<int>(next)) = end.point;
            *index++ = next++;
        } else {
            *index++ = numbers[end.source];
        }
    }
    set.SetVertexBuffer(vertices.get());
    set.SetIndexBuffer(lines.get());
}

} // namespace

LineSegmentSet* LineSegmentSet::BakeVisibleSegments(const LineSegmentSet* source) {
    if (source == nullptr || source->GetVertexBuffer() == nullptr ||
        source->GetIndexBuffer() == nullptr) {
        return nullptr;
    }
    const std::size_t count =
        std::min(SegmentCount(source->GetIndexBuffer()), source->occlusionIntervals.size());
    auto set = std::make_unique<LineSegmentSet>();
    if (count == 0) {
        set->SetVertexBuffer(source->GetVertexBuffer());
        set->SetIndexBuffer(source->GetIndexBuffer());
    } else {
        const unsigned int* indices = source->GetIndexBuffer()->GetData();
        const unsigned int positions = PositionCount(source->GetVertexBuffer());
        std::vector<PieceEnd> ends;
        for (std::size_t segment = 0; segment < count; ++segment) {
            if (SegmentExists(indices + 2 * segment, positions)) {
                AppendPieces(ends, ClippedSegment(*source, segment),
                             source->occlusionIntervals[segment]);
            }
        }
        if (ends.empty()) {
            return nullptr;
        }
        SetPieces(*set, ends, *source->GetVertexBuffer());
    }
    CopyAppearance(*set, *source);
    UpdateModelSpace(*set, true);
    return set.release();
}

} // namespace ctr
