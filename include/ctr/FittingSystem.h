// Incremental fitting of straight lines and circular arcs.
#pragma once

#include <ctr/Export.h>

#include <Wm4Foundation.h>

#include <array>

namespace ctr {

/// Decides, while a chain of segments grows, whether it is straight or an arc of a circle.
///
/// Least squares on running sums over the segments: each segment adds its unit direction and its
/// perpendicular bisector plane. Directions that agree make a line; directions in one plane whose
/// bisector planes meet in one centre make a circle, provided that the chain is connected, turns
/// one way and its triangle fan has the area of the circular sector. Constant memory, constant time
/// per segment. A value type, to be used by one thread at a time. Lengths are in the units of the
/// points, angles in radians.
class CTR_EXPORT FittingSystem {
public:
    /// No segments; everything zero and false.
    FittingSystem() = default;

    /// Removes all segments.
    void reset();

    /// Adds the segment p -> q.
    ///
    /// atFront: the segment continues the chain at its front end, otherwise at its back end.
    /// trackCircle: the chain is followed as an arc, otherwise as a line. Returns false, adding
    /// nothing, only for a segment of zero length.
    bool addToSystem(const Wm4::Vector3<float>& p,
                     const Wm4::Vector3<float>& q,
                     bool atFront,
                     bool trackCircle);

    /// True if no segment turns back on the first and the directions deviate by less than 0.1
    /// degrees (root mean square).
    bool fitLine() const;

    /// True for two or more segments.
    bool couldFitCircle() const;

    /// True if the segments form an arc; the chain must have been tracked as one.
    ///
    /// angle (may be null) receives the swept angle, 2 pi for a closed chain, if a centre is found,
    /// even if the result is false.
    bool fitCircle(float* angle) const;

    /// An orthonormal frame of the plane of the directions; false if they are not in one plane.
    bool fitCircleFrame(Wm4::Vector3<double>& axisU,
                        Wm4::Vector3<double>& axisV,
                        Wm4::Vector3<double>& planeNormal) const;

    /// The point of the plane through origin nearest to all bisector planes; false if they miss it
    /// by more than 1 % of the radius (root mean square).
    bool fitCircleCenter(const Wm4::Vector3<float>& origin,
                         const Wm4::Vector3<double>& axisU,
                         const Wm4::Vector3<double>& axisV,
                         Wm4::Vector3<double>& centre) const;

    /// The area test of fitCircle() in a given frame.
    bool fitCircleSurface(const Wm4::Vector3<double>& axisU,
                          const Wm4::Vector3<double>& axisV,
                          float* angle) const;

    /// Normal and centre of the circle through origin; false if there is none.
    bool computeCircleNormalCenter(const Wm4::Vector3<float>& origin,
                                   Wm4::Vector3<double>& circleNormal,
                                   Wm4::Vector3<double>& centre) const;
    /// As above, rounded to single precision.
    bool computeCircleNormalCenter(const Wm4::Vector3<float>& origin,
                                   Wm4::Vector3<float>& circleNormal,
                                   Wm4::Vector3<float>& centre) const;

    /// Sum of u u^T over the unit directions u: xx, xy, xz, yy, yz, zz.
    std::array<double, 6> directionMoments{};
    Wm4::Vector3<float> firstPoint{0.0F, 0.0F, 0.0F}; ///< The chain's free end at its front.
    Wm4::Vector3<float> lastPoint{0.0F, 0.0F, 0.0F};  ///< The chain's free end at its back.
    double area = 0.0; ///< Area of the triangle fan; -1 once the chain is no arc.
    Wm4::Vector3<double> center{0.0, 0.0, 0.0};         ///< When circle tracking started.
    Wm4::Vector3<double> normal{0.0, 0.0, 0.0};         ///< When circle tracking started.
    Wm4::Vector3<double> frontReference{0.0, 0.0, 0.0}; ///< A tangent at the front end.
    Wm4::Vector3<double> backReference{0.0, 0.0, 0.0};  ///< A tangent at the back end.
    bool clockwise = false;     ///< Whether new segments run along these tangents.
    bool circleStarted = false; ///< Whether the five fields above are set.
    Wm4::Vector3<float> firstDirection{0.0F, 0.0F, 0.0F}; ///< The first segment, end less start.
    bool collinear = false; ///< Whether no segment has turned back on the first.
    /// Sum of h u, where h is the offset of a segment's bisector plane along u.
    Wm4::Vector3<double> bisectorMoments{0.0, 0.0, 0.0};
    double bisectorSquares = 0.0; ///< Sum of h^2.
    double count = 0.0;           ///< Number of segments.
};

} // namespace ctr
