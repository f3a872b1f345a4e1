// The feature edges of a mesh are those of its repaired surface. Their indices are valid for the
// mesh itself: repair adds vertices only at positions of existing ones, after them, and lines refer
// to the first vertex at each position. O(n log n), within the tolerances of Tolerances.h.
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
