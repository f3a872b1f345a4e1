// The small-vector library under the names of its version 4, which the host framework builds on.
//
// The packaged successor has the same templates under another namespace; this header provides them
// under their old names and adds the two colours that the successor dropped. Points are row
// vectors: a `Vector4<T>` is multiplied by a `Matrix4<T>` from the right.
//
// The templates are header-only except for their constants. These are defined here and in
// kxPlatform, bit for bit as in the packaged library, so that no program needs to link that
// library, which depends on a graphics stack.
#ifndef WM4FOUNDATION_H
#define WM4FOUNDATION_H

#include <Wm5Math.h>
#include <Wm5Matrix4.h>
#include <Wm5Vector2.h>
#include <Wm5Vector3.h>
#include <Wm5Vector4.h>

/// @cond
namespace Wm4 {

// The values of `Math<Real>`'s constants, for `float` and `double`.
template <typename Real> struct MathConstants;

// Single precision. Derived values are computed from the rounded ones: `RAD_TO_DEG` is 180 / `PI`.
template <> struct MathConstants<float> {
    static constexpr float EPSILON = 1.1920929e-07F;
    static constexpr float ZERO_TOLERANCE = 1e-06F;
    static constexpr float MAX_REAL = 3.40282347e+38F;
    static constexpr float PI = 3.14159274F;
    static constexpr float TWO_PI = 6.28318548F;
    static constexpr float HALF_PI = 1.57079637F;
    static constexpr float INV_PI = 0.318309873F;
    static constexpr float INV_TWO_PI = 0.159154937F;
    static constexpr float DEG_TO_RAD = 0.0174532924F;
    static constexpr float RAD_TO_DEG = 57.2957764F;
    static constexpr float LN_2 = 0.693147182F;
    static constexpr float LN_10 = 2.30258512F;
    static constexpr float INV_LN_2 = 1.44269502F;
    static constexpr float INV_LN_10 = 0.434294462F;
    static constexpr float SQRT_2 = 1.41421354F;
    static constexpr float INV_SQRT_2 = 0.707106769F;
    static constexpr float SQRT_3 = 1.73205078F;
    static constexpr float INV_SQRT_3 = 0.577350259F;
};

// Double precision. `INV_SQRT_2` and `INV_SQRT_3` have single precision only, as packaged.
template <> struct MathConstants<double> {
    static constexpr double EPSILON = 2.2204460492503131e-16;
    static constexpr double ZERO_TOLERANCE = 1e-08;
    static constexpr double MAX_REAL = 1.7976931348623157e+308;
    static constexpr double PI = 3.1415926535897931;
    static constexpr double TWO_PI = 6.2831853071795862;
    static constexpr double HALF_PI = 1.5707963267948966;
    static constexpr double INV_PI = 0.31830988618379069;
    static constexpr double INV_TWO_PI = 0.15915494309189535;
    static constexpr double DEG_TO_RAD = 0.017453292519943295;
    static constexpr double RAD_TO_DEG = 57.295779513082323;
    static constexpr double LN_2 = 0.69314718055994529;
    static constexpr double LN_10 = 2.3025850929940459;
    static constexpr double INV_LN_2 = 1.4426950408889634;
    static constexpr double INV_LN_10 = 0.43429448190325176;
    static constexpr double SQRT_2 = 1.4142135623730951;
    static constexpr double INV_SQRT_2 = 0.70710676908493042;
    static constexpr double SQRT_3 = 1.7320508075688772;
    static constexpr double INV_SQRT_3 = 0.57735025882720947;
};

} // namespace Wm4

