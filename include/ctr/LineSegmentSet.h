// The container for all kinds of lines, and the operations on sets.
#pragma once

#include <ctr/Export.h>
#include <ctr/IntervalTools.h>

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxLine.h>
#include <kxSceneGraph/kxTriMesh.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxCancelInterfaceReadOnly.h>
#include <kxSystem/kxPointer.h>

#include <cstdint>
#include <vector>

namespace ctr {

/// A list of line segments: a line geometry with up to three records per segment.
///
/// Indices 2i and 2i + 1 of the index buffer are segment i; an odd last index is ignored. A segment
/// with an index out of range or a vertex without position is hidden, has no visible piece and
/// equals no other. Each of the three vectors is either empty or has one entry per segment. Sets
/// are created with new, share their buffers by reference counting and are freed through their
/// virtual destructor or by reference counting. A set is filled by one thread; afterwards any
/// number may read it.
class CTR_EXPORT LineSegmentSet : public kx::kxLine {
public:
    /// The part of a segment inside the view: its parameters t0 and t1 and the clip-space w of its
    /// ends. Nothing is inside unless t0 < t1.
    struct ClipRange {
        float t0; ///< Start of the part.
        float t1; ///< End of the part.
        float w0; ///< Clip-space w at t0.
        float w1; ///< Clip-space w at t1.
    };

    /// One run of consecutive segments in an index buffer, linked into chains.
    struct CTR_EXPORT ArcFeature {
        /// Clears the flags of all segments of this record and the following ones in the chain.
        /// Linear in the number of segments, as is the next operation.
        void removeStraightLineFlags(std::vector<bool>& straightLineFlags) const;

        /// Reverses this record and the following ones in the chain, each in place: the order of
        /// its segments and the direction of each. Flags and tags (may be null) move with their
        /// segment.
        void reverseIndexBuffer(unsigned int* indices,
                                std::vector<bool>* straightLineFlags,
                                std::vector<unsigned char>* tags) const;

        std::uint32_t first = 0;    ///< Position of the run's first index; even.
        std::uint32_t end = 0;      ///< Position after the run's last index.
        ArcFeature* prev = nullptr; ///< The previous record of the chain, or null.
        ArcFeature* next = nullptr; ///< The next record of the chain, or null.
        std::uint32_t kind = 0;     ///< Bit 0 (1): a circular arc, bit 1 (2): a straight line.
    };

    /// No vertices, no indices, no records.
    LineSegmentSet();
    ~LineSegmentSet() override;

    /// Copies this set into target, or into a new set if target is null.
    ///
    /// Buffers are shared. A clone never has segmentFlags, not even a set cloned onto itself.
    /// Returns false, writing nothing, if target is of another class. Linear in the number of
    /// records.
    bool Clone(kx::kxRttiInterface*& target) const override;

    /// Whether the set satisfies the invariants of sets made by the library: for hosts that fill
    /// sets, in debug builds, as in assert(set.validate()).
    ///
    /// True if the index buffer, if any, has an even number of indices, each below the number of
    /// vertices; if each of the three vectors is empty or has one entry per segment; if occluded
    /// intervals are within 0 to 1, with positive denominators, and those of one segment in
    /// increasing order without touching; and if clip records with a part inside the view (t0 < t1)
    /// are within 0 to 1 and no w is 0 or less. Operations accept more where documented. O(n) in
    /// the number of segments and intervals, no allocation.
    bool validate() const;

    /// @name Sets from meshes
    /// Each returns a new set that the caller owns, sharing the mesh's vertex buffer, or null.
    /// Wrapping an outline takes constant time; for creases, see ComputeCreaseEdgeInfo().
    /// @{

    /// Wraps a line list over a mesh's vertices. Null if either buffer is null.
    static LineSegmentSet*
    GetOutlineEdgesFromMesh(const kx::kxVertexBuffer* vertices,
                            kx::kxPointer<kx::kxIndexBuffer> outline,
                            const kx::kxGenericTransformation<float>& transformation);

    /// As above, with the vertices and the world transformation of a mesh.
    static LineSegmentSet* GetOutlineEdgesFromTriMesh(const kx::kxTriMesh* mesh,
                                                      kx::kxPointer<kx::kxIndexBuffer> outline);

    /// The creases and boundary edges of a triangle list, as ComputeCreaseEdgeInfo() finds them.
    ///
    /// segmentFlags is filled if withFlags is set. Null if there are no edges, a buffer is null, or
    /// the operation was cancelled.
    static LineSegmentSet* GetCreaseEdgesFromMesh(const kx::kxVertexBuffer* vertices,
                                                  const kx::kxIndexBuffer* triangles,
                                                  const kx::kxCancelInterfaceReadOnly& cancel,
                                                  float angleInDegrees,
                                                  bool withFlags);

