// A table in Markdown, SVG paths by brute force, pictures by cairo.
#include "RecipeTools.h"

#include "SvgFile.h"

#include <algorithm>
#include <cairo.h>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace tool_test {
namespace {

namespace fs = std::filesystem;

struct ModelLink {
    const char* name;
    const char* target; ///< Below the folder of models; else from the cookbook's folder.
};

constexpr ModelLink kModels[] = {{"engine.gltf", "glTF2/draco/2CylinderEngine.gltf"},
                                 {"2CylinderEngine.bin", "glTF2/draco/2CylinderEngine.bin"},
                                 {"house.ifc", "IFC/AC14-FZK-Haus.ifc"},
                                 {"teapots.dae", "Collada/teapots.DAE"},
                                 {"spider.stl", "STL/Spider_binary.stl"}};

/// Points of the page with the side of a line that they are off it.
struct Line {
    PagePoint a;
    PagePoint b;
    std::size_t group;
};

double Distance(const PagePoint& p, const PagePoint& q) {
    return std::hypot(p.x - q.x, p.y - q.y);
}

PagePoint At(const Line& line, double along) {
    const double t = along / Distance(line.a, line.b);
    return {line.a.x + t * (line.b.x - line.a.x), line.a.y + t * (line.b.y - line.a.y)};
}

/// How far along a line the foot of a point is, and how far off the line the point is.
struct Foot {
    double along;
    double off;
};

Foot FootOf(const Line& line, const PagePoint& p) {
    const double length = Distance(line.a, line.b);
    const double ux = (line.b.x - line.a.x) / length;
    const double uy = (line.b.y - line.a.y) / length;
    const double dx = p.x - line.a.x;
    const double dy = p.y - line.a.y;
    return {dx * ux + dy * uy, std::abs(dx * uy - dy * ux)};
}

bool LieOnEachOther(const Line& p, const Line& q) {
    constexpr double kLongest = 0.01;
    constexpr double kNearest = 0.002;
    const double length = Distance(p.a, p.b);
    const double first = FootOf(p, q.a).along;
    const double second = FootOf(p, q.b).along;
    const double from = std::max(0.0, std::min(first, second));
    const double to = std::min(length, std::max(first, second));
    return to - from > kLongest && FootOf(q, At(p, from)).off <= kNearest &&
           FootOf(q, At(p, to)).off <= kNearest;
}

std::string TextOf(const Line& line) {
    std::ostringstream text;
    text << '(' << line.a.x << ", " << line.a.y << ")-(" << line.b.x << ", " << line.b.y << ')';
    return text.str();
}

double Lowest(const Line& line) {
    return std::min(line.a.x, line.b.x);
}
double Highest(const Line& line) {
    return std::max(line.a.x, line.b.x);
}

std::vector<Line> LinesOf(const SvgFile& svg) {
    std::vector<Line> lines;
    for (std::size_t group = 0; group < svg.groups.size(); ++group) {
        for (const SvgPath& path : svg.groups[group].paths) {
            for (std::size_t i = 1; i < path.size(); ++i) {
                if (Distance(path[i - 1], path[i]) > 0.0) {
                    lines.push_back({path[i - 1], path[i], group});
                }
            }
        }
    }
    std::sort(lines.begin(), lines.end(),
              [](const Line& p, const Line& q) { return Lowest(p) < Lowest(q); });
    return lines;
}

std::string Replaced(const std::string& text, const std::string& pattern, const std::string& by) {
    return std::regex_replace(text, std::regex(pattern), by);
}

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

Surface ReadPicture(const std::string& path) {
    return {cairo_image_surface_create_from_png(path.c_str()), &cairo_surface_destroy};
}

} // namespace

std::string CookbookPath(const std::string& path) {
    return std::string(COOKBOOK_FOLDER) + "/" + path;
}

