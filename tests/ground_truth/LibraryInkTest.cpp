// What a host draws of meshes in memory through the library alone, beside what the tool draws of
// the same meshes in a file: with the feature edges that the library finds, the ink is the same
// whatever vertices and normals the meshes have.
#include <ctr/ctr.h>

#include <kxSceneGraph/kxTriMesh.h>

#include "FileDrawing.h"
#include "LineComparison.h"
#include "WornModel.h"
#include "examples/Scene.h"
#include "import/ModelReader.h"
#include "tool/ModelText.h"
#include "tool/SvgFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using ground_truth::FileDrawing;
using ground_truth::FlatLine;
using ground_truth::Shape;
using ground_truth::Solid;
using MeshPointer = kx::kxPointer<kx::kxTriMesh>;
using Vector = Wm4::Vector3<double>;

/// Half a degree of azimuth and elevation off, no edge of these shapes is seen end-on.
constexpr double kAzimuth = 40.5;
constexpr double kElevation = 34.5;
const std::string kToolView = "--azimuth 40.5 --elevation 34.5 --scale 1:1 --page A3";
constexpr double kMost = 0.01; ///< Of the tool's ink.

std::string NormalLine(Vector normal) {
    normal /= normal.Length();
    std::array<char, 120> line{};
    std::snprintf(line.data(), line.size(), "vn %.6f %.6f %.6f\n", normal[0], normal[1], normal[2]);
    return line.data();
}

/// With one normal for each vertex: the sum of those of its triangles.
std::string SmoothObjText(const Solid& solid) {
    std::vector<Vector> normals(solid.vertices.size(), Vector(0.0, 0.0, 0.0));
    std::string faces;
    for (const auto& triangle : solid.triangles) {
        const auto& [a, b, c] = triangle;
        faces += "f";
        for (const std::size_t vertex : triangle) {
            normals[vertex] += (solid.vertices[b] - solid.vertices[a])
                                   .Cross(solid.vertices[c] - solid.vertices[a]);
            faces += " " + std::to_string(vertex + 1) + "//" + std::to_string(vertex + 1);
        }
        faces += "\n";
    }
    std::string text;
    for (const Vector& normal : normals) {
        text += NormalLine(normal);
    }
    // What comes before the faces are the vertices.
    const std::string plain = ObjText(solid);
    return plain.substr(0, plain.find('f')) + text + faces;
}

/// A mesh for each part of a file, as a host would make it.
std::vector<MeshPointer> MeshesOf(const std::string& path) {
    const kxcontour::Model model = kxcontour::ReadModel(tool_test::FileRequest(path));
    std::vector<MeshPointer> meshes;
    for (const kxcontour::Placement& placement : model.placements) {
        const kxcontour::Shape& shape = model.shapes[placement.shape];
        EXPECT_EQ(placement.world, Wm4::Matrix4<double>(false));
        meshes.push_back(new kx::kxTriMesh(shape.vertices.get(), shape.triangles.get()));
    }
    return meshes;
}

std::vector<FlatLine> LinesOf(const tool_test::SvgFile& svg) {
    std::vector<FlatLine> lines;
    for (const tool_test::SvgGroup& group : svg.groups) {
        for (const tool_test::SvgPath& path : group.paths) {
            for (std::size_t i = 1; i < path.size(); ++i) {
                lines.push_back({path[i - 1], path[i]});
            }
        }
    }
    return lines;
}

std::vector<FlatLine> DrawnByTool(const tool_test::TemporaryFolder& folder,
                                  const std::string& options = "") {
    return FileDrawing(folder, "model.obj", kToolView + " " + options).lines();
}

Solid SolidOf(const kxcontour::Shape& shape) {
    Solid solid;
    for (int i = 0; i < shape.vertices->GetVertexQuantity(); ++i) {
        const example::Point& p = shape.vertices->Position3(i);
        solid.vertices.emplace_back(double{p[0]}, double{p[1]}, double{p[2]});
    }
    for (int i = 0; i + 2 < shape.triangles->GetIndexQuantity(); i += 3) {
        const unsigned int* corner = shape.triangles->GetData() + i;
        solid.triangles.push_back({corner[0], corner[1], corner[2]});
    }
    return solid;
}

