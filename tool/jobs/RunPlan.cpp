// Costs are fitted as those of the stages of a drawing are, on files of seven formats.
#include "tool/jobs/RunPlan.h"

#include "drawing/Drawing.h"
#include "tool/options/Values.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>

namespace kxcontour {
namespace {

/// Starting the process that reads.
constexpr double kReadingPerModel = 2e6;
constexpr double kPreparingPerTriangle = 200.0;

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
    return *std::ranges::find(kFormats.begin(), kFormats.end() - 1, EndingOf(path),
                              &FormatCost::ending);
}

/// Of standard input nothing is known.
double SizeOf(const std::string& path) {
    constexpr double kUnknown = 1e6;
    std::error_code error;
    const auto bytes = std::filesystem::file_size(path, error);
    return error ? kUnknown : static_cast<double>(bytes);
}

} // namespace

std::vector<PlannedStage> PlanOfRun(const DrawingOptions& options) {
    std::vector<PlannedStage> plan;
    double all = 0.0;
    for (const std::string& path : options.input.files()) {
        const FormatCost format = CostOf(path);
        const double bytes = SizeOf(path);
        const double triangles = bytes / format.bytesPerTriangle;
        plan.push_back({"read", kReadingPerModel + bytes * format.perByte});
        plan.push_back({"prepare", triangles * kPreparingPerTriangle});
        all += triangles;
    }
    std::ranges::move(PlanOfDrawing(all, options.page.views.size()), std::back_inserter(plan));
    return plan;
}

} // namespace kxcontour
