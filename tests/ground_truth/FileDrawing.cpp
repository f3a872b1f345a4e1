// What the tool says of a worn model is no part of these tests.
#include "FileDrawing.h"

#include "tool/DrawingRuns.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace ground_truth {
namespace {

void Describe(std::ostream& text, const char* what, std::vector<Stretch> stretches) {
    constexpr std::size_t kListed = 5;
    std::sort(stretches.begin(), stretches.end(), [](const Stretch& a, const Stretch& b) {
        return LengthOf(a.where) > LengthOf(b.where);
    });
    for (std::size_t i = 0; i < std::min(kListed, stretches.size()); ++i) {
        const FlatLine& line = stretches[i].where;
        text << "    " << what << " from (" << line.a.x << ", " << line.a.y << ") to (" << line.b.x
             << ", " << line.b.y << ")\n";
    }
}

} // namespace

FileDrawing::FileDrawing(const tool_test::TemporaryFolder& folder,
                         const std::string& file,
                         const std::string& options) {
    const std::string arguments = file + " " + options + " -o " + file + ".svg";
    const tool_test::RunResult run = RunIn(folder, arguments);
    EXPECT_EQ(run.exitCode, 0) << arguments << ": " << run.err;
    if (run.exitCode != 0) {
        return;
    }
    const tool_test::SvgFile svg = tool_test::ReadSvg(folder.path(file + ".svg"));
    paths_ = svg.pathCount();
    for (const tool_test::SvgGroup& group : svg.groups) {
        for (const tool_test::SvgPath& path : group.paths) {
            for (std::size_t i = 1; i < path.size(); ++i) {
                const FlatLine line{path[i - 1], path[i]};
                if (LengthOf(line) > 0.0) {
                    lines_.push_back(line);
                }
            }
        }
    }
}

Difference::Difference(const FileDrawing& sound, const FileDrawing& worn, double distance) {
    const std::vector<Stretch> lost = FarFrom(sound.lines(), worn.lines(), distance);
    const std::vector<Stretch> added = FarFrom(worn.lines(), sound.lines(), distance);
    missing = LengthOf(lost);
    extra = LengthOf(added);
    std::ostringstream where;
    Describe(where, "missing", lost);
    Describe(where, "extra", added);
    text = where.str();
}

void PrintRow(const std::string& name,
              const FileDrawing& sound,
              const FileDrawing& worn,
              const Difference& difference) {
    std::printf("%-36s %5zu paths, sound %5zu; %9.1f mm, %9.2f missing %9.2f extra\n", name.c_str(),
                worn.paths(), sound.paths(), LengthOf(sound.lines()), difference.missing,
                difference.extra);
}

void KeepFiles(const tool_test::TemporaryFolder& folder, const std::string& name) {
    namespace fs = std::filesystem;
    const char* const target = std::getenv("CTR_KEEP_DRAWINGS");
    if (target == nullptr) {
        return;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.path(""))) {
        fs::copy_file(entry.path(),
                      fs::path(target) / (name + "_" + entry.path().filename().string()),
                      fs::copy_options::overwrite_existing);
    }
}

} // namespace ground_truth