/// The middle of all vertices' box.
example::Point MiddleOf(const std::vector<MeshPointer>& meshes) {
    example::Point low = meshes.front()->GetVertexBuffer()->Position3(0);
    example::Point high = low;
    for (const MeshPointer& mesh : meshes) {
        for (int i = 0; i < mesh->GetVertexBuffer()->GetVertexQuantity(); ++i) {
            const example::Point& p = mesh->GetVertexBuffer()->Position3(i);
            for (int axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], p[axis]);
                high[axis] = std::max(high[axis], p[axis]);
            }
        }
    }
    return 0.5F * (low + high);
}

/// Draws as the first example does, a millimetre to a unit.
std::vector<FlatLine> DrawnByLibrary(const tool_test::TemporaryFolder& folder,
                                     const std::vector<MeshPointer>& meshes) {
    constexpr float kSide = 400.0F;
    const ctr::DiscreteProjectionSpace camera =
        example::MakeCamera({.azimuth = kAzimuth,
                             .elevation = kElevation,
                             .middle = MiddleOf(meshes),
                             .size = {kSide, kSide, kSide}});
    std::vector<const kx::kxTriMesh*> borrowed;
    for (const MeshPointer& mesh : meshes) {
        borrowed.push_back(mesh.get());
    }
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(camera);
    generator.setContactTolerance(2);
    generator.setSingleExportCluster(borrowed, nullptr);
    ctr::GeometricFeatures features;
    generator.computeGeometricFeatures(features, 0, true);
    ctr::ExportParameters page(camera);
    page.setPageSizeInMM({kSide, kSide});
    page.computeBestFitTransform();
    ctr::SVGExporter svg;
    svg.setExportParameters(page);
    EXPECT_TRUE(svg.openFile(folder.path("library.svg")));
    EXPECT_TRUE(svg.streamGeometricFeatures(features));
    EXPECT_TRUE(svg.closeFile());
    return LinesOf(tool_test::ReadSvg(folder.path("library.svg")));
}

/// No two lines between the same places.
void ExpectEachLineOnce(const kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& lines) {
    std::set<std::set<std::array<float, 3>>> different;
    for (int i = 0; i + 1 < lines.GetIndexQuantity(); i += 2) {
        std::set<std::array<float, 3>> ends;
        for (int k = i; k < i + 2; ++k) {
            ASSERT_LT(lines.GetData()[k], static_cast<unsigned int>(vertices.GetVertexQuantity()));
            const example::Point& p = vertices.Position3(static_cast<int>(lines.GetData()[k]));
            ends.insert({p[0] + 0.0F, p[1] + 0.0F, p[2] + 0.0F});
        }
        EXPECT_EQ(ends.size(), 2U);
        EXPECT_TRUE(different.insert(ends).second) << "line " << i / 2 << " is there twice";
    }
}

void AddFeatureEdges(const std::vector<MeshPointer>& meshes) {
    for (const MeshPointer& mesh : meshes) {
        const kx::kxPointer<kx::kxOutlineMetadata> edges = ctr::FindFeatureEdges(*mesh);
        ASSERT_TRUE(edges);
        ExpectEachLineOnce(*mesh->GetVertexBuffer(), *edges->getIBuffer());
        mesh->AddMetadata(edges.get());
    }
}

/// The same meshes made whole, for silhouettes and intersections as well.
std::vector<MeshPointer> Repaired(const std::vector<MeshPointer>& meshes) {
    std::vector<MeshPointer> repaired;
    for (const MeshPointer& mesh : meshes) {
        ctr::Surface surface(mesh->GetVertexBuffer(), mesh->GetIndexBuffer());
        surface.repair({});
        repaired.push_back(new kx::kxTriMesh(surface.vertices().get(), surface.triangles().get()));
        repaired.back()->AddMetadata(surface.featureEdges(30.0).get());
    }
    return repaired;
}

enum class Normals : std::uint8_t { None, Split, Smooth };
constexpr std::array<const char*, 3> kNormalNames{"positions alone", "split normals",
                                                  "smooth normals"};

std::string FileOf(const Solid& solid, Normals normals) {
    switch (normals) {
    case Normals::None:
        return ObjText(solid);
    case Normals::Split:
        return FlatObjText(solid);
    default:
        return SmoothObjText(solid);
    }
}

/// Smooth normals would hide edges from the tool unless the angle is given.
std::string OptionsFor(Normals normals) {
    return normals == Normals::Smooth ? "--crease-angle 30" : "";
}

