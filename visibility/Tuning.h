// All tuning numbers of visibility/: limits, ratios and sizes that choose how a result is computed.
// None of them changes what is drawn. OcclusionLimits may change which intervals within others are
// found, PairSearchLimits which edges that are not drawn.
//
// Scenes named here are those of bench/scenes; the worst scenes are listed by kxcontour_bench
// --worst. A value without a measurement or a scene is an order of magnitude: it separates cases
// whose costs differ by much more than a factor of two.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ctr {

struct Tuning {
    // Sorting of intervals (exact/IntervalTools.cpp).

    /// From here on, intervals are sorted by buckets of rounded starts.
    static constexpr std::size_t kFewestBucketSorted = 32;
    /// Up to here: the keys take 32 kB of the stack.
    static constexpr std::size_t kMostBucketSorted = 2048;

    // The baked BVH (baking/BvhConstruction.cpp).

    /// The largest leaf. The builder makes leaves of about three triangles on closed meshes; larger
    /// ones only where no split pays.
    static constexpr unsigned int kTrianglesInLeaf = 10;
    /// Items of progress between two polls of the builder.
    static constexpr double kItemsPerBuilderPoll = 4096.0;

    // The packed BVH (bvh/).

    /// The largest number of triangles that are copied. With the nodes, copies take 62 bytes per
    /// triangle, up to 260 MB. Without copies, finding lines takes up to a fifth longer.
    static constexpr std::size_t kMostCopied = std::size_t{1} << 22;
    /// The BVH is packed when there is a segment for so many triangles; for fewer segments,
    /// traversing the baked BVH is cheaper than packing it.
    static constexpr std::size_t kTrianglesPerSegment = 256;
    /// The same for intersection edges.
    static constexpr std::size_t kTrianglesPerEdge = 64;
    /// Entries of the cache of gathered triangles: 400 kB, which fits in a second-level cache.
    static constexpr std::size_t kGatheredTriangles = 8192;
    /// Levels of a BVH whose traversal needs no memory from the heap. The builder makes at most 81.
    static constexpr unsigned int kInlineDepth = 96;

    // Early termination (occlusion/OccludedIntervals).

    /// Recent occluders of whole segments that are tested first.
    static constexpr std::size_t kRecentOccluders = 4;
    /// Whether the intervals cover the segment is tested at so many intervals, and then whenever
    /// there are so many times as many.
    static constexpr std::size_t kFirstCoverCheck = 16;
    static constexpr std::size_t kCoverCheckGrowth = 4;
    /// Points of a segment in a dense region whose nearest triangles are tested first, and how many
    /// more in the middle of the remaining part.
    static constexpr double kFrontParameters[3] = {0.5, 0.1, 0.9};
    static constexpr int kMostFrontAttempts = 6;

    // The coarse depth buffer (occlusion/CoarseDepthBuffer).

    /// Cells per axis: so many times the square root of the number of triangles, at most
    /// error_bounds::kMostCells. Few triangles would not pay for clearing many cells.
    static constexpr double kCellsPerRoot = 8.0;
    /// The largest number of cells to rasterise, kFreeCells and so many per triangle; the buffer
    /// becomes coarser for many large triangles over each other.
    static constexpr std::size_t kFreeCells = std::size_t{1} << 20;
    static constexpr std::size_t kCellsPerTriangle = 64;
    /// The buffer is not used if less than one of so many cells is filled.
    static constexpr std::ptrdiff_t kCellsPerFilledCell = 64;

    // Intersections (intersections/).

    /// For fewer triangles, all pairs are tested as quickly as triangles are looked up in the depth
    /// buffer.
    static constexpr std::size_t kFewestLookedUp = 4096;
    /// Entries of the cache of packets; a leaf is tested against one neighbour after another.
    static constexpr std::uint32_t kCachedPackets = 512;
    /// Fronts of dense regions are built for so many edges per triangle.
    static constexpr std::size_t kEdgesPerTriangleForFronts = 4;

