// The container in which every kind of line travels, and the operations on whole sets.
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

/// A list of line segments: a line geometry with three records a segment of its own.
///
/// Indices 2i and 2i + 1 of the index buffer are segment i; an odd last index is ignored. A segment
/// whose vertices do not exist, or have no positions, is hidden, shows no piece and equals no
/// other. Each of the three vectors is either empty or has one entry a segment. Sets are made with
/// new, hold their buffers by reference and are freed through their virtual destructor or by
/// reference counting. One thread fills a set; afterwards any number may read it.
class CTR_EXPORT LineSegmentSet : public kx::kxLine {
public:
    /// What clipping left of a segment: the parameters t0 and t1 of the part inside the view and
    /// the clip-space w of its two ends. Nothing is inside unless t0 < t1.
    struct ClipRange {
        float t0; ///< Where the part begins.
        float t1; ///< Where it ends.
        float w0; ///< Clip-space w at t0.
        float w1; ///< Clip-space w at t1.
    };

    /// One run of consecutive segments in an index buffer, linked into chains.
    struct CTR_EXPORT ArcFeature {
        /// Clears the flags of all segments of this record and of those after it in the chain.
        void removeStraightLineFlags(std::vector<bool>& straightLineFlags) const;

        /// Turns this record and those after it in the chain, each by itself: the order of its
        /// segments and the direction of each. Flags and tags (may be null) stay with their
        /// segment.
        void reverseIndexBuffer(unsigned int* indices,
                                std::vector<bool>* straightLineFlags,
                                std::vector<unsigned char>* tags) const;

        std::uint32_t first = 0;    ///< Position of the run's first index; even.
        std::uint32_t end = 0;      ///< Position after the run's last index.
        ArcFeature* prev = nullptr; ///< The record before in the chain, or null.
        ArcFeature* next = nullptr; ///< The record after in the chain, or null.
        std::uint32_t kind = 0;     ///< Bit 0 (1): a circular arc, bit 1 (2): a straight line.
    };

    /// No vertices, no indices, no records.
    LineSegmentSet();
    ~LineSegmentSet() override;

    /// Copies this set into target, or into a new set when target is null.
    ///
    /// Buffers are shared. A clone never carries segmentFlags, not even a set cloned onto itself.
    /// Returns false, writing nothing, when target is of another class.
    bool Clone(kx::kxRttiInterface*& target) const override;

    /// Whether the set is as the library makes sets: for hosts that fill one by themselves, in
    /// debug builds, as in assert(set.validate()).
    ///
    /// True when the index buffer, if there is one, has an even number of indices, each below the
    /// number of vertices; when each of the three vectors is empty or has one entry per segment;
    /// when hidden ranges are within 0 to 1, their denominators positive, and those of one segment
    /// in order and apart, without a common end; and when clip records with something inside the
    /// view (t0 < t1) are within 0 to 1 and no w is 0 or less. Operations accept more where they
    /// say so. O(n) in the number of segments and ranges, no allocation.
    bool validate() const;

    /// @name Sets from meshes
    /// Each returns a new set that the caller owns, sharing the mesh's vertex buffer, or null.
    /// @{

    /// Wraps a line list over a mesh's vertices. Null when either buffer is.
    static LineSegmentSet*
    GetOutlineEdgesFromMesh(const kx::kxVertexBuffer* vertices,
                            kx::kxPointer<kx::kxIndexBuffer> outline,
                            const kx::kxGenericTransformation<float>& transformation);

    /// The same, with the vertices and the world transformation of a mesh.
    static LineSegmentSet* GetOutlineEdgesFromTriMesh(const kx::kxTriMesh* mesh,
                                                      kx::kxPointer<kx::kxIndexBuffer> outline);

    /// The crease and border edges of a triangle list, as ComputeCreaseEdgeInfo() finds them.
    ///
    /// segmentFlags is filled when withFlags is set. Null when there are no edges, when a buffer is
    /// null, and when cancelled.
    static LineSegmentSet* GetCreaseEdgesFromMesh(const kx::kxVertexBuffer* vertices,
                                                  const kx::kxIndexBuffer* triangles,
                                                  const kx::kxCancelInterfaceReadOnly& cancel,
                                                  float angleInDegrees,
                                                  bool withFlags);