std::vector<Recipe> ReadRecipes() {
    std::ifstream file(CookbookPath("cookbook.md"));
    const std::regex row(R"(\| !\[[^\]]*\]\(([^)]+)\) \| .+ \| `(.+)` \|)");
    std::vector<Recipe> recipes;
    for (std::string line; std::getline(file, line);) {
        std::smatch match;
        if (std::regex_match(line, match, row)) {
            // A bar inside a cell of a table is written with a backslash.
            recipes.push_back({match[1], Replaced(match[2], R"(\\\|)", "|")});
        } else if (line.rfind("| ![", 0) == 0) {
            throw std::runtime_error("no recipe: " + line);
        }
    }
    return recipes;
}

void LinkModels(const std::string& folder) {
    for (const ModelLink& model : kModels) {
        fs::create_symlink(std::string(ASSIMP_MODELS) + "/" + model.target,
                           fs::path(folder) / model.name);
    }
    for (const fs::directory_entry& file : fs::directory_iterator(CookbookPath("models"))) {
        fs::create_symlink(file.path(), fs::path(folder) / file.path().filename());
    }
}

std::vector<std::string> OutputsOf(const Recipe& recipe) {
    std::smatch match;
    if (!std::regex_search(recipe.command, match, std::regex(R"(-o '?([^ ']+)'?)"))) {
        throw std::runtime_error("no output: " + recipe.command);
    }
    const std::string output = match[1];
    if (output.find("{view}") == std::string::npos) {
        return {output};
    }
    std::smatch views;
    std::regex_search(recipe.command, views, std::regex(R"(--views ([a-z,]+))"));
    std::vector<std::string> outputs;
    std::istringstream list(views[1]);
    for (std::string view; std::getline(list, view, ',');) {
        outputs.push_back(Replaced(output, R"(\{view\})", view));
    }
    return outputs;
}

Recipe AsSvg(const Recipe& recipe) {
    std::string command =
        Replaced(recipe.command, R"(\.(pdf|png|dxf|json)\b(?!.*\.(pdf|png)))", ".svg");
    command = Replaced(command, " --arcs| --dpi [0-9]+", "");
    return {recipe.picture, command};
}

Recipe AsPicture(const Recipe& recipe) {
    std::string command = AsSvg(recipe).command;
    command = Replaced(command, R"((-o '?[^ ']+)\.svg)", "$1.png --dpi 75");
    command = Replaced(command, R"((-o '?[^ ']+\.png)( --dpi 75)')", "$1'$2");
    // A hairline cannot be seen in so small a picture.
    command = Replaced(command, "width=0.01mm", "width=0.4mm");
    return {recipe.picture, Replaced(command, " --layers [a-z]+", "")};
}

TwiceReport FindTwice(const std::string& svgPath) {
    const SvgFile svg = ReadSvg(svgPath);
    const std::vector<Line> lines = LinesOf(svg);
    TwiceReport report;
    report.paths = svg.pathCount();
    report.lines = lines.size();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        for (std::size_t j = i + 1; j < lines.size() && Lowest(lines[j]) <= Highest(lines[i]);
             ++j) {
            if (lines[i].group == lines[j].group && LieOnEachOther(lines[i], lines[j])) {
                report.twice = TextOf(lines[i]) + " and " + TextOf(lines[j]);
                return report;
            }
        }
    }
    return report;
}

double PictureDifference(const std::string& a, const std::string& b) {
    const Surface p = ReadPicture(a);
    const Surface q = ReadPicture(b);
    const int width = cairo_image_surface_get_width(p.get());
    const int height = cairo_image_surface_get_height(p.get());
    const int stride = cairo_image_surface_get_stride(p.get());
    if (width == 0 || cairo_image_surface_get_width(q.get()) != width ||
        cairo_image_surface_get_height(q.get()) != height ||
        cairo_image_surface_get_stride(q.get()) != stride) {
        return 1.0;
    }
    const unsigned char* u = cairo_image_surface_get_data(p.get());
    const unsigned char* v = cairo_image_surface_get_data(q.get());
    double sum = 0.0;
    for (long i = 0; i < long{stride} * height; ++i) {
        sum += std::abs(static_cast<double>(u[i]) - static_cast<double>(v[i])) / 255.0;
    }
    return sum / (static_cast<double>(stride) * height);
}

} // namespace tool_test
