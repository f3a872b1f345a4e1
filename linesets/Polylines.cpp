// Turns unordered segments into polylines, so that each can be drawn as one stroke, in three steps:
// polyline chaining (Chains), detection of straight runs and arcs (RunFitting), and joining of runs
// that continue each other (RunJoining). O(n log n) for n segments. Vertices do not move; only fits
// have tolerances (fitting/Tolerances.h).
#include <ctr/LineSegmentSet.h>

#include "linesets/Chains.h"
#include "linesets/IndexRange.h"
#include "linesets/RunFitting.h"
#include "linesets/RunJoining.h"
#include "linesets/SetConstruction.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <memory>

namespace ctr {
namespace {

kx::kxPointer<kx::kxIndexBuffer> WriteLinks(const std::vector<ChainLink>& links) {
    kx::kxPointer<kx::kxIndexBuffer> lines = MakeLineBuffer(links.size());
    unsigned int* index = lines->GetData();
    for (const ChainLink& link : links) {
        *index++ = link.from;
        *index++ = link.to;
    }
    return lines;
}

/// Permutes the tags, one per segment (0 if missing), into the order of the links.
void ReorderTags(std::vector<unsigned char>& tags, const std::vector<ChainLink>& links) {
    constexpr unsigned char kTagMask = 3;
    std::vector<unsigned char> reordered(links.size());
    std::transform(links.begin(), links.end(), reordered.begin(), [&](const ChainLink& link) {
        return link.segment < tags.size()
                   ? static_cast<unsigned char>(tags[link.segment] & kTagMask)
                   : static_cast<unsigned char>(0);
    });
    tags = std::move(reordered);
}

/// The input flags in the order of the links; none are set if none are given.
std::vector<bool> OrderedFlags(const std::vector<bool>* flags,
                               const std::vector<ChainLink>& links) {
    std::vector<bool> ordered(links.size(), false);
    if (flags != nullptr) {
        for (std::size_t i = 0; i < links.size(); ++i) {
            ordered[i] = links[i].segment < flags->size() && (*flags)[links[i].segment];
        }
    }
    return ordered;
}

/// One record per chain, with capacity for one per segment: records never move, so pointers between
/// them stay valid.
std::vector<LineSegmentSet::ArcFeature> ChainRecords(const std::vector<std::size_t>& chainEnds,
                                                     std::size_t segmentCount) {
    std::vector<LineSegmentSet::ArcFeature> records;
    records.reserve(segmentCount);
    std::uint32_t first = 0;
    for (const std::size_t chainEnd : chainEnds) {
        const auto end = static_cast<std::uint32_t>(2 * chainEnd);
        records.push_back({first, end, nullptr, nullptr, 0});
        first = end;
    }
    return records;
}

/// Sets the flags of exactly the segments of straight runs.
void FlagStraightRuns(std::vector<bool>& straightLineFlags,
                      const std::vector<LineSegmentSet::ArcFeature>& records) {
    for (const LineSegmentSet::ArcFeature& record : records) {
        std::fill(straightLineFlags.begin() + record.first / 2,
                  straightLineFlags.begin() + record.end / 2, (record.kind & kStraightKind) != 0);
    }
}

} // namespace

bool LineSegmentSet::BuildPolylinesImpl(const kx::kxVertexBuffer& vertices,
                                        const kx::kxIndexBuffer& lines,
                                        const std::vector<bool>* flags,
                                        std::vector<unsigned char>* tags,
                                        kx::kxPointer<kx::kxIndexBuffer>& polylines,
                                        std::vector<ArcFeature>& arcs,
                                        std::vector<bool>& straightLineFlags) {
    const std::size_t count = SegmentCount(&lines);
    const unsigned int* indices = lines.GetData();
    if (count == 0 || !SegmentsExist(&lines, &vertices)) {
        return false;
    }
    std::vector<std::size_t> chainEnds;
    const std::vector<ChainLink> links =
        BuildChains(PositionCount(&vertices), indices, count, chainEnds);
    straightLineFlags = OrderedFlags(flags, links);
    if (tags != nullptr) {
        ReorderTags(*tags, links);
    }
    polylines = WriteLinks(links);
    arcs = ChainRecords(chainEnds, count);
    FitRuns(vertices, polylines->GetData(), straightLineFlags, arcs);
    JoinRuns(vertices, polylines->GetData(), straightLineFlags, tags, arcs);
    FlagStraightRuns(straightLineFlags, arcs);
    return true;
}

LineSegmentSet* LineSegmentSet::BuildPolylines(const LineSegmentSet& source,
                                               std::vector<ArcFeature>& arcs,
                                               bool compactVertices) {
    if (source.GetVertexBuffer() == nullptr || source.GetIndexBuffer() == nullptr) {
        return nullptr;
    }
    kx::kxPointer<kx::kxIndexBuffer> lines;
    std::vector<bool> straightLineFlags;
    if (!BuildPolylinesImpl(*source.GetVertexBuffer(), *source.GetIndexBuffer(),
                            &source.segmentFlags, nullptr, lines, arcs, straightLineFlags)) {
        return nullptr;
    }
    kx::kxPointer<kx::kxVertexBuffer> vertices = source.GetVertexBuffer();
    if (compactVertices) {
        CreateFilteredVertexBufferPatched(*source.GetVertexBuffer(), *lines, vertices);
    }
    auto set = std::make_unique<LineSegmentSet>();
    set->SetVertexBuffer(vertices.get());
    set->SetIndexBuffer(lines.get());
    set->segmentFlags = std::move(straightLineFlags);
    CopyAppearance(*set, source);
    UpdateModelSpace(*set, true);
    return set.release();
}

void LineSegmentSet::ArcFeature::removeStraightLineFlags(
    std::vector<bool>& straightLineFlags) const {
    for (const ArcFeature* record = this; record != nullptr; record = record->next) {
        assert(record->first <= record->end && record->end / 2 <= straightLineFlags.size());
        std::fill(straightLineFlags.begin() + record->first / 2,
                  straightLineFlags.begin() + record->end / 2, false);
    }
}

void LineSegmentSet::ArcFeature::reverseIndexBuffer(unsigned int* indices,
                                                    std::vector<bool>* straightLineFlags,
                                                    std::vector<unsigned char>* tags) const {
    for (const ArcFeature* record = this; record != nullptr; record = record->next) {
        assert(record->first <= record->end);
        assert(straightLineFlags == nullptr || record->end / 2 <= straightLineFlags->size());
        assert(tags == nullptr || record->end / 2 <= tags->size());
        const std::uint32_t firstSegment = record->first / 2;
        const std::uint32_t endSegment = record->end / 2;
        std::reverse(indices + record->first, indices + record->end);
        if (straightLineFlags != nullptr) {
            std::reverse(straightLineFlags->begin() + firstSegment,
                         straightLineFlags->begin() + endSegment);
        }
        if (tags != nullptr) {
            std::reverse(tags->begin() + firstSegment, tags->begin() + endSegment);
        }
    }
}

} // namespace ctr
