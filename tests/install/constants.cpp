// A program that uses the constants of the vectors and matrices as hosts do: before main, through
// the inline operations of the templates, and in the default state of a class of the library.
#include <Wm5Vector3.h>

// Ahead of the header that the constants come from.
static double HalfATurn() {
    return Wm5::Math<double>::PI;
}

#include <ctr/ctr.h>

#include <cmath>
#include <cstdio>

#if !defined(CTR_VERSION) || CTR_VERSION < CTR_MAKE_VERSION(1, 0, 0)
#error "the headers have no version"
#endif

static const ctr::DiscreteProjectionSpace camera;
static const Wm4::Vector3<float> up = Wm4::Vector3<float>::UNIT_Y;
static const float* const logarithm = &Wm4::Math<float>::LN_2;

static bool AllIsRight() {
    Wm4::Vector3<float> vector(1.0F, 2.0F, 2.0F);
    const bool normal = vector.Normalize() == 3.0F;
    const Wm4::Matrix4<float> inverse = Wm4::Matrix4<float>::IDENTITY.Inverse();
    const Wm4::Matrix4<double> singular = Wm4::Matrix4<double>(true).Inverse();
    return normal && inverse == Wm4::Matrix4<float>::IDENTITY &&
           singular == Wm4::Matrix4<double>::ZERO &&
           camera.worldToClip == Wm4::Matrix4<float>(false) && up.Y() == 1.0F && up.X() == 0.0F &&
           *logarithm == std::log(2.0F) && Wm4::Math<double>::ACos(-2.0) == HalfATurn() &&
           Wm4::Math<float>::ZERO_TOLERANCE == 1e-06F &&
           Wm4::Math<float>::MAX_REAL * 2.0F > Wm4::Math<float>::MAX_REAL &&
           Wm4::Math<float>::DEG_TO_RAD * 180.0F == Wm4::Math<float>::PI;
}

int main() {
    std::puts(AllIsRight() ? "right" : "wrong");
    return AllIsRight() ? 0 : 1;
}
