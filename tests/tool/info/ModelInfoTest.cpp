// What is said about a model, in words and in JSON.
#include "ModelText.h"
#include "ShapeBuilders.h"
#include "import/ModelReader.h"
#include "tool/info/ModelReport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using kxcontour::Inspect;
using kxcontour::Model;
using kxcontour::ModelInfo;
using tool_test::Holds;
using tool_test::MakeModel;
using tool_test::MakeShape;
using tool_test::MeshData;
using tool_test::Point;
using tool_test::TemporaryFolder;

using Vector = Wm4::Vector3<double>;

std::string TextOf(const ModelInfo& info) {
    std::ostringstream text;
    kxcontour::WriteText(info, text);
    return text.str();
}

nlohmann::json JsonOf(const std::vector<ModelInfo>& models) {
    std::ostringstream text;
    kxcontour::WriteJson(models, text);
    return nlohmann::json::parse(text.str());
}

/// Two boxes, one moved by 100 along x, of a file with z up, in inches.
Model TwoBoxes() {
    const MeshData box = test_support::Box({0, 0, 0}, {10, 20, 30});
    Model model = MakeModel({MakeShape(box), MakeShape(box)});
    model.fileToWorld = tool_test::Matrix(1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1);
    model.placements[0].world = model.fileToWorld;
    model.placements[1].world = model.fileToWorld * tool_test::ScaleAndMove(1, 1, 1, 100.5, 0, 0);
    model.objects = {"lid", ""};
    model.format = "Test Importer";
    model.millimetresPerUnit = 25.4;
    model.unitStated = true;
    return model;
}

TEST(Inspect, MeasuresAlongTheAxesOfTheFile) {
    Model model = TwoBoxes();
    const ModelInfo info = Inspect("boxes.stl", model);
    EXPECT_EQ(info.up, kxcontour::UpAxis::Z);
    EXPECT_EQ(info.size, Vector(110.5, 20, 30));
    EXPECT_EQ(info.triangles, 24U);
    EXPECT_EQ(info.vertices, 16U);
    ASSERT_EQ(info.objects.size(), 2U);
    EXPECT_EQ(info.objects[0].name, "lid");
    EXPECT_EQ(info.objects[1].size, Vector(10, 20, 30));
    EXPECT_EQ(info.objects[1].triangles, 12U);
}