std::vector<std::pair<std::string, Solid>> Solids() {
    std::vector<std::pair<std::string, Solid>> solids{
        {"box", ground_truth::Extruded({{0, 0}, {90, 0}, {90, 50}, {0, 50}}, 30)}};
    for (const Shape shape : {Shape::Cylinder, Shape::Sphere, Shape::LProfile, Shape::Gear,
                              Shape::Stairs, Shape::HoledPlate, Shape::Tube}) {
        solids.emplace_back(NameOf(shape), Make(shape));
        for (Vector& vertex : solids.back().second.vertices) {
            vertex *= 10.0;
        }
    }
    return solids;
}

void PrintInk(const std::string& name, double tool, double before, double after) {
    std::printf("%-30s %8.1f mm by the tool; the library %5.3f times as much, %6.4f with feature "
                "edges\n",
                name.c_str(), tool, before / tool, after / tool);
}

double LengthOnceEach(const std::vector<FlatLine>& lines) {
    constexpr double kOnEachOther = 0.02;
    return LengthOf(EachOnce(lines, kOnEachOther));
}

/// Compares the drawings of an OBJ file by the tool and by the library with feature edges.
void ExpectTheInkOfTheTool(const std::string& name,
                           const std::string& text,
                           double (*inkOf)(const std::vector<FlatLine>&),
                           const std::string& options = "") {
    const tool_test::TemporaryFolder folder;
    const std::vector<MeshPointer> meshes = MeshesOf(folder.write("model.obj", text));
    const double tool = inkOf(DrawnByTool(folder, options));
    const double before = inkOf(DrawnByLibrary(folder, meshes));
    AddFeatureEdges(meshes);
    const double after = inkOf(DrawnByLibrary(folder, meshes));
    PrintInk(name, tool, before, after);
    EXPECT_NEAR(after, tool, kMost * tool);
}

TEST(LibraryInk, IsTheToolsWhateverNormalsAMeshHas) {
    for (const auto& [name, solid] : Solids()) {
        for (const Normals normals : {Normals::None, Normals::Split, Normals::Smooth}) {
            const std::string row = name + ", " + kNormalNames[static_cast<std::size_t>(normals)];
            SCOPED_TRACE(row);
            ExpectTheInkOfTheTool(row, FileOf(solid, normals), &ground_truth::LengthOf,
                                  OptionsFor(normals));
        }
    }
}

/// Its parts touch, and where lines of two parts lie on each other the tool draws one.
TEST(LibraryInk, OfTheBracketIsTheTools) {
    ExpectTheInkOfTheTool("bracket", tool_test::ReadBytes(COOKBOOK_FOLDER "/models/bracket.obj"),
                          &LengthOnceEach);
}

TEST(LibraryInk, OfEachPartOfTheBracketIsTheTools) {
    const kxcontour::Model model =
        kxcontour::ReadModel(tool_test::FileRequest(COOKBOOK_FOLDER "/models/bracket.obj"));
    ASSERT_EQ(model.shapes.size(), 4U);
    for (const kxcontour::Shape& shape : model.shapes) {
        ExpectTheInkOfTheTool("part of the bracket", ObjText(SolidOf(shape)),
                              &ground_truth::LengthOf);
    }
}

TEST(LibraryInk, OfRepairedSurfacesIsTheTools) {
    constexpr std::uint64_t kSeed = 14;
    for (const auto& [name, sound] : Solids()) {
        const std::array<std::pair<const char*, Solid>, 3> worn{
            {{"cracked", Cracked(sound, 1e-5, kSeed)},
             {"T-junctions", WithTJunctions(sound, kSeed)},
             {"cracked T-junctions", Cracked(WithTJunctions(sound, kSeed), 1e-6, kSeed)}}};
        for (const auto& [wear, solid] : worn) {
            const std::string row = name + ", " + wear;
            SCOPED_TRACE(row);
            const tool_test::TemporaryFolder folder;
            const std::string path = folder.write("model.obj", ObjText(solid));
            const double tool = LengthOf(DrawnByTool(folder));
            const std::vector<MeshPointer> meshes = MeshesOf(path);
            const double before = LengthOf(DrawnByLibrary(folder, meshes));
            const double repaired = LengthOf(DrawnByLibrary(folder, Repaired(meshes)));
            PrintInk(row, tool, before, repaired);
            EXPECT_NEAR(repaired, tool, kMost * tool);
        }
    }
}

} // namespace
