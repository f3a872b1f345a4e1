// A host application in small: a square in front of a smaller one, drawn through the installed
// library. Writes the drawing to the given file and says how many lines are visible and hidden.
#include <ctr/ctr.h>

#include <Wm4Foundation.h>
#include <kxCommonAddOns/kxLinearGenericBVHBuilder.h>
#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxPointer.h>

#include <cstddef>
#include <iostream>
#include <vector>

namespace {

// A square across the z axis, as two triangles.
kx::kxPointer<kx::kxTriMesh> MakeSquare(float halfWidth, float z) {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(3);
    kx::kxPointer<kx::kxVertexBuffer> vertices(new kx::kxVertexBuffer(attributes, 4));
    vertices->Position3(0) = Wm4::Vector3<float>(-halfWidth, -halfWidth, z);
    vertices->Position3(1) = Wm4::Vector3<float>(halfWidth, -halfWidth, z);
    vertices->Position3(2) = Wm4::Vector3<float>(halfWidth, halfWidth, z);
    vertices->Position3(3) = Wm4::Vector3<float>(-halfWidth, halfWidth, z);
    for (int i = 0; i < 4; ++i) {
        vertices->Normal3(i) = Wm4::Vector3<float>(0.0f, 0.0f, -1.0f);
    }

    const unsigned int corners[] = {0, 1, 2, 0, 2, 3};
    kx::kxPointer<kx::kxIndexBuffer> triangles(new kx::kxIndexBuffer(6, kx::IBT_TRIANGLES));
    for (int i = 0; i < 6; ++i) {
        triangles->GetData()[i] = corners[i];
    }
    return kx::kxPointer<kx::kxTriMesh>(new kx::kxTriMesh(vertices.get(), triangles.get()));
}

std::size_t CountHidden(const ctr::LineSegmentSet& set) {
    std::size_t hidden = 0;
    for (const std::vector<ctr::RationalInterval>& ranges : set.occlusionIntervals) {
        hidden += ranges.empty() ? 0 : 1;
    }
    return hidden;
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::cerr << "usage: consumer DRAWING.svg\n";
        return 2;
    }
    const kx::kxPointer<kx::kxTriMesh> front = MakeSquare(0.5f, -0.5f);
    const kx::kxPointer<kx::kxTriMesh> back = MakeSquare(0.25f, 0.5f);

    ctr::DiscreteProjectionSpace space;
    space.setVoxelBitSize(20, 19);

    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(space);
    generator.setSingleExportCluster({front.get(), back.get()}, nullptr);
    ctr::GeometricFeatures features;
    generator.computeGeometricFeatures(features, 0, false);
    if (!features.creaseEdges) {
        std::cerr << "no lines\n";
        return 1;
    }

    ctr::SVGExporter exporter;
    exporter.setExportParameters(ctr::ExportParameters(space));
    if (!exporter.openFile(arguments[1]) || !exporter.streamGeometricFeatures(features) ||
        !exporter.closeFile()) {
        std::cerr << "cannot write " << arguments[1] << "\n";
        return 1;
    }
    std::cout << "version " << kxContouringLib::Version::GetMajor() << ", "
              << features.creaseEdges->GetIndexBuffer()->GetIndexQuantity() / 2 << " lines, "
              << CountHidden(*features.creaseEdges) << " hidden\n";
    return 0;
}
