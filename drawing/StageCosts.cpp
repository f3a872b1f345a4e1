// Costs are fitted to --timing of models of 5,000 to 1.3 million triangles in seven formats, on one
// processor of 2022 that did nothing else. Models differ by factors of three and more: the bar
// needs no better, as it divides anew what is left whenever a stage begins.
#include "drawing/StageCosts.h"

#include <algorithm>
#include <cmath>

namespace kxcontour {
namespace {

constexpr double kBakingPerTriangle = 250.0;
/// Lines are found among all triangles; how many there are grows like the square root.
constexpr double kFeaturesPerTriangle = 50.0;
constexpr double kFeaturesPerRoot = 5e5;
/// Of the cost of finding lines: less than a twentieth for most models, nearly as much where many
/// parts cut each other.
constexpr double kExportPerFeatures = 0.28;
/// Of one file.
constexpr double kExportPerFile = 4e6;

void AddDrawing(double triangles, std::size_t views, std::vector<PlannedStage>& plan) {
    const double features =
        triangles * kFeaturesPerTriangle + std::sqrt(triangles) * kFeaturesPerRoot;
    for (std::size_t view = 0; view < views; ++view) {
        plan.push_back({"bake", triangles * kBakingPerTriangle});
        plan.push_back({"features", features});
    }
    plan.push_back(
        {"export", kExportPerFile + static_cast<double>(views) * features * kExportPerFeatures});
}

} // namespace

std::vector<PlannedStage> PlanOfDrawing(double triangles, std::size_t views) {
    std::vector<PlannedStage> plan;
    AddDrawing(triangles, std::max<std::size_t>(views, 1), plan);
    return plan;
}

} // namespace kxcontour
