// Units and axes that files state, in small files of each format that has a say in it.
#include "ModelText.h"
#include "ShapeBuilders.h"
#include "import/ModelReader.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::LengthUnit;
using kxcontour::Model;
using kxcontour::ModelRequest;
using kxcontour::UpAxis;
using tool_test::FileRequest;
using tool_test::MeshData;
using tool_test::Replaced;
using tool_test::TemporaryFolder;

using Vector = Wm4::Vector3<double>;

MeshData Cube() {
    return test_support::Box({0, 0, 0}, {1, 2, 3});
}

Model Read(const std::string& path) {
    return kxcontour::ReadModel(FileRequest(path));
}

Vector Apply(const Wm4::Matrix4<double>& matrix, const Vector& p) {
    const Wm4::Vector4<double> q = Wm4::Vector4<double>(p[0], p[1], p[2], 1.0) * matrix;
    return {q[0], q[1], q[2]};
}

std::string Gltf() {
    return tool_test::GltfText(Cube(), R"([{"mesh":0}])",
                               std::string(R"([{"primitives":[)") + tool_test::kGltfPrimitive +
                                   "]}]");
}

std::string Dae(const std::string& asset) {
    return Replaced(
        tool_test::DaeText(Cube(), "<node id=\"a\"><instance_geometry url=\"#m\"/></node>"),
        "<up_axis>Y_UP</up_axis>", asset);
}

std::string Fbx(const std::string& name, const std::string& value) {
    return Replaced(tool_test::ReadBytes(ASSIMP_MODELS "/FBX/cubes_with_names.fbx"),
                    "P: \"" + name + ",1\n", "P: \"" + name + "," + value + "\n");
}

const std::string kFbxUnit = "UnitScaleFactor\", \"double\", \"Number\", \"\"";
const std::string kFbxAxis = "UpAxis\", \"int\", \"Integer\", \"\"";

/// A file, and the length of its unit; 0 where none is stated.
struct UnitCase {
    std::string name;
    std::string bytes;
    double millimetres;
};

void ExpectUnits(const std::vector<UnitCase>& cases) {
    const TemporaryFolder folder;
    for (const UnitCase& one : cases) {
        const Model model = Read(folder.write(one.name, one.bytes));
        EXPECT_EQ(model.millimetresPerUnit, one.millimetres == 0.0 ? 1.0 : one.millimetres)
            << one.name << '\n'
            << one.bytes.substr(0, 300);
        EXPECT_EQ(model.unitStated, one.millimetres != 0.0) << one.name;
    }
}

TEST(Unit, IsAssumedWhereFilesDoNotStateIt) {
    ExpectUnits({{"a.obj", tool_test::ObjText(Cube()), 0.0},
                 {"a.stl", tool_test::StlBytes(Cube()), 0.0},
                 {"a.ply", tool_test::PlyText(Cube()), 0.0},
                 {"a.off", tool_test::OffText(Cube()), 0.0}});
}

TEST(Unit, OfGltfIsTheMetre) {
    ExpectUnits({{"a.gltf", Gltf(), 1000.0}});
}

TEST(Unit, OfX3dIsTheMetreUnlessItSaysOtherwise) {
    const auto text = [](const std::string& head) { return tool_test::X3dText("1 2 3", head); };
    const std::string angle = "<unit category='angle' conversionFactor='0.01745'/>";
    const std::string inch = "<unit category='length' name='inch' conversionFactor='0.0254'/>";
    ExpectUnits({{"a.x3d", text(""), 1000.0},
                 {"b.x3d", text(angle), 1000.0},
                 {"c.x3d", text(angle + inch), 25.4}});
}

TEST(Unit, Of3mfIsTheMillimetreUnlessItSaysOtherwise) {
    const auto bytes = [](const std::string& attributes) {
        return tool_test::Bytes3mf(tool_test::ModelOf3mf(Cube(), attributes));
    };
    ExpectUnits({{"a.3mf", bytes(""), 1.0},
                 {"b.3mf", bytes("unit=\"micron\""), 0.001},
                 {"c.3mf", bytes("xml:lang='en' unit = 'inch'"), 25.4},
                 {"d.3mf", bytes("unit=\"foot\""), 304.8},
                 {"e.3mf", bytes("unit=\"meter\""), 1000.0},
                 {"f.3mf", tool_test::ReadBytes(ASSIMP_MODELS "/3MF/box.3mf"), 1.0}});
}

