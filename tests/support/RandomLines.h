// Random intervals, surfaces and line sets, small and with many equal ends.
#pragma once

#include <ctr/IntervalTools.h>

#include "linesets/SegmentBuilders.h"
#include "support/Random.h"

#include <vector>

namespace test_support {

/// A range between 0 and 1 out of few values in many forms, so that equal ends are the rule.
ctr::RationalInterval RandomRange(Random& random);

/// 1 to 8 ranges: such ones, or some whose ends no 64-bit product can distinguish.
std::vector<ctr::RationalInterval> RandomRanges(Random& random);

void Shuffle(Random& random, std::vector<ctr::RationalInterval>& ranges);

/// A triangle list over vertices with or without normals.
struct Surface {
    VerticesPointer vertices;
    IndicesPointer triangles;
};

/// 1 to 30 triangles and an incomplete one on up to 24 vertices, many of them at equal places,
/// zeros of either sign among their coordinates; now and then without normals.
Surface RandomSurface(Random& random);

/// A unit vector in the plane x = 0 at an angle from the z axis.
Vec3 TiltedNormal(float degrees);

/// Up to `largest` segments between few corners of a cube, zeros of either sign.
SetPointer RandomCornerSet(Random& random, int largest);

} // namespace test_support
