// A small scene with every feature of a drawing, and drawings and sets as bytes to compare.
#pragma once

#include <ctr/ExportParameters.h>
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/LineSegmentSet.h>
#include <ctr/SVGExporter.h>

#include <kxSceneGraph/kxOutlineMetadata.h>

#include "linesets/SegmentBuilders.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace test_support {

/// A path that no other running test uses.
inline std::string OwnPath(const std::string& name) {
    return testing::TempDir() + "ctr_faults_" + std::to_string(getpid()) + "_" + name + ".svg";
}

inline std::string FileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A buffer's indices as text.
inline std::string IndicesText(const kx::kxIndexBuffer* buffer) {
    std::ostringstream text;
    for (const unsigned int index : IndicesOf(buffer)) {
        text << index << ' ';
    }
    return text.str();
}

/// Ranges number by number as text.
inline std::string RangesText(const std::vector<ctr::RationalInterval>& ranges) {
    std::ostringstream text;
    for (const auto& numbers : NumbersOf(ranges)) {
        text << '[' << numbers[0] << '/' << numbers[1] << ' ' << numbers[2] << '/' << numbers[3]
             << ']';
    }
    return text.str();
}

/// Positions bit by bit as text.
inline std::string PositionsText(const kx::kxVertexBuffer* buffer) {
    std::ostringstream text;
    for (const Vec3& position : PositionsOf(buffer)) {
        for (const std::uint32_t bits : Bits(position)) {
            text << bits << ' ';
        }
    }
    return text.str();
}

/// All that a set holds, bit by bit, as text; "null" for none.
inline std::string BytesOf(const ctr::LineSegmentSet* set) {
    if (set == nullptr) {
        return "null\n";
    }
    std::ostringstream text;
    text << IndicesText(set->GetIndexBuffer()) << '\n' << PositionsText(set->GetVertexBuffer());
    for (const auto& ranges : set->occlusionIntervals) {
        text << '\n' << RangesText(ranges);
    }
    for (const auto& record : set->clipRanges) {
        text << '\n';
        for (const float number : NumbersOf(record)) {
            text << Bits(number) << ' ';
        }
    }
    text << '\n';
    for (const bool flag : set->segmentFlags) {
        text << flag;
    }
    return text.str();
}

inline std::string BytesOf(const ctr::GeometricFeatures& features) {
    return BytesOf(features.creaseEdges.get()) + BytesOf(features.silhouetteEdges.get()) +
           BytesOf(features.intersectionEdges.get());
}

/// Two faces that meet in a ridge, with normals that bend there.
inline kx::kxPointer<kx::kxTriMesh> RidgeWithNormals() {
    const Point left(-0.6F, 0.0F, 0.8F);
    const Point right(0.6F, 0.0F, 0.8F);
    return MakeMesh({Point(-9, -2, 4), Point(-3, -2, 7), Point(-3, 11, 7), Point(-9, 11, 4),
                     Point(-3, -2, 7), Point(8, -2, 1), Point(8, 11, 1), Point(-3, 11, 7)},
                    {left, left, left, left, right, right, right, right},
                    {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7});
}

/// A plate that reaches out of the view and brings its own outline, a segment of it twice.
inline kx::kxPointer<kx::kxTriMesh> OutlinedPlate() {
    kx::kxPointer<kx::kxTriMesh> plate =
        MakeMesh(Quad(Point(-25, -8, -3), Point(25, -8, 3), Point(25, 2, 3), Point(-25, 2, -3)));
    const IndicesPointer outline = MakeIndices({0, 1, 1, 2, 2, 3, 3, 0, 1, 0});
    plate->AddMetadata(new kx::kxOutlineMetadata(outline));
    return plate;
}

/// Meshes that intersect, hide and share lines, a null among them, all but the first partly outside
/// the view; a mesh that only hides; and the view.
struct SmallScene {
    SmallScene() {
        meshes.push_back(MakeMesh(Box({-6, -5, -4}, {3, 4, 5})));
        meshes.push_back(MakeMesh(Box({-2, -3, -27}, {7, 6, 2})));
        meshes.emplace_back(nullptr);
        meshes.push_back(RidgeWithNormals());
        meshes.push_back(OutlinedPlate());
        meshes.push_back(MakeMesh(Triangle({-30, 1, 0}, {4, -9, 6}, {2, 30, -5})));
        hiding.push_back(MakeMesh(Triangle({-20, -20, -20}, {4, 0, -12}, {-5, 9, -12})));
    }

    std::vector<kx::kxPointer<kx::kxTriMesh>> meshes;
    std::vector<kx::kxPointer<kx::kxTriMesh>> hiding;
    ctr::DiscreteProjectionSpace space = SlantedSpace(8, 8, 20.0F);
};

/// Bakes the scene into a generator and computes its lines.
inline void DrawScene(ctr::GeometricFeaturesGenerator& generator,
                      const SmallScene& scene,
                      ctr::GeometricFeatures& features) {
    const std::vector<const kx::kxTriMesh*> occluders = MeshList(scene.hiding);
    generator.setProjectionSpace(scene.space);
    generator.setSingleExportCluster(MeshList(scene.meshes), &occluders);
    generator.computeGeometricFeatures(features, 0, true);
}

/// Writes a file with all lines of a record; false when the exporter says so.
inline bool WriteDrawing(ctr::SVGExporter& exporter,
                         const ctr::DiscreteProjectionSpace& space,
                         const ctr::GeometricFeatures& features,
                         const std::string& path) {
    exporter.setExportParameters(ctr::ExportParameters(space));
    return exporter.openFile(path) && exporter.streamGeometricFeatures(features) &&
           exporter.closeFile();
}

} // namespace test_support