TEST(Unit, OfAmfIsTheMillimetreUnlessItSaysOtherwise) {
    ExpectUnits({{"a.amf", tool_test::AmfText(Cube(), ""), 1.0},
                 {"b.amf", tool_test::AmfText(Cube(), "unit=\"inch\""), 25.4},
                 {"c.amf", tool_test::AmfText(Cube(), "unit=\"feet\""), 304.8}});
}

TEST(Unit, OfDxfIsStatedOrNot) {
    const auto text = [](const std::string& code) {
        return tool_test::DxfText(Cube(), "  9\n$INSUNITS\n 70\n     " + code + "\n");
    };
    ExpectUnits({{"a.dxf", tool_test::DxfText(Cube(), ""), 0.0},
                 {"b.dxf", text("0"), 0.0},
                 {"c.dxf", text("1"), 25.4},
                 {"d.dxf", text("6"), 1000.0}});
}

TEST(Unit, OfOpenGexIsItsMetric) {
    const std::string text = tool_test::ReadBytes(ASSIMP_MODELS "/OpenGEX/Example.ogex");
    const std::string metric = "Metric (key = \"distance\") {float {1}}";
    ExpectUnits(
        {{"a.ogex", text, 1000.0},
         {"b.ogex", Replaced(text, metric, ""), 1000.0},
         {"c.ogex", Replaced(text, "\"distance\") {float {1}}", "\"distance\") {float {0.01}}"),
          10.0}});
}

TEST(Unit, OfColladaIsTakenBackFromTheScene) {
    const TemporaryFolder folder;
    const Model model = Read(folder.write(
        "a.dae", Dae("<unit name=\"inch\" meter=\"0.0254\"/><up_axis>Z_UP</up_axis>")));
    EXPECT_EQ(model.millimetresPerUnit, 25.4);
    EXPECT_TRUE(model.unitStated);
    EXPECT_EQ(Apply(model.placements.at(0).world, {1, 2, 3}), Vector(1, 3, -2)) << "inches";
    ExpectUnits({{"b.dae", Dae("<up_axis>Y_UP</up_axis>"), 1000.0}});
}

TEST(Unit, OfFbxIsInItsSettingsInCentimetres) {
    ExpectUnits({{"a.fbx", Fbx(kFbxUnit, "1"), 10.0},
                 {"b.fbx", Fbx(kFbxUnit, "2.54"), 25.4},
                 {"c.fbx", Fbx(kFbxUnit, "100"), 1000.0},
                 {"d.fbx", Fbx(kFbxUnit, "-1"), 10.0}});
}

TEST(Unit, OfIfcIsTakenBackFromTheScene) {
    const std::string metres = tool_test::ReadBytes(ASSIMP_MODELS "/IFC/AC14-FZK-Haus.ifc");
    const TemporaryFolder folder;
    const Model inMetres = Read(folder.write("a.ifc", metres));
    const Model inMillimetres =
        Read(folder.write("b.ifc", Replaced(metres, "LENGTHUNIT.,$", "LENGTHUNIT.,.MILLI.")));
    EXPECT_EQ(inMetres.millimetresPerUnit, 1000.0);
    EXPECT_EQ(inMillimetres.millimetresPerUnit, 1.0);
    const Wm4::Matrix4<double>& root = inMillimetres.placements.at(0).world;
    EXPECT_EQ(Apply(root, {1, 2, 3}) - Apply(root, {0, 0, 0}), Vector(1, 3, -2)) << "exact";
}

