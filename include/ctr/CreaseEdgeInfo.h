// Crease edges of a triangle mesh as pairs of vertex indices.
#pragma once

#include <ctr/Export.h>

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxCancelInterfaceReadOnly.h>
#include <kxSystem/kxPointer.h>

#include <cstdint>
#include <vector>

namespace ctr {

/// One edge. The position of vertexA is not greater than that of vertexB (x, then y, then z).
struct CreaseEdgeInfo {
    std::uint32_t vertexA; ///< The vertex that comes first by position.
    /// Bits 0 to 30: the second vertex. Bit 31: every vertex normal n that was examined for this
    /// edge d is perpendicular to it, up to |n . d| < |d| / 1024.
    std::uint32_t vertexB;
};

/// Finds the edges across which the vertex normals differ by more than an angle, and boundary
/// edges.
///
/// triangles is a triangle list; an incomplete last triangle is ignored. Edges coincide if both end
/// positions are equal, float by float, whatever their vertex indices, so split vertices count as
/// one point. A boundary edge (of one triangle) is always written. Of two or more coincident edges,
/// those with a normal at either end that makes more than angleInDegrees with that of the first
/// edge are written, together with the first; each pair of vertices is written once. Normals are
/// used as stored, not normalised. Edges are sorted by the positions of their ends.
///
/// Returns false for a null buffer or one without vertices (edges is then empty) and if cancelled.
/// Cancellation is polled after every 1000 triangles (edges is then empty), before each group of
/// coincident edges and at the end (edges then has the groups done so far). Triangles with an index
/// out of range or a vertex without position are left out. O(n log n) in the number of triangles.
CTR_EXPORT bool ComputeCreaseEdgeInfo(std::vector<CreaseEdgeInfo>& edges,
                                      const kx::kxVertexBuffer* vertices,
                                      const kx::kxIndexBuffer* triangles,
                                      float angleInDegrees,
                                      const kx::kxCancelInterfaceReadOnly& cancel);

/// Writes the edges as a line list into a new buffer; flags, if given, receives bit 31 of each
/// edge.
///
/// Returns false, with a null buffer and no flags, for no edges or more than 0x3fffffff edges.
/// Linear time.
CTR_EXPORT bool MakeBuffersFromEdgeInfo(const std::vector<CreaseEdgeInfo>& edges,
                                        kx::kxPointer<kx::kxIndexBuffer>& lines,
                                        std::vector<bool>* flags);

/// Adds the segments of a line list to edges written by ComputeCreaseEdgeInfo().
///
/// tags receives one entry per edge: 1 = from the line list only, 2 = a crease only, 3 = both.
/// Segments are oriented in place so that the smaller position comes first. A segment that equals
/// no edge (by vertex indices) is appended once, however often it is listed; one with an index out
/// of range is left unchanged, without a tag. lines may be null. Returns false for a null vertex
/// buffer or one without vertices. O((n + m) log (n + m)).
CTR_EXPORT bool ComputeEdgeInfoFromIBuffer(std::vector<CreaseEdgeInfo>& edges,
                                           const kx::kxVertexBuffer* vertices,
                                           kx::kxIndexBuffer* lines,
                                           std::vector<unsigned char>& tags);

} // namespace ctr