    /// As above, for a mesh, whose transformations are copied to the set.
    static LineSegmentSet* GetCreaseEdgesFromTriMesh(const kx::kxTriMesh* mesh,
                                                     const kx::kxCancelInterfaceReadOnly& cancel,
                                                     float angleInDegrees,
                                                     bool withFlags);
    /// @}

    /// @name Operations on sets
    /// @{

    /// Concatenates sets into one new set in world space; the caller owns it.
    ///
    /// Sets that are null or lack a buffer are skipped; null if no vertex or no segment remains.
    /// Vertices are not welded and segments not compared. Occluded intervals are copied, clip
    /// records and flags are not. Throws std::length_error if the number of vertices or indices
    /// exceeds an int. Linear time.
    static LineSegmentSet* FuseLineSegmentSets(const std::vector<LineSegmentSet*>& sets);

    /// Removes from a every segment that b also has, in either direction.
    ///
    /// Positions are compared as stored, exactly, without transformations. Occluded intervals, clip
    /// records and flags stay with their segments; empty flags stay empty. If nothing is left, a
    /// ends without an index buffer. An index buffer that a shares with others, such as a mesh's
    /// outline, is not modified: a gets a copy first. Does nothing if a or b is null, or if b has
    /// no segments but a has. Expected linear time, O((n + m) log m) for any input.
    static void RemoveCommonSegments(LineSegmentSet* a, const LineSegmentSet* b);

    /// A new set of the visible pieces of a set's segments; the caller owns it.
    ///
    /// Each gap between a segment's occluded intervals becomes a piece, however short. Interval
    /// ends are parameters on the projected segment and are mapped back to space with perspective.
    /// Piece ends that are unclipped segment ends still share their vertex; every other end gets a
    /// new vertex. Null without a buffer or a visible piece. For a set without occlusionIntervals,
    /// the result is a new set over the same buffers. Linear in the number of segments and
    /// intervals.
    static LineSegmentSet* BakeVisibleSegments(const LineSegmentSet* source);

    /// Chains the segments of a set into polylines; the caller owns the new set.
    ///
    /// The new set lists the segments chain by chain, each starting where the previous one ends.
    /// Chains pass through vertices that exactly two segments share and end elsewhere. arcs
    /// receives the runs. With compactVertices, the set gets its own vertex buffer in which equal
    /// positions are one vertex; otherwise it shares that of the source. segmentFlags marks the
    /// segments of straight runs. Null, with arcs unchanged, for a set without segments or with an
    /// index out of range. O(n log n) in the number of segments, plus the number of vertices.
    static LineSegmentSet* BuildPolylines(const LineSegmentSet& source,
                                          std::vector<ArcFeature>& arcs,
                                          bool compactVertices);

    /// The implementation of BuildPolylines(), on plain buffers.
    ///
    /// flags has one input flag per segment (null or empty: none set). tags has a value from 0 to 3
    /// per segment (may be null) and is reordered with the segments. Returns false with all outputs
    /// unchanged for a line list without segments or with an index out of range.
    static bool BuildPolylinesImpl(const kx::kxVertexBuffer& vertices,
                                   const kx::kxIndexBuffer& lines,
                                   const std::vector<bool>* flags,
                                   std::vector<unsigned char>* tags,
                                   kx::kxPointer<kx::kxIndexBuffer>& polylines,
                                   std::vector<ArcFeature>& arcs,
                                   std::vector<bool>& straightLineFlags);

    /// A new buffer with the distinct positions that a line list uses, sorted.
    ///
    /// remapping receives the new index of each used vertex and 0 for the others. O(n log n).
    static void CreateFilteredVertexBuffer(const kx::kxVertexBuffer& vertices,
                                           const kx::kxIndexBuffer& lines,
                                           kx::kxPointer<kx::kxVertexBuffer>& filtered,
                                           std::vector<unsigned int>& remapping);

    /// As above; also rewrites the line list for the new buffer. Indices out of range stay so.
    static void CreateFilteredVertexBufferPatched(const kx::kxVertexBuffer& vertices,
                                                  kx::kxIndexBuffer& lines,
                                                  kx::kxPointer<kx::kxVertexBuffer>& filtered);
    /// @}

    /// Crease flags or, in a set of polylines, the segments of straight runs.
    std::vector<bool> segmentFlags;
    /// Occluded intervals of each segment; 0 and 1 are the ends of its part inside the view.
    std::vector<std::vector<RationalInterval>> occlusionIntervals;
    /// The part of each segment inside the view.
    std::vector<ClipRange> clipRanges;
};

} // namespace ctr
