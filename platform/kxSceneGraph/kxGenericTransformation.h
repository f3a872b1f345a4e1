// Affine transformations of row vectors.
#ifndef KXSCENEGRAPH_KXGENERICTRANSFORMATION_H
#define KXSCENEGRAPH_KXGENERICTRANSFORMATION_H

#include <Wm4Foundation.h>

namespace kx {

/// An affine map (x, y, z, 1) * M: the upper three rows are the linear part, the fourth translates.
///
/// The fourth column of an affine matrix is (0, 0, 0, 1); it is stored but ignored when the map is
/// applied. The default is the identity. Any number of threads may read at once.
template <class Real> class kxGenericTransformation {
public:
    /// Stores the matrix, finite or not.
    void SetMatrix(const Wm4::Matrix4<Real>& matrix) {
        matrix_ = matrix;
        identity_ = matrix == Wm4::Matrix4<Real>(false);
    }
    /// The matrix as it was set.
    const Wm4::Matrix4<Real>& GetMatrix() const { return matrix_; }

    /// Whether all sixteen entries equal those of the identity; -0 counts as 0.
    bool IsIdentity() const { return identity_; }

    /// The image of `v`: as a point, with the translation, or as a direction, without it.
    ///
    /// Each coordinate is summed left to right, x first and the translation last, so the result is
    /// the same on every machine. The identity returns `v` bit for bit, even where adding zeros
    /// would not: -0, infinities, NaN.
    Wm4::Vector3<Real> ApplyForward(const Wm4::Vector3<Real>& v, bool point) const {
        if (identity_) {
            return v;
        }
        const Wm4::Vector3<Real> turned(Column(v, 0), Column(v, 1), Column(v, 2));
        if (!point) {
            return turned;
        }
        const Real* translation = matrix_[3];
        return Wm4::Vector3<Real>(turned.X() + translation[0], turned.Y() + translation[1],
                                  turned.Z() + translation[2]);
    }

    /// Compares the matrices entry by entry, as numbers: a NaN equals nothing.
    bool operator==(const kxGenericTransformation& other) const { return matrix_ == other.matrix_; }
    /// Whether any entry differs.
    bool operator!=(const kxGenericTransformation& other) const { return !(*this == other); }

private:
    Real Column(const Wm4::Vector3<Real>& v, int column) const {
        return v.X() * matrix_[0][column] + v.Y() * matrix_[1][column] + v.Z() * matrix_[2][column];
    }

    Wm4::Matrix4<Real> matrix_{false};
    bool identity_ = true;
};

} // namespace kx

#endif
