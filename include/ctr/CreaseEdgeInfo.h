// Crease edges of a triangle mesh as pairs of vertex numbers.
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
    /// Bits 0 to 30: the second vertex. Bit 31: every vertex normal that was looked at for this
    /// edge is perpendicular to it.
    std::uint32_t vertexB;
};

/// Finds the edges across which the vertex normals bend by more than a threshold, and the borders.
///
/// triangles is a triangle list; an incomplete last triangle is ignored. Edges meet where both end
/// positions are equal, float by float, whatever their vertex numbers, so split vertices count as
/// one point. An edge of one triangle is always written. Of two or more edges at one place, those
/// with a normal at either end that makes more than angleInDegrees with the first edge's are
/// written, and the first with them; the same pair of vertices is written once. Normals are taken
/// as stored, not normalised. Edges come sorted by the positions of their ends.
///
/// Returns false for a null buffer or one without vertices (edges is then empty) and when cancel
/// says so, which is asked after every 1000 triangles (edges is then empty), before every group of
/// edges at one place and at the end (edges then holds the groups done so far). Triangles with a
/// vertex that does not exist or has no position are left out. O(n log n) in the number of
/// triangles.
CTR_EXPORT bool ComputeCreaseEdgeInfo(std::vector<CreaseEdgeInfo>& edges,
                                      const kx::kxVertexBuffer* vertices,
                                      const kx::kxIndexBuffer* triangles,
                                      float angleInDegrees,
                                      const kx::kxCancelInterfaceReadOnly& cancel);

/// Writes the edges as a line list into a new buffer; flags, when given, takes bit 31 of each edge.
///
/// Returns false, leaving a null buffer and no flags, for no edge or more than 0x3fffffff edges.
CTR_EXPORT bool MakeBuffersFromEdgeInfo(const std::vector<CreaseEdgeInfo>& edges,
                                        kx::kxPointer<kx::kxIndexBuffer>& lines,
                                        std::vector<bool>* flags);

/// Adds the segments of a line list to edges that ComputeCreaseEdgeInfo() wrote.
///
/// tags gets one entry an edge: 1 = from the line list only, 2 = a crease only, 3 = both. Segments
/// are turned in place so that the smaller position comes first; a segment that no edge equals
/// (by vertex numbers) is appended once, however often it is listed, and one whose vertices do not
/// exist is left as it is, without a tag. lines may be null. Returns false for a null vertex buffer
/// or one without vertices. O((n + m) log (n + m)).
CTR_EXPORT bool ComputeEdgeInfoFromIBuffer(std::vector<CreaseEdgeInfo>& edges,
                                           const kx::kxVertexBuffer* vertices,
                                           kx::kxIndexBuffer* lines,
                                           std::vector<unsigned char>& tags);

} // namespace ctr