// The numbers. Hidden: a program that links the packaged library too keeps these for itself,
// because that library writes its logarithms when it is loaded, which would fault in read-only
// memory here. As templates they are emitted only where they are used and may be used before this
// header.
namespace Wm5 {

#define WM4_DEFINE_CONSTANT(name)                                                                  \
    template <typename Real>                                                                       \
    __attribute__((visibility("hidden"))) const Real Math<Real>::name =                            \
        Wm4::MathConstants<Real>::name

WM4_DEFINE_CONSTANT(EPSILON);
WM4_DEFINE_CONSTANT(ZERO_TOLERANCE);
WM4_DEFINE_CONSTANT(MAX_REAL);
WM4_DEFINE_CONSTANT(PI);
WM4_DEFINE_CONSTANT(TWO_PI);
WM4_DEFINE_CONSTANT(HALF_PI);
WM4_DEFINE_CONSTANT(INV_PI);
WM4_DEFINE_CONSTANT(INV_TWO_PI);
WM4_DEFINE_CONSTANT(DEG_TO_RAD);
WM4_DEFINE_CONSTANT(RAD_TO_DEG);
WM4_DEFINE_CONSTANT(LN_2);
WM4_DEFINE_CONSTANT(LN_10);
WM4_DEFINE_CONSTANT(INV_LN_2);
WM4_DEFINE_CONSTANT(INV_LN_10);
WM4_DEFINE_CONSTANT(SQRT_2);
WM4_DEFINE_CONSTANT(INV_SQRT_2);
WM4_DEFINE_CONSTANT(SQRT_3);
WM4_DEFINE_CONSTANT(INV_SQRT_3);

#undef WM4_DEFINE_CONSTANT

} // namespace Wm5
/// @endcond

/// Vectors, matrices and colours. Their `ZERO`, `ONE`, `UNIT_X` to `UNIT_W` and `IDENTITY` are in
/// kxPlatform, for `float` and `double`: a constant with a constructor must be initialised before
/// anything of the program that uses it.
namespace Wm4 {

using Wm5::Math;
using Wm5::Matrix4;
using Wm5::Vector2;
using Wm5::Vector3;
using Wm5::Vector4;

/// An opaque colour: three channels, 0 (none) to 1 (full), which nothing here clamps.
class ColorRGB {
public:
    /// Black.
    constexpr ColorRGB() = default;
    /// The three channels.
    constexpr ColorRGB(float r, float g, float b) : r_(r), g_(g), b_(b) {}

    constexpr float R() const { return r_; } ///< The red channel.
    constexpr float G() const { return g_; } ///< The green channel.
    constexpr float B() const { return b_; } ///< The blue channel.

    /// Compares channel by channel, as numbers: a NaN channel equals nothing.
    constexpr bool operator==(const ColorRGB& other) const {
        return r_ == other.r_ && g_ == other.g_ && b_ == other.b_;
    }
    /// Whether any channel differs.
    constexpr bool operator!=(const ColorRGB& other) const { return !(*this == other); }

private:
    float r_ = 0.0f;
    float g_ = 0.0f;
    float b_ = 0.0f;
};

/// A colour with an alpha channel: 0 is transparent, 1 is opaque.
class ColorRGBA {
public:
    /// Opaque black.
    constexpr ColorRGBA() = default;
    /// The four channels.
    constexpr ColorRGBA(float r, float g, float b, float a) : r_(r), g_(g), b_(b), a_(a) {}

    constexpr float R() const { return r_; } ///< The red channel.
    constexpr float G() const { return g_; } ///< The green channel.
    constexpr float B() const { return b_; } ///< The blue channel.
    constexpr float A() const { return a_; } ///< The alpha channel.

    /// Compares channel by channel, as numbers: a NaN channel equals nothing.
    constexpr bool operator==(const ColorRGBA& other) const {
        return r_ == other.r_ && g_ == other.g_ && b_ == other.b_ && a_ == other.a_;
    }
    /// Whether any channel differs.
    constexpr bool operator!=(const ColorRGBA& other) const { return !(*this == other); }

private:
    float r_ = 0.0f;
    float g_ = 0.0f;
    float b_ = 0.0f;
    float a_ = 1.0f;
};

} // namespace Wm4

#endif
