// What the passes over baked triangles rely on without looking.
#pragma once

namespace ctr {

class BakedTriangles;

/// Whether the corners of triangles are vertices, and the nodes and slots of the hierarchy lead to
/// each other and to triangles without a circle. O(n).
bool HierarchyLeadsToTriangles(const BakedTriangles& baked);

/// Whether each mesh has its range of vertices and triangles. O(number of meshes).
bool MeshesLeadToTriangles(const BakedTriangles& baked);

} // namespace ctr
