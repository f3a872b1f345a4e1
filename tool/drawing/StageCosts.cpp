// Costs are fitted to --timing of models of 5,000 to 1.3 million triangles in seven formats, on one
// processor of 2022 that did nothing else. Models differ by factors of three and more: the bar
// needs no better, as it divides anew what is left whenever a stage begins.
#include "drawing/StageCosts.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace kxcontour {
namespace {

/// Starting the process that reads.
constexpr double kReadingPerModel = 2e6;
constexpr double kPreparingPerTriangle = 200.0;
constexpr double kBakingPerTriangle = 250.0;
/// Lines are found among all triangles; how many there are grows like the square root.
constexpr double kFeaturesPerTriangle = 50.0;
constexpr double kFeaturesPerRoot = 5e5;
/// Of the cost of finding lines: less than a twentieth for most models, nearly as much where many
/// parts cut each other.
constexpr double kExportPerFeatures = 0.28;
/// Of one file.
constexpr double kExportPerFile = 4e6;

struct FormatCost {
    std::string_view ending;
    double bytesPerTriangle;
    double perByte;
};

constexpr std::array<FormatCost, 6> kFormats{{{"obj", 37.0, 4.0},
                                              {"ply", 37.0, 5.0},
                                              {"stl", 50.0, 5.0},
                                              {"glb", 17.0, 6.0},
                                              {"ifc", 110.0, 40.0},
                                              {"", 100.0, 10.0}}};

FormatCost CostOf(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return *std::find_if(kFormats.begin(), kFormats.end() - 1, [&](const FormatCost& format) {
        return ending.size() == format.ending.size() + 1 && ending.ends_with(format.ending);
    });
}

/// Of standard input nothing is known.
double SizeOf(const std::string& path) {
    constexpr double kUnknown = 1e6;
    std::error_code error;
    const auto bytes = std::filesystem::file_size(path, error);
    return error ? kUnknown : static_cast<double>(bytes);
}

/// Returns how many triangles may be in the models.
double AddReading(const std::vector<std::string>& paths, std::vector<PlannedStage>& plan) {
    double all = 0.0;
    for (const std::string& path : paths) {
        const FormatCost format = CostOf(path);
        const double bytes = SizeOf(path);
        const double triangles = bytes / format.bytesPerTriangle;
        plan.push_back({"read", kReadingPerModel + bytes * format.perByte});
        plan.push_back({"prepare", triangles * kPreparingPerTriangle});
        all += triangles;
    }
    return all;
}

void AddDrawing(double triangles, const DrawingOptions& options, std::vector<PlannedStage>& plan) {
    const double features =
        triangles * kFeaturesPerTriangle + std::sqrt(triangles) * kFeaturesPerRoot;
    const std::size_t views = std::max<std::size_t>(options.page.views.size(), 1);
    for (std::size_t view = 0; view < views; ++view) {
        plan.push_back({"bake", triangles * kBakingPerTriangle});
        plan.push_back({"features", features});
    }
    plan.push_back(
        {"export", kExportPerFile + static_cast<double>(views) * features * kExportPerFeatures});
}

} // namespace

std::vector<PlannedStage> PlanOfRun(const DrawingOptions& options) {
    std::vector<PlannedStage> plan;
    const double drawn = AddReading(options.input.models, plan);
    const double hiding = AddReading(options.input.occluders, plan);
    AddDrawing(drawn + hiding, options, plan);
    return plan;
}

std::vector<PlannedStage> PlanOfDrawing(std::size_t triangles, const DrawingOptions& options) {
    std::vector<PlannedStage> plan;
    AddDrawing(static_cast<double>(triangles), options, plan);
    return plan;
}

} // namespace kxcontour
