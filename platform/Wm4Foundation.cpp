// The vector and matrix constants of Wm4Foundation.h.
//
// They have constructors, so they are initialised when the library is loaded: before any static
// object of a program or of another object file of a static library, hence the priority. They are
// in writable memory under the packaged library's names: a program that also links that library has
// one copy of each, which both libraries initialise with the same values.
#include <Wm4Foundation.h>
#include <kxSystem/kxExport.h>

#define WM4_CONSTANT(type, name)                                                                   \
    template <> KX_EXPORT __attribute__((init_priority(101))) const type type::name

#define WM4_VECTOR_CONSTANTS(Real)                                                                 \
    WM4_CONSTANT(Vector2<Real>, ZERO)(Real(0), Real(0));                                           \
    WM4_CONSTANT(Vector2<Real>, UNIT_X)(Real(1), Real(0));                                         \
    WM4_CONSTANT(Vector2<Real>, UNIT_Y)(Real(0), Real(1));                                         \
    WM4_CONSTANT(Vector2<Real>, ONE)(Real(1), Real(1));                                            \
    WM4_CONSTANT(Vector3<Real>, ZERO)(Real(0), Real(0), Real(0));                                  \
    WM4_CONSTANT(Vector3<Real>, UNIT_X)(Real(1), Real(0), Real(0));                                \
    WM4_CONSTANT(Vector3<Real>, UNIT_Y)(Real(0), Real(1), Real(0));                                \
    WM4_CONSTANT(Vector3<Real>, UNIT_Z)(Real(0), Real(0), Real(1));                                \
    WM4_CONSTANT(Vector3<Real>, ONE)(Real(1), Real(1), Real(1));                                   \
    WM4_CONSTANT(Vector4<Real>, ZERO)(Real(0), Real(0), Real(0), Real(0));                         \
    WM4_CONSTANT(Vector4<Real>, UNIT_X)(Real(1), Real(0), Real(0), Real(0));                       \
    WM4_CONSTANT(Vector4<Real>, UNIT_Y)(Real(0), Real(1), Real(0), Real(0));                       \
    WM4_CONSTANT(Vector4<Real>, UNIT_Z)(Real(0), Real(0), Real(1), Real(0));                       \
    WM4_CONSTANT(Vector4<Real>, UNIT_W)(Real(0), Real(0), Real(0), Real(1));                       \
    WM4_CONSTANT(Vector4<Real>, ONE)(Real(1), Real(1), Real(1), Real(1))

#define WM4_MATRIX_CONSTANTS(Real)                                                                 \
    WM4_CONSTANT(Matrix4<Real>, ZERO)(true);                                                       \
    WM4_CONSTANT(Matrix4<Real>, IDENTITY)(false)

namespace Wm5 {

WM4_VECTOR_CONSTANTS(float);
WM4_VECTOR_CONSTANTS(double);
WM4_MATRIX_CONSTANTS(float);
WM4_MATRIX_CONSTANTS(double);

} // namespace Wm5
