// The small-vector library under the names of its version 4, which the host framework builds on.
//
// The packaged successor keeps the same templates under another namespace; this header gives them
// their old names back and adds the two colours that the successor dropped. Points are row vectors:
// a `Vector4<T>` stands left of the `Matrix4<T>` that moves it.
#ifndef WM4FOUNDATION_H
#define WM4FOUNDATION_H

#include <Wm5Math.h>
#include <Wm5Matrix4.h>
#include <Wm5Vector2.h>
#include <Wm5Vector3.h>
#include <Wm5Vector4.h>

/// Vectors, matrices and colours.
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
    constexpr bool operator==(const ColorRGB&) const = default;

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
    constexpr bool operator==(const ColorRGBA&) const = default;

private:
    float r_ = 0.0f;
    float g_ = 0.0f;
    float b_ = 0.0f;
    float a_ = 1.0f;
};

} // namespace Wm4

#endif
