// A mesh's own outline: that of its repaired surface. Repair adds vertices only at places where the
// mesh has some, which come first, and lines name the first vertex at a place.
#include <ctr/FeatureEdges.h>

#include <Wm4Foundation.h>

namespace ctr {
namespace {

Wm4::Matrix4<double> MatrixOf(const kx::kxGenericTransformation<float>& transformation) {
    Wm4::Matrix4<double> matrix;
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            matrix[row][column] = static_cast<double>(transformation.GetMatrix()[row][column]);
        }
    }
    return matrix;
}

} // namespace

kx::kxPointer<kx::kxOutlineMetadata> FindFeatureEdges(const kx::kxTriMesh& mesh,
                                                      const FeatureEdgeOptions& options) {
    const kx::kxPointer<kx::kxVertexBuffer> vertices = mesh.GetVertexBuffer();
    const kx::kxPointer<kx::kxIndexBuffer> triangles = mesh.GetIndexBuffer();
    if (!vertices || !triangles || vertices->GetAttributes().GetPositionChannels() != 3) {
        return {};
    }
    Surface surface(vertices, triangles);
    surface.repair(options.welding);
    return surface.featureEdges(options.angleInDegrees, MatrixOf(mesh.GetWorldTransformation()));
}

} // namespace ctr
