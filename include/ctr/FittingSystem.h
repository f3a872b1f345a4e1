// Incremental recognition of straight lines and circular arcs.
#pragma once

#include <ctr/Export.h>

#include <Wm4Foundation.h>

#include <array>

namespace ctr {

/// Decides, while a chain of segments grows, whether it is straight or an arc of a circle.
///
/// Least squares on sums over the segments only: each adds its unit direction and the plane that
/// bisects it. Directions that agree make a line; directions in one plane whose bisecting planes
/// meet in one centre make a circle, as long as the chain is connected, turns one way and its fan
/// of triangles has the area of the sector. Constant memory, constant time a segment. A value type
/// for one thread at a time. Lengths are in the units of the points, angles in radians.
class CTR_EXPORT FittingSystem {
public:
    /// No segments; everything zero and false.
    FittingSystem() = default;

    /// Starts over.
    void reset();

    /// Adds the segment p -> q.
    ///
    /// atFront says that it continues the chain at its front end, else at its back end. trackCircle
    /// follows the chain as an arc, else as a line. False only for a segment of no length, of which
    /// nothing is added.
    bool addToSystem(const Wm4::Vector3<float>& p,
                     const Wm4::Vector3<float>& q,
                     bool atFront,
                     bool trackCircle);

    /// True when no segment turns back on the first and directions deviate by under 0.1 degree on
    /// average (root of the mean square).
    bool fitLine() const;

    /// True from two segments on.
    bool couldFitCircle() const;

    /// True when the segments are an arc; the chain has to have been tracked as one.
    ///
    /// angle (may be null) gets the swept angle, 2 pi for a closed chain, as soon as a centre is
    /// found, also when the result is false after all.
    bool fitCircle(float* angle) const;

    /// An orthonormal frame of the plane that the directions lie in; false when they do not.
    bool fitCircleFrame(Wm4::Vector3<double>& axisU,
                        Wm4::Vector3<double>& axisV,
                        Wm4::Vector3<double>& planeNormal) const;

    /// The point of the plane through origin nearest to all bisecting planes; false when they miss
    /// it by more than 1 % of the radius (root of the mean square).
    bool fitCircleCenter(const Wm4::Vector3<float>& origin,
                         const Wm4::Vector3<double>& axisU,
                         const Wm4::Vector3<double>& axisV,
                         Wm4::Vector3<double>& centre) const;

    /// The area test of fitCircle() in a given frame.
    bool fitCircleSurface(const Wm4::Vector3<double>& axisU,
                          const Wm4::Vector3<double>& axisV,
                          float* angle) const;

    /// Normal and centre of the circle through origin; false when there is none.
    bool computeCircleNormalCenter(const Wm4::Vector3<float>& origin,
                                   Wm4::Vector3<double>& circleNormal,
                                   Wm4::Vector3<double>& centre) const;
    /// The same, rounded to single precision.
    bool computeCircleNormalCenter(const Wm4::Vector3<float>& origin,
                                   Wm4::Vector3<float>& circleNormal,
                                   Wm4::Vector3<float>& centre) const;

    /// Sum of u u^T over the unit directions u: xx, xy, xz, yy, yz, zz.
    std::array<double, 6> directionMoments{};
    Wm4::Vector3<float> firstPoint{0.0F, 0.0F, 0.0F}; ///< The chain's free end at its front.
    Wm4::Vector3<float> lastPoint{0.0F, 0.0F, 0.0F};  ///< The chain's free end at its back.
    double area = 0.0; ///< Area of the fan of triangles; -1 when the chain is no arc any more.
    Wm4::Vector3<double> center{0.0, 0.0, 0.0};         ///< When circle tracking started.
    Wm4::Vector3<double> normal{0.0, 0.0, 0.0};         ///< When circle tracking started.
    Wm4::Vector3<double> frontReference{0.0, 0.0, 0.0}; ///< A tangent at the front end.
    Wm4::Vector3<double> backReference{0.0, 0.0, 0.0};  ///< A tangent at the back end.
    bool clockwise = false;     ///< Whether new segments run along these tangents.
    bool circleStarted = false; ///< Whether the five fields above are set.
    Wm4::Vector3<float> firstDirection{0.0F, 0.0F, 0.0F}; ///< The first segment, end less start.
    bool collinear = false; ///< Whether no segment has turned back on the first.
    /// Sum of h u, h being the offset of a segment's bisecting plane along u.
    Wm4::Vector3<double> bisectorMoments{0.0, 0.0, 0.0};
    double bisectorSquares = 0.0; ///< Sum of h^2.
    double count = 0.0;           ///< Number of segments.
};

} // namespace ctr
