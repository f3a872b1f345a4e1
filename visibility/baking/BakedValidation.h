// Invariants of baked triangles that the passes over them assume.
#pragma once

namespace ctr {

class BakedTriangles;

/// Whether corners are existing vertices, and the hierarchy is a tree whose children and slots
/// exist. O(n).
bool HasValidBvh(const BakedTriangles& baked);

/// Whether the ranges of vertices and triangles of the meshes are consistent. O(m) for m meshes.
bool HasValidMeshRanges(const BakedTriangles& baked);

} // namespace ctr
