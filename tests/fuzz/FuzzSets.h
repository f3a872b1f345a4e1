// Line sets from an input, and their visible pieces read a second time, straight from the
// definition: the complement of the hidden ranges, mapped back to space with perspective.
#pragma once

#include <ctr/LineSegmentSet.h>

#include "fuzz/FuzzBytes.h"
#include "linesets/SegmentBuilders.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace fuzz {

using test_support::SetPointer;
using test_support::Vec3;

/// What a set is made of. A single index may be left over.
struct SetRecipe {
    std::vector<Vec3> positions;
    std::vector<unsigned int> indices;

    std::size_t segmentCount() const { return indices.size() / 2; }
};

/// 1 to 24 vertices and up to 40 segments between them.
inline SetRecipe TakeRecipe(FuzzBytes& bytes) {
    SetRecipe recipe;
    const unsigned int vertexCount = 1 + bytes.below(24);
    for (unsigned int i = 0; i < vertexCount; ++i) {
        recipe.positions.push_back(bytes.point());
    }
    const unsigned int indexCount = bytes.below(82);
    for (unsigned int i = 0; i < indexCount; ++i) {
        recipe.indices.push_back(bytes.below(vertexCount));
    }
    return recipe;
}

/// Up to four disjoint ranges in order: fractions over one denominator, some of them far from
/// reduced.
inline std::vector<ctr::RationalInterval> TakeRanges(FuzzBytes& bytes) {
    std::vector<ctr::RationalInterval> ranges;
    const long denominator = 1 + static_cast<long>(bytes.below(64));
    const long end = bytes.rarely() ? 1L << 40U : 1L;
    long at = 0;
    for (unsigned int count = bytes.below(5); count > 0; --count) {
        const long start = at + static_cast<long>(bytes.below(16));
        const long stop = start + static_cast<long>(bytes.below(16));
        if (stop > denominator) {
            break;
        }
        ranges.push_back(test_support::Range(start, denominator, stop * end, denominator * end));
        at = stop + 1;
    }
    return ranges;
}

inline ctr::LineSegmentSet::ClipRange TakeClipRange(FuzzBytes& bytes) {
    const auto end = [&](float usual) { return bytes.flag() ? bytes.number() / 8.0F : usual; };
    const float t0 = end(0.0F);
    const float t1 = end(1.0F);
    const float w0 = end(1.0F);
    const float w1 = end(1.0F);
    return {t0, t1, w0, w1};
}

inline test_support::Transformation TakeTransformation(FuzzBytes& bytes) {
    test_support::Transformation transformation;
    if (bytes.flag()) {
        Wm4::Matrix4<float> matrix(false);
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 3; ++column) {
                matrix[row][column] = bytes.flag() ? bytes.number() : matrix[row][column];
            }
        }
        transformation.SetMatrix(matrix);
    }
    return transformation;
}

/// Fills in what hides a set: for none, some, all or more segments than there are.
inline void TakeRecords(FuzzBytes& bytes, ctr::LineSegmentSet& set, std::size_t segmentCount) {
    const std::size_t hidden = bytes.flag() ? segmentCount : bytes.below(48);
    for (std::size_t i = 0; i < hidden; ++i) {
        set.occlusionIntervals.push_back(TakeRanges(bytes));
    }
    const std::size_t clipped = bytes.flag() ? segmentCount : bytes.below(48);
    for (std::size_t i = 0; i < clipped; ++i) {
        set.clipRanges.push_back(TakeClipRange(bytes));
    }
}

inline SetPointer TakeSet(FuzzBytes& bytes) {
    const SetRecipe recipe = TakeRecipe(bytes);
    SetPointer set = test_support::MakeSet(recipe.positions, recipe.indices);
    TakeRecords(bytes, *set, recipe.segmentCount());
    const test_support::Transformation transformation = TakeTransformation(bytes);
    set->SetLocalTransformation(transformation);
    set->SetWorldTransformation(transformation);
    return set;
}

/// @name Floats as keys, in which any NaN is one value and -0 is 0
/// @{
using PointKey = std::array<std::uint32_t, 3>;

inline std::uint32_t KeyOf(float value) {
    if (value != value) {
        return 0x7FC00000U;
    }
    return test_support::Bits(value == 0.0F ? 0.0F : value);
}

inline PointKey KeyOf(const Vec3& point) {
    return {KeyOf(point[0]), KeyOf(point[1]), KeyOf(point[2])};
}
/// @}

using Piece = std::pair<Vec3, Vec3>;

inline Vec3 Between(const Vec3& a, const Vec3& b, float t) {
    const float s = 1.0F - t;
    return {s * a[0] + t * b[0], s * a[1] + t * b[1], s * a[2] + t * b[2]};
}

/// The visible pieces of one segment from a to b.
inline void AppendPieces(std::vector<Piece>& pieces,
                         const Piece& segment,
                         const ctr::LineSegmentSet::ClipRange& clip,
                         const std::vector<ctr::RationalInterval>& hidden) {
    const Vec3 first =
        clip.t0 == 0.0F ? segment.first : Between(segment.first, segment.second, clip.t0);
    const Vec3 last =
        clip.t1 == 1.0F ? segment.second : Between(segment.first, segment.second, clip.t1);
    const Vec3 q0 = Between(segment.first, segment.second, clip.t0);
    const Vec3 q1 = Between(segment.first, segment.second, clip.t1);
    const auto at = [&](const Wm4::Vector2<std::int64_t>& fraction) {
        const float s = static_cast<float>(fraction[0]) / static_cast<float>(fraction[1]);
        return Between(q0, q1, clip.w0 * s / ((clip.w0 - clip.w1) * s + clip.w1));
    };
    Vec3 from = first;
    bool open = true;
    for (const ctr::RationalInterval& range : hidden) {
        if (range.start[0] != 0) {
            pieces.emplace_back(from, at(range.start));
        }
        from = at(range.end);
        open = range.end[0] < range.end[1];
    }
    if (open) {
        pieces.emplace_back(from, last);
    }
}

/// The pieces of a set that has hidden ranges for one segment or more, in order; without any the
/// whole segments.
inline std::vector<Piece> VisiblePieces(const ctr::LineSegmentSet& set) {
    std::vector<Piece> segments = test_support::EndsOf(set);
    if (segments.empty() || set.occlusionIntervals.empty()) {
        return segments;
    }
    std::vector<Piece> pieces;
    for (std::size_t i = 0; i < std::min(segments.size(), set.occlusionIntervals.size()); ++i) {
        const ctr::LineSegmentSet::ClipRange whole{0.0F, 1.0F, 1.0F, 1.0F};
        AppendPieces(pieces, segments[i], i < set.clipRanges.size() ? set.clipRanges[i] : whole,
                     set.occlusionIntervals[i]);
    }
    return pieces;
}

} // namespace fuzz
