// Measures a model in the axes of its file, and puts what was found into words and JSON.
#include "model/ModelInfo.h"

#include "common/PlainText.h"
#include "model/CoordinateSteps.h"
#include "scene/Box.h"
#include "scene/FlatNormals.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <string_view>

namespace kxcontour {
namespace {

using Json = nlohmann::ordered_json;
using Matrix = Wm4::Matrix4<double>;
using Vector = Wm4::Vector3<double>;

constexpr std::size_t kListedObjects = 20;

/// From this length on, metres are easier to read than millimetres.
constexpr double kManyMillimetres = 10000.0;

Vector Apply(const Matrix& m, const Wm4::Vector3<float>& point) {
    const Vector p(static_cast<double>(point[0]), static_cast<double>(point[1]),
                   static_cast<double>(point[2]));
    const auto along = [&](int axis) {
        return p[0] * m[0][axis] + p[1] * m[1][axis] + p[2] * m[2][axis] + m[3][axis];
    };
    return {along(0), along(1), along(2)};
}

/// The box of the corners of a shape's triangles, taken through the matrix.
Box BoxThrough(const Matrix& matrix, const Shape& shape) {
    Box box;
    const unsigned int* indices = shape.triangles->GetData();
    for (int i = 0; i < shape.triangles->GetIndexQuantity(); ++i) {
        const Vector p = Apply(matrix, shape.vertices->Position3(static_cast<int>(indices[i])));
        if (std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2])) {
            box.add(p);
        }
    }
    return box;
}

Vector SizeOf(const Box& box) {
    return box.isEmpty() ? Vector(0.0, 0.0, 0.0) : box.size();
}

UpAxis UpOf(const Matrix& fileToWorld) {
    return fileToWorld[0][1] == 1.0 ? UpAxis::X : fileToWorld[2][1] == 1.0 ? UpAxis::Z : UpAxis::Y;
}

/// Adds up placements: the objects' triangles and sizes, and those of the whole.
void Measure(const Model& model, ModelInfo& info) {
    const Matrix worldToFile = model.fileToWorld.Transpose();
    std::vector<Box> boxes(model.objects.size());
    Box whole;
    for (const Placement& placement : model.placements) {
        const Shape& shape = model.shapes[placement.shape];
        const Box box = BoxThrough(placement.world * worldToFile, shape);
        const auto triangles = static_cast<std::size_t>(shape.triangles->GetIndexQuantity() / 3);
        info.triangles += triangles;
        info.vertices += static_cast<std::size_t>(shape.vertices->GetVertexQuantity());
        info.objects[placement.object].triangles += triangles;
        boxes[placement.object].add(box);
        whole.add(box);
    }
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        info.objects[i].size = SizeOf(boxes[i]);
    }
    info.size = SizeOf(whole);
}

/// Without the word that only says who reads it.
std::string FormatName(const std::string& importer) {
    const std::size_t end = importer.rfind(" Importer");
    return importer.empty() ? "unknown" : importer.substr(0, end);
}

/// Six digits, without an exponent and zeros at the end: "132.5", "80", "0.00125".
std::string Number(double value) {
    const double magnitude = value == 0.0 ? 0.0 : std::floor(std::log10(std::abs(value)));
    const int decimals = static_cast<int>(std::clamp(5.0 - magnitude, 0.0, 12.0));
    std::string text = fmt::format("{:.{}f}", value, decimals);
    if (text.find('.') != std::string::npos) {
        text.resize(text.find_last_not_of('0') + 1);
        text.resize(text.back() == '.' ? text.size() - 1 : text.size());
    }
    return text;
}

std::string Product(const Vector& size, double factor, std::string_view unit) {
    return fmt::format("{} x {} x {} {}", Number(factor * size[0]), Number(factor * size[1]),
                       Number(factor * size[2]), unit);
}

struct UnitName {
    double millimetres;
    std::string_view name;
    std::string_view symbol;
};

constexpr std::array<UnitName, 7> kUnitNames{{
    {0.001, "micrometre", "um"},
    {1.0, "millimetre", "mm"},
    {10.0, "centimetre", "cm"},
    {25.4, "inch", "in"},
    {304.8, "foot", "ft"},
    {914.4, "yard", "yd"},
    {1000.0, "metre", "m"},
}};

/// The unit of that length; null for one without a name.
const UnitName* FindUnit(double millimetres) {
    for (const UnitName& unit : kUnitNames) {
        if (std::abs(millimetres - unit.millimetres) <= 1e-9 * millimetres) {
            return &unit;
        }
    }
    return nullptr;
}

std::string DescribeUnit(double millimetres) {
    const UnitName* unit = FindUnit(millimetres);
    return unit != nullptr ? std::string(unit->name) : Number(millimetres) + " mm";
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
        return "not used: the angle between faces tells which edges are creases";
    }
    const std::string used = "used: they tell which edges are creases";
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
    add(surface.crowdedEdges, "edge of more than two triangles",
        "edges of more than two triangles");
    add(surface.joinedEdges, "edge", "edges");
    if (surface.joinedEdges > 0) {
        text += fmt::format(" joined over up to {:.2g} mm", surface.widestGap);
    }
    add(surface.splitEdges, "edge split", "edges split");
    add(surface.doubledFaces, "triangle given twice", "triangles given twice");
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
    const std::string text = fmt::format("{:.7g}", value);
    double rounded = value;
    std::from_chars(text.data(), text.data() + text.size(), rounded);
    return rounded;
}

Json JsonOf(const Vector& size, double factor) {
    return Json::array(
        {Rounded(factor * size[0]), Rounded(factor * size[1]), Rounded(factor * size[2])});
}

Json JsonOf(const SurfaceReport& surface) {
    return {{"edges", surface.edges},
            {"open", surface.openEdges},
            {"ofMoreThanTwoTriangles", surface.crowdedEdges},
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

ModelInfo Inspect(const std::string& name, Model& model, const WeldRequest& weld) {
    ModelInfo info;
    info.name = name;
    info.format = model.format;
    info.millimetresPerUnit = model.millimetresPerUnit;
    info.unitStated = model.unitStated;
    info.up = UpOf(model.fileToWorld);
    info.cutPolygons = model.cutPolygons;
    info.leftOutPolygons = model.leftOutPolygons;
    info.dropped = CleanShapes(model);
    DropFlatNormals(model);
    info.meshes = model.shapes.size();
    for (const Shape& shape : model.shapes) {
        const bool withNormals = shape.vertices->GetAttributes().GetNormalChannels() == 3;
        info.meshesWithNormals += withNormals ? 1 : 0;
    }
    for (const std::string& object : model.objects) {
        info.objects.push_back({object, 0, {0.0, 0.0, 0.0}});
    }
    Measure(model, info);
    const RepairedSurfaces repaired = RepairSurfaces(model, weld);
    for (const Placement& placement : model.placements) {
        Add(info.objects[placement.object].surface, repaired.reports[placement.shape]);
    }
    info.coordinateStep = IsCoarse(model.coordinateStep, info.size) ? model.coordinateStep : 0.0;
    return info;
}

std::string DescribeLength(double length, double millimetresPerUnit) {
    const UnitName* unit = FindUnit(millimetresPerUnit);
    return Number(length) + ' ' + std::string(unit != nullptr ? unit->symbol : "units");
}

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