TEST(Inspect, MeasuresTurnedPartsExactly) {
    Model model = MakeModel({MakeShape(test_support::Triangle({0, 0, 0}, {3, 3, 0}, {3, 3, 1}))});
    const double half = std::sqrt(0.5);
    model.placements[0].world =
        tool_test::Matrix(half, -half, 0, 0, half, half, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    const ModelInfo info = Inspect("a", model);
    EXPECT_NEAR(info.size[0], 3 * std::sqrt(2.0), 1e-12);
    EXPECT_NEAR(info.size[1], 0.0, 1e-12) << "the box of the turned box would be larger";
}

TEST(Inspect, CountsWhatIsLeftOut) {
    MeshData data = test_support::Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    data.addTriangle(0, 1, 9);
    data.addTriangle(0, 1, 1);
    data.addTriangle(Point(0, 0, NAN), Point(1, 0, 0), Point(0, 1, 0));
    Model model = MakeModel({MakeShape(data), MakeShape({})});
    model.placements.push_back({0, 0, tool_test::ScaleAndMove(INFINITY, 1, 1, 0, 0, 0)});
    const ModelInfo info = Inspect("a", model);
    EXPECT_EQ(info.dropped.total(), 3U);
    EXPECT_EQ(info.triangles, 2U);
    EXPECT_EQ(info.size, Vector(1, 1, 0));
    EXPECT_EQ(info.objects[1].size, Vector(0, 0, 0));
}

/// A plate of two halves, 0.001 in apart, and a quarter that is given twice.
Model Plate() {
    MeshData data = test_support::Quad({0, 0, 0}, {5, 0, 0}, {5, 8, 0}, {0, 8, 0});
    data.append(test_support::Quad({5.001F, 0, 0}, {10, 0, 0}, {10, 8, 0}, {5.001F, 8, 0}));
    data.append(test_support::Triangle({5.001F, 0, 0}, {10, 0, 0}, {10, 8, 0}));
    Model model = MakeModel({MakeShape(data), MakeShape(test_support::Box({0, 0, 0}, {1, 1, 1}))});
    model.millimetresPerUnit = 25.4;
    return model;
}

TEST(Inspect, SaysWhatWasDoneToSurfaces) {
    Model model = Plate();
    const ModelInfo info = Inspect("plate", model);
    EXPECT_EQ(info.triangles, 5U + 12U) << "those of the file";
    const kxcontour::SurfaceReport& plate = info.objects[0].surface;
    EXPECT_EQ(plate.doubledFaces, 1U);
    EXPECT_EQ(plate.joinedEdges, 1U);
    EXPECT_EQ(plate.openEdges, 6U);
    EXPECT_NEAR(plate.widestGap, 0.0254, 1e-5);
    EXPECT_EQ(info.objects[1].surface.openEdges, 0U);
    EXPECT_TRUE(Holds(TextOf(info), "10 x 8 x 0 in, 6 open edges, 1 edge joined across gaps of up "
                                    "to 0.025 mm, 1 duplicate triangle\n"))
        << TextOf(info);
    EXPECT_TRUE(Holds(TextOf(info), "1 x 1 x 1 in\n"));
    const nlohmann::json surface = JsonOf({info})["models"][0]["objects"][0]["surface"];
    EXPECT_EQ(surface["open"], 6);
    EXPECT_EQ(surface["joined"], 1);
    EXPECT_EQ(surface["ofMoreThanTwoTriangles"], 0);
    Model asItIs = Plate();
    const ModelInfo off = Inspect("plate", asItIs, {ctr::Welding::Mode::Off, 0.0});
    EXPECT_EQ(off.objects[0].surface.openEdges, 8U);
    EXPECT_EQ(off.objects[0].surface.joinedEdges, 0U);
}

TEST(WriteText, SaysItAll) {
    Model model = TwoBoxes();
    ModelInfo info = Inspect("boxes.stl", model);
    info.cutPolygons = 6;
    info.leftOutPolygons = 1;
    info.dropped.degenerate = 2;
    EXPECT_EQ(TextOf(info),
              "boxes.stl\n  format     Test\n  unit       inch\n  up         z\n  size       110.5 "
              "x 20 x 30 in = 2806.7 x 508 x 762 mm\n  triangles  24\n  vertices   16\n  normals   "
              " not used: creases are found by the angle between faces\n  changed    cut 6 "
              "polygons into triangles\n             left out 1 point or line\n             left "
              "out 2 triangles: 2 degenerate\n  objects    2\n    lid: 12 triangles, 10 x 20 x 30 "
              "in\n    (without a name): 12 triangles, 10 x 20 x 30 in\n");
}

TEST(WriteText, SaysWhatIsAssumed) {
    const TemporaryFolder folder;
    Model model = kxcontour::ReadModel(tool_test::FileRequest(folder.write(
        "a.obj", "v 0 0 0\nv 1.5 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3//1\nf 1 2 3\n")));
    const std::string text = TextOf(Inspect("a.obj", model));
    EXPECT_TRUE(Holds(text, "unit       millimetre (assumed: the file states none, see --unit)\n"));
    EXPECT_TRUE(Holds(text, "size       1.5 x 1 x 0 mm\n")) << text;
    EXPECT_TRUE(Holds(text, "changed    nothing\n")) << text;
}

TEST(WriteText, ShowsLargeThingsInMetresAndNumbersWithoutNoise) {
    ModelInfo info;
    info.millimetresPerUnit = 1.0;
    info.size = {12345.678, 8000.0, 0.001};
    EXPECT_TRUE(Holds(TextOf(info), "12345.7 x 8000 x 0.001 mm = 12.3457 x 8 x 0.000001 m\n"))
        << TextOf(info);
    info.millimetresPerUnit = 1000.0;
    info.size = {1234567890.0, 0.1F, 1.0 / 3.0};
    EXPECT_TRUE(Holds(TextOf(info), "size       1234567890 x 0.1 x 0.333333 m\n")) << TextOf(info);
    info.millimetresPerUnit = 12.7;
    info.size = {2, 2, 2};
    EXPECT_TRUE(Holds(TextOf(info), "unit       12.7 mm")) << TextOf(info);
    EXPECT_TRUE(Holds(TextOf(info), "2 x 2 x 2 units = 25.4 x 25.4 x 25.4 mm\n"));
}

TEST(WriteText, ListsTwentyObjectsOnALineEach) {
    ModelInfo info;
    info.objects.resize(34, {"two\nlines", 1, {0, 0, 0}});
    const std::string text = TextOf(info);
    EXPECT_TRUE(Holds(text, R"(    two\nlines: 1 triangle, 0 x 0 x 0 mm)"
                            "\n    and 14 more\n"));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 10 + 20 + 1);
}

