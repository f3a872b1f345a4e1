// Names of objects: those in files, and those that importers make up.
#include "import/importer/ObjectName.h"

#include "ModelText.h"
#include "ShapeBuilders.h"
#include "import/ModelReader.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::Model;
using kxcontour::StatedName;
using tool_test::MeshData;
using tool_test::TemporaryFolder;

using Names = std::vector<std::string>;

MeshData Cube() {
    return test_support::Box({0, 0, 0}, {1, 2, 3});
}

Model ReadText(const std::string& name, const std::string& text) {
    const TemporaryFolder folder;
    return kxcontour::ReadModel(tool_test::FileRequest(folder.write(name, text)));
}

/// A mesh of that many primitives; without a name when that is empty.
std::string GltfMesh(const std::string& name, int primitives) {
    std::string text = "{";
    text += name.empty() ? "" : R"("name":")" + name + R"(",)";
    text += R"("primitives":[)";
    for (int i = 0; i < primitives; ++i) {
        text += std::string(i > 0 ? "," : "") + tool_test::kGltfPrimitive;
    }
    return text + "]}";
}

TEST(StatedName, KeepsTheNamesOfFiles) {
    for (const char* name : {"Gehäuse", "nodes", "node_7", "Layer_top", "中国菜", "<a", "_1",
                             "Sphere_0", "nodes[a]", "Root", ""}) {
        EXPECT_EQ(StatedName(name), name);
    }
}

TEST(StatedName, DropsWhatImportersMakeUp) {
    for (const char* name :
         {"nodes[7]", "nodes_12", "meshes[0]", "Layer_0", "Pivot-Layer_3", "3DSMesh_4", "<OFFRoot>",
          "<>", "$ColladaAutoName$_0", "RootNode", "ROOT", "IfcMappedItem"}) {
        EXPECT_EQ(StatedName(name), "") << name;
    }
    EXPECT_EQ(StatedName("Lid_$AssimpFbx$_Rotation"), "Lid");
}

TEST(Objects, AreTheNodesWithTriangles) {
    const Model model = ReadText(
        "a.gltf",
        tool_test::GltfText(
            Cube(),
            R"([{"name":"group","children":[1,2,3]},{"name":"Gehäuse","mesh":0},)"
            R"({"name":"Gehäuse","mesh":1},{"name":"empty","children":[4]},{"name":"lid","mesh":0}])",
            "[" + GltfMesh("two", 2) + "," + GltfMesh("one", 1) + "]"));
    EXPECT_EQ(model.objects, (Names{"Gehäuse", "Gehäuse", "lid"}));
    std::vector<std::size_t> objects;
    for (const kxcontour::Placement& placement : model.placements) {
        objects.push_back(placement.object);
    }
    EXPECT_EQ(objects, (std::vector<std::size_t>{0, 0, 1, 2, 2})) << "two primitives, one object";
}

TEST(Objects, WithoutANameTakeThatOfTheirMeshOrOfANodeAbove) {
    const Model model =
        ReadText("a.gltf",
                 tool_test::GltfText(
                     Cube(),
                     R"([{"name":"top","children":[1]},{"name":"arm","mesh":1,"children":[2,3,4]},)"
                     R"({"mesh":0},{"mesh":1},{"children":[5]},{"mesh":2}])",
                     "[" + GltfMesh("hand-2", 2) + "," + GltfMesh("", 1) + "," +
                         GltfMesh("nail-2", 1) + "]"));
    EXPECT_EQ(model.objects, (Names{"arm", "hand-2", "arm", "nail-2"}));
}

TEST(Objects, OfObjFilesAreItsObjects) {
    const Model model = ReadText("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\no first_part\nf 1 2 3\n"
                                          "o second\nf 1 3 2\n");
    EXPECT_EQ(model.objects, (Names{"first_part", "second"}));
}

TEST(Objects, OfColladaHaveNamesNotIdentifiers) {
    const Model model = ReadText(
        "a.dae",
        tool_test::DaeText(Cube(), "<node id=\"ID7\" name=\"Lid &amp; hinge\"><instance_geometry "
                                   "url=\"#m\"/></node><node id=\"ID8\"><instance_geometry "
                                   "url=\"#m\"/></node>"));
    ASSERT_EQ(model.objects.size(), 2U);
    EXPECT_EQ(model.objects[0], "Lid & hinge");
    EXPECT_EQ(model.objects[1], "m") << "the mesh's, which has an identifier only";
}

TEST(Objects, OfFormatsWithoutNamesHaveNone) {
    EXPECT_EQ(ReadText("a.ply", tool_test::PlyText(Cube())).objects, Names{""});
    EXPECT_EQ(ReadText("a.off", tool_test::OffText(Cube())).objects, Names{""});
    EXPECT_EQ(ReadText("a.x3d", tool_test::X3dText("1 2 3", "")).objects, Names{""});
}

} // namespace
