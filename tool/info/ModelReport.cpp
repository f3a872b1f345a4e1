// Facts about models in words and as JSON.
#include "tool/info/ModelReport.h"

#include "drawing/common/LengthUnit.h"
#include "tool/common/PlainText.h"
#include "tool/options/PaperText.h"

#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

namespace kxcontour {
namespace {

using Json = nlohmann::ordered_json;
using Vector = Wm4::Vector3<double>;

constexpr std::size_t kListedObjects = 20;

/// From this length on, metres are easier to read than millimetres.
constexpr double kManyMillimetres = 10000.0;

/// Without the word that only says who reads it.
std::string FormatName(const std::string& importer) {
    const std::size_t end = importer.rfind(" Importer");
    return importer.empty() ? "unknown" : importer.substr(0, end);
}

std::string Product(const Vector& size, double factor, std::string_view unit) {
    return fmt::format("{} x {} x {} {}", DescribeNumber(factor * size[0]),
                       DescribeNumber(factor * size[1]), DescribeNumber(factor * size[2]), unit);
}

std::string DescribeUnit(double millimetres) {
    const UnitName* unit = FindUnit(millimetres);
    return unit != nullptr ? std::string(unit->name) : DescribeNumber(millimetres) + " mm";
}

/// In the file's unit.
std::string SizeInFile(const Vector& size, double millimetresPerUnit) {
    const UnitName* unit = FindUnit(millimetresPerUnit);
    return Product(size, 1.0, unit != nullptr ? unit->symbol : "units");
}

/// In the file's unit, and in millimetres or metres where that is another one.
std::string DescribeSize(const Vector& size, double millimetresPerUnit) {
    const double largest = millimetresPerUnit * std::max({size[0], size[1], size[2]});
    const std::string inFile = SizeInFile(size, millimetresPerUnit);
    const std::string real = largest < kManyMillimetres
                                 ? Product(size, millimetresPerUnit, "mm")
                                 : Product(size, millimetresPerUnit / 1000.0, "m");
    return inFile == real ? real : inFile + " = " + real;
}

std::string_view NameOfAxis(UpAxis axis) {
    return axis == UpAxis::X ? "x" : axis == UpAxis::Y ? "y" : "z";
}

std::string Count(std::size_t count, std::string_view one, std::string_view many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string DescribeName(const std::string& name) {
    return name.empty() ? "(without a name)" : PlainText(name);
}

std::string DescribeNormals(const ModelInfo& info) {
    if (info.meshesWithNormals == 0) {
        return "not used: creases are found by the angle between faces";
    }
    const std::string used = "used to find creases";
    return info.meshesWithNormals == info.meshes
               ? used
               : fmt::format("{} of {} meshes {}", info.meshesWithNormals, info.meshes, used);
}

/// What the importer and the tool do to the model before it is drawn, one a line.
std::vector<std::string> DescribeChanges(const ModelInfo& info) {
    std::vector<std::string> changes;
    if (info.cutPolygons > 0) {
        changes.push_back("cut " + Count(info.cutPolygons, "polygon", "polygons") +
                          " into triangles");
    }
    if (info.leftOutPolygons > 0) {
        changes.push_back("left out " +
                          Count(info.leftOutPolygons, "point or line", "points and lines"));
    }
    if (info.dropped.total() > 0) {
        changes.push_back(DescribeDropped(info.dropped));
    }
    if (changes.empty()) {
        changes.emplace_back("nothing");
    }
    return changes;
}

void WriteLine(std::ostream& out, std::string_view what, std::string_view text) {
    out << fmt::format("  {:<11}{}\n", what, text);
}

/// What is not as on a sound surface, and what was done about it; empty where nothing is.
std::string DescribeSurface(const SurfaceReport& surface) {
    std::string text;
    const auto add = [&](std::size_t count, std::string_view one, std::string_view many) {
        text += count > 0 ? ", " + Count(count, one, many) : "";
    };
    add(surface.openEdges, "open edge", "open edges");
    add(surface.nonManifoldEdges, "edge with more than two triangles",
        "edges with more than two triangles");
    add(surface.joinedEdges, "edge", "edges");
    if (surface.joinedEdges > 0) {
        text += fmt::format(" joined across gaps of up to {:.2g} mm", surface.widestGap);
    }
    add(surface.splitEdges, "edge split", "edges split");
    add(surface.doubledFaces, "duplicate triangle", "duplicate triangles");
    return text;
}

void WriteObjects(const ModelInfo& info, std::ostream& out) {
    WriteLine(out, "objects", std::to_string(info.objects.size()));
    const std::size_t listed = std::min(info.objects.size(), kListedObjects);
    for (std::size_t i = 0; i < listed; ++i) {
        const ObjectInfo& object = info.objects[i];
        out << fmt::format("    {}: {}, {}{}\n", DescribeName(object.name),
                           Count(object.triangles, "triangle", "triangles"),
                           SizeInFile(object.size, info.millimetresPerUnit),
                           DescribeSurface(object.surface));
    }
    if (listed < info.objects.size()) {
        out << fmt::format("    and {} more\n", info.objects.size() - listed);
    }
}

/// A number of the file: single precision has no more than seven digits to say.
double Rounded(double value) {
    return ReadNumber(fmt::format("{:.7g}", value)).value_or(value);
}

Json JsonOf(const Vector& size, double factor) {
    return Json::array(
        {Rounded(factor * size[0]), Rounded(factor * size[1]), Rounded(factor * size[2])});
}

Json JsonOf(const SurfaceReport& surface) {
    return {{"edges", surface.edges},
            {"open", surface.openEdges},
            {"ofMoreThanTwoTriangles", surface.nonManifoldEdges},
            {"joined", surface.joinedEdges},
            {"joinedOverMillimetres", Rounded(surface.widestGap)},
            {"split", surface.splitEdges},
            {"trianglesGivenTwice", surface.doubledFaces}};
}

Json JsonOf(const ModelInfo& info) {
    Json objects = Json::array();
    for (const ObjectInfo& object : info.objects) {
        objects.push_back({{"name", object.name},
                           {"triangles", object.triangles},
                           {"size", JsonOf(object.size, 1.0)},
                           {"sizeMillimetres", JsonOf(object.size, info.millimetresPerUnit)},
                           {"surface", JsonOf(object.surface)}});
    }
    return {{"model", info.name},
            {"format", FormatName(info.format)},
            {"unit",
             {{"name", DescribeUnit(info.millimetresPerUnit)},
              {"millimetres", info.millimetresPerUnit},
              {"stated", info.unitStated}}},
            {"up", NameOfAxis(info.up)},
            {"size", JsonOf(info.size, 1.0)},
            {"sizeMillimetres", JsonOf(info.size, info.millimetresPerUnit)},
            {"coordinateStep", info.coordinateStep},
            {"triangles", info.triangles},
            {"vertices", info.vertices},
            {"meshes", info.meshes},
            {"meshesWithNormals", info.meshesWithNormals},
            {"changed",
             {{"polygonsCut", info.cutPolygons},
              {"pointsAndLinesLeftOut", info.leftOutPolygons},
              {"trianglesLeftOut",
               {{"degenerate", info.dropped.degenerate},
                {"notFinite", info.dropped.notFinite},
                {"badIndex", info.dropped.badIndex}}}}},
            {"objects", std::move(objects)}};
}

} // namespace

void WriteText(const ModelInfo& info, std::ostream& out) {
    out << DescribeName(info.name) << '\n';
    WriteLine(out, "format", PlainText(FormatName(info.format)));
    WriteLine(out, "unit",
              DescribeUnit(info.millimetresPerUnit) +
                  (info.unitStated ? "" : " (assumed: the file states none, see --unit)"));
    WriteLine(out, "up", NameOfAxis(info.up));
    WriteLine(out, "size", DescribeSize(info.size, info.millimetresPerUnit));
    if (info.coordinateStep > 0.0) {
        WriteLine(out, "precision",
                  "coordinates are multiples of " +
                      DescribeLength(info.coordinateStep, info.millimetresPerUnit));
    }
    WriteLine(out, "triangles", std::to_string(info.triangles));
    WriteLine(out, "vertices", std::to_string(info.vertices));
    WriteLine(out, "normals", DescribeNormals(info));
    std::string_view label = "changed";
    for (const std::string& change : DescribeChanges(info)) {
        WriteLine(out, label, change);
        label = "";
    }
    WriteObjects(info, out);
}

void WriteJson(const std::vector<ModelInfo>& models, std::ostream& out) {
    Json all = Json::array();
    for (const ModelInfo& info : models) {
        all.push_back(JsonOf(info));
    }
    out << Json{{"models", std::move(all)}}.dump(2, ' ', false, Json::error_handler_t::replace)
        << '\n';
}

} // namespace kxcontour
