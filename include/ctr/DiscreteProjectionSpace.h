// The camera and the integer grid in which visibility is computed.
#pragma once

#include <ctr/Export.h>

#include <Wm4Foundation.h>

#include <cstdint>
#include <utility>

namespace ctr {

/// A point of the integer grid.
///
/// x counts columns and y rows, each 0 .. 2^xyBits - 1; z counts depth steps, 0 .. 2^zBits - 1, and
/// grows away from the eye when the projection maps far to +1.
struct BakedVertex {
    std::int32_t x; ///< Column.
    std::int32_t y; ///< Row.
    std::int32_t z; ///< Depth step.
};

/// The camera (world to clip space and back) with the grid that quantises normalised device
/// coordinates (NDC, here [-1, 1] on every axis).
///
/// Points are row vectors: (x, y, z, 1) * M, divided by the fourth component. All arithmetic is
/// single precision in the documented order, so results are the same everywhere. All operations
/// take constant time and throw nothing. A value type; concurrent reads are safe.
class CTR_EXPORT DiscreteProjectionSpace {
public:
    /// Identity matrices, 20 bits across the screen and 20 in depth, ratios up to date.
    ///
    /// These bit sizes exceed the limit of setVoxelBitSize() by one bit; call it with (20, 19).
    DiscreteProjectionSpace();

    /// Stores both matrices as given; the second must be the inverse of the first.
    ///
    /// Grid ratios depend on the camera: call updateRatios() or setVoxelBitSize() afterwards.
    void setViewProjection(const Wm4::Matrix4<float>& worldToClip,
                           const Wm4::Matrix4<float>& clipToWorld);

    /// Sets the resolution of the grid and updates the ratios.
    ///
    /// Accepts xyBits > 1, zBits > 1 and 2 * xyBits + zBits <= 59 (in unsigned 32-bit arithmetic),
    /// the range in which plane distances fit 64 bits. Otherwise returns false and changes nothing.
    /// Sizes of 32 bits and more, for which that sum can wrap around, saturate: coordinates stay
    /// signed 32-bit integers, and the grid is unusable.
    bool setVoxelBitSize(unsigned int xyBits, unsigned int zBits);

    /// Recomputes voxelScale and voxelSize from the camera and the bit sizes.
    ///
    /// The longer screen axis (x on a tie) has 2^xyBits - 1 steps, the other proportionally fewer,
    /// not rounded and at least one, so that cells are square in world units.
    void updateRatios();

    /// World length of one NDC unit along x and along y, measured at NDC depth 0. Not finite where
    /// clipToWorld maps one of the points to w = 0.
    Wm4::Vector2<float> computeFrustumSizeXY() const;

    /// Clips the world segment p0 -> p1 to the view volume and quantises the part inside.
    ///
    /// Returns the part inside as parameters (t0, t1) along the segment; points on a bounding plane
    /// are inside. b0 and b1 are the grid points of the clipped ends, w0 and w1 their clip-space w.
    /// A segment beyond one plane gives (1, 0) and leaves the outputs unchanged. Intersections are
    /// computed from the midpoint, so they do not depend on the order of the ends.
    std::pair<float, float> clipEdgeWorld(const Wm4::Vector3<float>& p0,
                                          const Wm4::Vector3<float>& p1,
                                          BakedVertex& b0,
                                          BakedVertex& b1,
                                          float& w0,
                                          float& w1) const;

    /// Clips a triangle in clip space to the view volume (Sutherland and Hodgman 1974).
    ///
    /// poly points to the three vertices and scratch to a second buffer; both have space for 9
    /// vertices and may be swapped, so that poly points to the result. count is its number of
    /// vertices. Bits 2i and 2i + 1 of edgeCodes give the edge of the triangle on which the edge
    /// that ends at vertex i lies: 1 = from vertex 2 to 0, 2 = from 0 to 1, 3 = from 1 to 2, 0 = on
    /// the boundary of the view. Returns false if nothing is left; count and edgeCodes are then
    /// unspecified. Both buffers stay the caller's.
    bool clipTriangle(Wm4::Vector4<float>*& poly,
                      Wm4::Vector4<float>*& scratch,
                      unsigned int& count,
                      unsigned int& edgeCodes) const;

    Wm4::Matrix4<float> worldToClip; ///< As set; multiplied by a row vector from the left.
    Wm4::Matrix4<float> clipToWorld; ///< Its inverse, as set.
    Wm4::Vector3<float> frustumMin;  ///< NDC lower bounds, -1 on every axis.
    Wm4::Vector3<float> frustumMax;  ///< NDC upper bounds, 1 on every axis.
    Wm4::Vector3<float> voxelScale;  ///< Grid steps per NDC unit.
    Wm4::Vector3<float> voxelSize;   ///< NDC length of one grid step.
    unsigned int xyBits;             ///< Across the screen: 2^xyBits columns on the longer axis.
    unsigned int zBits;              ///< In depth: 2^zBits steps from near to far.
};

} // namespace ctr
