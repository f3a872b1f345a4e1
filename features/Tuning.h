// All tuning numbers of features/: limits that keep the cost of unusual surfaces low, and estimates
// for progress. Tolerances, which define results, are in Tolerances.h.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ctr {

struct SurfaceTuning {
    // Surface repair.

    /// The limit of rounds. Cracks that a round opens or cannot close are left to the next one.
    /// This exceeds the number of rounds that changed anything in any model seen.
    static constexpr int kMostRounds = 32;
    /// The limit of splits per corner. A surface of pieces that meet in T-junctions needs fewer;
    /// many edges on top of each other could produce a quadratic number.
    static constexpr std::size_t kSplitsPerCorner = 2;
    /// A query of EdgePairs reads at most so many edges of a bucket, so that edges repeated
    /// thousands of times take linear time.
    static constexpr std::uint32_t kMostPerBucket = 64;
    /// The cells of the spatial hash in EdgePairs are so many times as long as the gaps allowed: at
    /// least, so that a query visits at most eight of them, and at most, so that most queries visit
    /// one.
    static constexpr double kLeastCellOfGap = 2.0;
    static constexpr double kMostCellOfGap = 16.0;
    static constexpr std::uint32_t kPointsPerLeaf = 8;
    /// The limit of points that TJunctions visits: per boundary edge on average, and a number for
    /// small models.
    static constexpr std::size_t kVisitsPerEdge = 64;
    static constexpr std::size_t kFreeVisits = 65536;
};

/// Costs of the phases of GeometricFeaturesGenerator, in nanoseconds on one processor of 2022. They
/// only estimate progress, as models differ by factors of three and more.
struct ProgressCosts {
    static constexpr double kExtractionPerTriangle = 60.0;
    static constexpr double kOcclusionPerSegment = 2500.0;
    static constexpr double kPairsPerTriangle = 1000.0;
    static constexpr double kPiecesPerEdge = 4000.0;
    static constexpr double kEdgesPerTriangle = 0.2;
    static constexpr double kSegmentsPerTriangle = 0.1;
    /// Items counted per triangle while edges are found.
    static constexpr double kCountsPerTriangle = 4.0;
    /// The number of intersection edges is estimated again after so many triangles.
    static constexpr std::size_t kTrianglesPerEstimate = 1024;
};

} // namespace ctr