    /// The same for a mesh, whose transformations the set takes over.
    static LineSegmentSet* GetCreaseEdgesFromTriMesh(const kx::kxTriMesh* mesh,
                                                     const kx::kxCancelInterfaceReadOnly& cancel,
                                                     float angleInDegrees,
                                                     bool withFlags);
    /// @}

    /// @name Operations on sets
    /// @{

    /// Gathers sets into one new set in world space; the caller owns it.
    ///
    /// Sets that are null or lack a buffer are left out; null when no vertex or no segment remains.
    /// Vertices are not welded, segments not compared. Hidden ranges are carried along, clip
    /// records and flags are not. Throws std::length_error for more vertices or indices than an int
    /// counts. Linear time.
    static LineSegmentSet* FuseLineSegmentSets(const std::vector<LineSegmentSet*>& sets);

    /// Removes from a every segment that b holds too, in either direction.
    ///
    /// Positions are compared as stored, exactly, without transformations. Hidden ranges, clip
    /// records and flags stay with their segments; flags of which there are none stay none. An a of
    /// which nothing is left ends without an index buffer. An index buffer that a shares with
    /// others, such as a mesh's outline, stays as it is: a gets one of its own first. Nothing
    /// happens when a or b is null, or when b has no segments but a has. O((n + m) log m).
    static void RemoveCommonSegments(LineSegmentSet* a, const LineSegmentSet* b);

    /// A new set of the visible pieces of a set's segments; the caller owns it.
    ///
    /// Every gap between a segment's hidden ranges becomes a piece, however short. Range ends are
    /// parameters on the projected segment and are mapped back to space with perspective. Piece
    /// ends that are unclipped segment ends keep sharing their vertex; every other is a vertex of
    /// its own. Null without a buffer or a visible piece. A set that was never occluded comes back
    /// as a new set over the same buffers.
    static LineSegmentSet* BakeVisibleSegments(const LineSegmentSet* source);

    /// Chains the segments of a set into polylines; the caller owns the new set.
    ///
    /// The new set lists the segments chain by chain, each starting where the one before ends.
    /// Chains pass vertices that exactly two segments share, and end elsewhere. arcs describes the
    /// runs. compactVertices gives the set a vertex buffer of its own in which equal positions are
    /// one vertex; else it shares the source's. segmentFlags marks the segments of straight runs.
    /// Null, leaving arcs, for a set without segments or with an index out of range.
    /// Linear in the number of segments, apart from the sorting of vertices when compacting.
    static LineSegmentSet* BuildPolylines(const LineSegmentSet& source,
                                          std::vector<ArcFeature>& arcs,
                                          bool compactVertices);

    /// The chaining behind BuildPolylines(), on bare buffers.
    ///
    /// flags holds an input flag a segment (null or empty: none set). tags holds a value from 0 to
    /// 3 a segment (may be null) and is reordered with the segments. Returns false with all outputs
    /// untouched for a line list without segments or with an index out of range.
    static bool BuildPolylinesImpl(const kx::kxVertexBuffer& vertices,
                                   const kx::kxIndexBuffer& lines,
                                   const std::vector<bool>* flags,
                                   std::vector<unsigned char>* tags,
                                   kx::kxPointer<kx::kxIndexBuffer>& polylines,
                                   std::vector<ArcFeature>& arcs,
                                   std::vector<bool>& straightLineFlags);

    /// A new buffer with the positions that a line list uses, sorted, equal ones once.
    ///
    /// remapping gets the new number of every used vertex and 0 for the others. O(n log n).
    static void CreateFilteredVertexBuffer(const kx::kxVertexBuffer& vertices,
                                           const kx::kxIndexBuffer& lines,
                                           kx::kxPointer<kx::kxVertexBuffer>& filtered,
                                           std::vector<unsigned int>& remapping);

    /// The same, and rewrites the line list to the new buffer. What named no vertex names none
    /// there.
    static void CreateFilteredVertexBufferPatched(const kx::kxVertexBuffer& vertices,
                                                  kx::kxIndexBuffer& lines,
                                                  kx::kxPointer<kx::kxVertexBuffer>& filtered);
    /// @}

    /// Crease flags or, in a set of polylines, the segments of straight runs.
    std::vector<bool> segmentFlags;
    /// Hidden parameter ranges of each segment; 0 and 1 are the ends of its part inside the view.
    std::vector<std::vector<RationalInterval>> occlusionIntervals;
    /// What clipping left of each segment.
    std::vector<ClipRange> clipRanges;
};

} // namespace ctr
