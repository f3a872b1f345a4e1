// The placement of the view on a sheet of paper.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>
#include <ctr/Export.h>

#include <Wm4Foundation.h>

#include <array>

namespace ctr {

/// A projection space together with a page in millimetres and the affine map from NDC onto it.
///
/// Page coordinates start at a corner of the sheet, X to the right and Y with NDC y. A value type:
/// later changes of the projection space it was made from do not affect it. All operations take
/// constant time and throw nothing.
class CTR_EXPORT ExportParameters : public DiscreteProjectionSpace {
public:
    /// Copies the projection space and fits the view onto an A4 sheet in portrait.
    ///
    /// Implicit: a projection space is accepted wherever export parameters are expected.
    ExportParameters(const DiscreteProjectionSpace& projectionSpace);

    /// Stores the size (width, height) in millimetres.
    ///
    /// The map onto the page is unchanged; call computeBestFitTransform() to fit the view again.
    void setPageSizeInMM(const Wm4::Vector2<float>& size);

    /// Maps the NDC square onto the largest centred rectangle of the view's aspect on the page.
    ///
    /// One page axis is filled; on a tie both are. A view without width or height gives scales that
    /// are infinite or NaN.
    void computeBestFitTransform();

    /// World units per millimetre of paper, measured along X on the near plane.
    ///
    /// 0 if the map onto the page is singular and the view finite.
    float getWorldUnitsPerMM() const;

    Wm4::Vector2<float> pageSizeInMM;   ///< Width and height.
    std::array<float, 4> pageTransform; ///< a, b, c, d: X = a x + b y, Y = c x + d y.
    Wm4::Vector2<float> pageOffset;     ///< Millimetres added after the matrix.
};

} // namespace ctr
