// The binary is the one of this build.
#include "DrawingRuns.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <sstream>

namespace tool_test {
namespace {

PageLine Rounded(const PagePoint& a, const PagePoint& b) {
    const auto round = [](double v) { return std::lround(v * 100.0); };
    const std::array<long, 2> p{round(a.x), round(a.y)};
    const std::array<long, 2> q{round(b.x), round(b.y)};
    return p < q ? PageLine{p[0], p[1], q[0], q[1]} : PageLine{q[0], q[1], p[0], p[1]};
}

} // namespace

RunResult RunTool(const Arguments& arguments, const Surroundings& around, const RunLimits& limits) {
    return Run(KXCONTOUR_BINARY, arguments, limits, around);
}

Arguments Words(const std::string& line) {
    std::istringstream stream(line);
    Arguments words;
    for (std::string word; stream >> word;) {
        words.push_back(word == "''" ? "" : word);
    }
    return words;
}

RunResult RunIn(const TemporaryFolder& folder, const std::string& line) {
    Surroundings around;
    around.folder = folder.path("");
    return RunTool(Words(line), around);
}

SvgFile DrawIn(const TemporaryFolder& folder, const std::string& line) {
    const RunResult run = RunIn(folder, line + " -o drawing.svg");
    EXPECT_EQ(run.exitCode, 0) << line << ": " << run.err;
    EXPECT_EQ(run.err, "") << line;
    return ReadSvg(folder.path("drawing.svg"));
}

std::vector<PageLine> LinesOf(const SvgFile& svg) {
    std::vector<PageLine> lines;
    for (const SvgGroup& group : svg.groups) {
        for (const SvgPath& path : group.paths) {
            for (std::size_t i = 1; i < path.size(); ++i) {
                lines.push_back(Rounded(path[i - 1], path[i]));
            }
        }
    }
    return lines;
}

std::vector<PageLine> SortedLinesOf(const SvgFile& svg) {
    std::vector<PageLine> lines = LinesOf(svg);
    std::sort(lines.begin(), lines.end());
    return lines;
}

double Width(const PageBox& box) {
    return box.right - box.left;
}

double Height(const PageBox& box) {
    return box.bottom - box.top;
}

std::map<std::string, std::string> FilesIn(const TemporaryFolder& folder) {
    namespace fs = std::filesystem;
    std::map<std::string, std::string> files;
    const fs::path root = folder.path("");
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) {
            files[fs::relative(entry.path(), root).string()] = ReadBytes(entry.path().string());
        }
    }
    return files;
}

} // namespace tool_test