TEST(WriteText, CountsMeshesWithNormals) {
    ModelInfo info;
    info.meshes = 3;
    info.meshesWithNormals = 3;
    EXPECT_TRUE(Holds(TextOf(info), "normals    used to find")) << TextOf(info);
    info.meshesWithNormals = 1;
    EXPECT_TRUE(Holds(TextOf(info), "normals    1 of 3 meshes used")) << TextOf(info);
}

TEST(WriteJson, HoldsEveryObjectAndWhatWasChanged) {
    Model model = TwoBoxes();
    ModelInfo info = Inspect("boxes.stl", model);
    info.objects.resize(34);
    info.leftOutPolygons = 7;
    info.dropped.notFinite = 5;
    const nlohmann::json all = JsonOf({info, ModelInfo()});
    ASSERT_EQ(all["models"].size(), 2U);
    const nlohmann::json& one = all["models"][0];
    EXPECT_EQ(one["model"], "boxes.stl");
    EXPECT_EQ(one["format"], "Test");
    EXPECT_EQ(one["unit"]["millimetres"], 25.4);
    EXPECT_EQ(one["unit"]["name"], "inch");
    EXPECT_EQ(one["unit"]["stated"], true);
    EXPECT_EQ(one["up"], "z");
    EXPECT_EQ(one["size"], nlohmann::json({110.5, 20.0, 30.0}));
    EXPECT_EQ(one["sizeMillimetres"], nlohmann::json({2806.7, 508.0, 762.0}));
    EXPECT_EQ(one["objects"].size(), 34U);
    EXPECT_EQ(one["objects"][0]["name"], "lid");
    EXPECT_EQ(one["objects"][0]["triangles"], 12);
    EXPECT_EQ(one["changed"]["pointsAndLinesLeftOut"], 7);
    EXPECT_EQ(one["changed"]["trianglesLeftOut"]["notFinite"], 5);
    EXPECT_EQ(JsonOf({})["models"].size(), 0U);
}

TEST(WriteJson, KeepsNamesAndReplacesWhatIsNoText) {
    ModelInfo info;
    info.objects.push_back({"Gehäuse \"A\"\n", 0, {0, 0, 0}});
    info.objects.push_back({"Geh\xE4use", 0, {0, 0, 0}});
    const nlohmann::json all = JsonOf({info});
    EXPECT_EQ(all["models"][0]["objects"][0]["name"], "Gehäuse \"A\"\n");
    EXPECT_EQ(all["models"][0]["objects"][1]["name"], "Geh\xEF\xBF\xBDuse");
}

} // namespace
