// What the camera shows: a box in parallel projection, a pyramid in perspective.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>

#include "drawing/camera/View.h"
#include "drawing/scene/Box.h"

#include <limits>
#include <optional>
#include <vector>

namespace kxcontour {

/// What an orthographic camera shows, in world units along the axes of the view.
struct Frame {
    Wm4::Vector3<double> center;   ///< In view coordinates: x right, y up, z towards the eye.
    Wm4::Vector3<double> halfSize; ///< From the centre to the edges; over 0.
};

/// How a box is put on a page.
struct FitRules {
    Page page;
    double zoom = 1.0;                        ///< Over 0; beyond 1 the box outgrows the page.
    std::optional<double> unitsPerMillimetre; ///< The world's, per millimetre of paper; none: fit.
    std::optional<Wm4::Vector3<double>> middle; ///< In view coordinates; none: that of the box.
};

/// Fits a box onto a page: centred, inside the margin and touching it on one axis.
///
/// fitted is the box that fills the page and drawn the boxes of all that is drawn, in view
/// coordinates; fitted is not empty. The frame covers the whole sheet, so that x and y from -1 to 1
/// are its edges. It is deep enough for all that is drawn on the sheet and for whatever of the
/// occluders lies between that and the eye; what is behind can hide nothing and need not be inside.
Frame FitToPage(const Box& fitted,
                const std::vector<Box>& drawn,
                const std::vector<Box>& occluders,
                const FitRules& rules);

/// World units that one millimetre of paper shows.
double UnitsPerMillimetre(const Frame& frame, PageSize page);

/// The camera of a frame, with the finest grid that the library accepts.
///
/// Matrices are computed in doubles and rounded once. -1 in depth is nearest to the eye. Throws
/// NothingToDraw where the frame is too large or too small for single precision.
ctr::DiscreteProjectionSpace MakeCamera(const Frame& frame, const ViewAxes& axes);

/// What a perspective camera shows: a pyramid cut off in front and behind.
struct Pyramid {
    Wm4::Vector3<double> eye; ///< In view coordinates.
    double tangentX = 0.0;    ///< Half of the sheet's width over the distance; over 0.
    double tangentY = 0.0;    ///< Half of its height; over 0.
    double near = 0.0;        ///< Distances from the eye along the line of sight; over 0.
    double far = 0.0;         ///< Beyond near.
};

/// The camera of a pyramid; see the other. Throws NothingToDraw for sizes that single
/// precision cannot hold.
ctr::DiscreteProjectionSpace MakeCamera(const Pyramid& pyramid, const ViewAxes& axes);

/// A camera of a matrix of the caller's own, for row vectors; it has an inverse.
ctr::DiscreteProjectionSpace MakeCamera(const Wm4::Matrix4<double>& worldToClip);

/// Finds where an eye of a given direction and angle has to be for points to fill a rectangle.
///
/// Every point is inside and the eye is as near as that allows. Each side of the rectangle spans a
/// plane with the eye, and the farthest point beyond it bounds a sum of two of the eye's
/// coordinates; opposite sides give two such bounds, and their sum the distance.
class EyeFinder {
public:
    /// Half of the rectangle's width and height over the distance; over 0.
    EyeFinder(double tangentX, double tangentY) : tangent_{tangentX, tangentY} {}

    /// A point in view coordinates.
    void add(const Wm4::Vector3<double>& point);

    /// The eye in view coordinates; there has to be a point.
    Wm4::Vector3<double> eye() const;

private:
    static constexpr double kNone = -std::numeric_limits<double>::infinity();

    double tangent_[2];
    double upper_[2] = {kNone, kNone}; ///< The largest coordinate + tangent * z.
    double lower_[2] = {kNone, kNone}; ///< The largest -coordinate + tangent * z.
    double nearest_ = kNone;           ///< The largest z.
};

} // namespace kxcontour