TEST(Unit, OfTheUserWinsAndMeansTheNumbersInTheFile) {
    const TemporaryFolder folder;
    for (const auto& [name, bytes] : std::vector<std::pair<std::string, std::string>>{
             {"a.stl", tool_test::StlBytes(Cube())},
             {"a.gltf", Gltf()},
             {"a.dae", Dae("<unit meter=\"0.01\"/><up_axis>Y_UP</up_axis>")}}) {
        ModelRequest request = FileRequest(folder.write(name, bytes));
        request.unit = LengthUnit::Inch;
        const Model model = kxcontour::ReadModel(request);
        EXPECT_EQ(model.millimetresPerUnit, 25.4) << name;
        EXPECT_TRUE(model.unitStated) << name;
        const Wm4::Matrix4<double>& world = model.placements.at(0).world;
        EXPECT_EQ((Apply(world, {1, 2, 3}) - Apply(world, {0, 0, 0})).Length(),
                  Vector(1, 2, 3).Length())
            << name;
    }
}

/// Where the world has the file's point (1, 2, 3): of the placement, and of the file's axes.
struct AxisCase {
    std::string name;
    std::string bytes;
    Vector world;
};

std::vector<AxisCase> AxisCases() {
    return {{"a.obj", tool_test::ObjText(Cube()), {1, 2, 3}},
            {"a.stl", tool_test::StlBytes(Cube()), {1, 3, -2}},
            {"a.3mf", tool_test::Bytes3mf(tool_test::ModelOf3mf(Cube(), "")), {1, 3, -2}},
            {"a.dxf", tool_test::DxfText(Cube(), ""), {1, 3, -2}},
            {"x.dae", Dae("<unit meter=\"0.01\"/><up_axis>X_UP</up_axis>"), {-2, 1, 3}},
            {"y.dae", Dae("<unit meter=\"0.01\"/><up_axis>Y_UP</up_axis>"), {1, 2, 3}},
            {"z.dae", Dae("<unit meter=\"0.01\"/><up_axis>Z_UP</up_axis>"), {1, 3, -2}}};
}

TEST(Axes, OfFilesAreTurnedAndTheTurnIsTold) {
    const TemporaryFolder folder;
    for (const AxisCase& one : AxisCases()) {
        const Model model = Read(folder.write(one.name, one.bytes));
        EXPECT_EQ(Apply(model.placements.at(0).world, {1, 2, 3}), one.world) << one.name;
        EXPECT_EQ(Apply(model.fileToWorld, {1, 2, 3}), one.world) << one.name;
    }
}

TEST(Axes, OfTheUserWinAndMeanThoseOfTheFile) {
    const TemporaryFolder folder;
    for (const AxisCase& one : AxisCases()) {
        ModelRequest request = FileRequest(folder.write(one.name, one.bytes));
        for (const auto& [up, world] : std::vector<std::pair<UpAxis, Vector>>{
                 {UpAxis::X, {-2, 1, 3}}, {UpAxis::Y, {1, 2, 3}}, {UpAxis::Z, {1, 3, -2}}}) {
            request.up = up;
            const Model model = kxcontour::ReadModel(request);
            EXPECT_EQ(Apply(model.placements.at(0).world, {1, 2, 3}), world) << one.name;
            EXPECT_EQ(Apply(model.fileToWorld, {1, 2, 3}), world) << one.name;
        }
    }
}

TEST(Axes, OfFbxAreInItsSettings) {
    const TemporaryFolder folder;
    const Vector expected[] = {{-2, 1, 3}, {1, 2, 3}, {1, 3, -2}};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const Model model = Read(folder.write("a.fbx", Fbx(kFbxAxis, std::to_string(axis))));
        EXPECT_EQ(Apply(model.fileToWorld, {1, 2, 3}), expected[axis]);
    }
}

TEST(Axes, OfAModelWithAFrontOfItsOwnStayWhenTheUserNamesTheSameAxis) {
    // This importer turns the file's (x, y, z) to (-y, z, -x): z is up, x is the front.
    ModelRequest request = FileRequest(ASSIMP_MODELS "/MDL/MDL (HL1)/alpha_test.mdl");
    const Model own = kxcontour::ReadModel(request);
    EXPECT_EQ(Apply(own.fileToWorld, {1, 2, 3}), Vector(-2, 3, -1));
    request.up = UpAxis::Z;
    const Model named = kxcontour::ReadModel(request);
    EXPECT_TRUE(named.fileToWorld == own.fileToWorld);
    EXPECT_TRUE(named.placements.at(0).world == own.placements.at(0).world);
}

} // namespace