    // Dense regions (dense/).

    /// A dense region has at least so many triangles, and on average so many layers of leaf boxes.
    static constexpr double kFewestInRegion = 64.0;
    static constexpr double kLayersOfRegion = 16.0;
    /// Cells of a region per axis, whose ends are multiples of 1/kSubsteps of a step.
    static constexpr double kMostRegionCells = 64.0;
    static constexpr std::int64_t kSubsteps = 4;
    /// The nearest triangles stored per cell: those that cover it, and those over its centre.
    static constexpr std::size_t kCoversPerCell = 8;
    static constexpr std::size_t kFrontsPerCell = 16;
    /// Blocks of cells per axis in sets of potentially visible pairs.
    static constexpr std::int64_t kBlocksPerAxis = 16;
    /// Samples for estimates: triangles, of potentially visible pairs; pairs, of overlapping boxes.
    static constexpr std::size_t kSampledTriangles = 1024;
    static constexpr int kSampledPairs = 1 << 16;
    static constexpr std::uint32_t kItemsInLeaf = 4;
    /// Splits of a DenseTree (DenseTree::bestKey): items are separated enough by a coordinate if
    /// their centres are spread by so many times their mean length; pseudo-angles that differ by
    /// more split better than distances of planes; normals count as intervals of this length.
    static constexpr double kEnoughSpread = 2.0;
    static constexpr double kAngleSpread = 1e-3;
    static constexpr double kHalfNormalExtent = 0.05;
    /// Added to the length of all items, which may be 0.
    static constexpr double kShortestItems = 1e-12;
    /// A vertex of more distinct triangles is a hub, as in the worst scenes needles, cone and
    /// pages; vertices of ordinary meshes are none.
    static constexpr std::uint32_t kHubDegree = 16;

    // Items of work for progress: per cell covered and per triangle of a front, and the words of a
    // bit vector that count as one.

    static constexpr std::size_t kWorkPerCell = 4;
    static constexpr std::size_t kWorkPerFrontTriangle = 16;
    static constexpr std::size_t kWordsPerWork = 64;
};

/// When the occlusion of segments leaves the BVH because too many triangles overlap for its boxes
/// to separate them. Intervals that lie within others may differ then; their union does not.
struct OcclusionLimits {
    /// The number of triangle tests: so many per triangle of the scene, per segment and per
    /// occluded interval found. The worst scenes needles, cone and sheets exceed it. Crossed planks
    /// do not: they take a thousand tests per segment, but occlude it in hundreds of intervals.
    std::size_t testsPerTriangle = 64;
    std::size_t testsPerSegment = 512;
    std::size_t testsPerInterval = 32;
    std::uint32_t hubDegree = Tuning::kHubDegree;
    std::size_t mostCopied = Tuning::kMostCopied;
};

/// When the search for intersecting pairs leaves the BVH.
struct PairSearchLimits {
    /// The number of tests of a packet against a node or a triangle: so many per triangle of the
    /// scene, and per edge found. The worst scenes coincident, needles, cone, pages and sheets
    /// exceed it.
    std::size_t visitsPerTriangle = 512;
    std::size_t visitsPerEdge = 64;
    std::uint32_t hubDegree = Tuning::kHubDegree;
    /// The number of edges per triangle from which nearly equal triangles are searched for. Within
    /// a contact tolerance, none of their edges is drawn (the worst scene nearly).
    std::size_t edgesPerTriangle = 64;
    /// The number of edges per triangle above which hidden ones are omitted, where that is allowed
    /// (the worst scenes soup, grains and heap).
    std::size_t hiddenPerTriangle = 4;
    /// Unless there are more potentially visible pairs than so many times the pairs of overlapping
    /// boxes: in sparse scenes the BVH separates most of them.
    double visiblePairsPerOverlap = 8.0;
};

} // namespace ctr
