// What is drawn: meshes from arrays.
#pragma once

#include <ctr/Export.h>

#include <kxDrawing/Geometry.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace kxdrawing {

/// A mesh as arrays that the caller keeps; Scene::add() copies them.
struct Mesh {
    std::span<const double> positions;        ///< x, y, z of each vertex.
    std::span<const std::uint32_t> triangles; ///< Three vertex numbers each; any winding.
    std::string name{};                       ///< Of the object; may be empty or repeat.
    Matrix placement = kIdentity;             ///< Affine; takes positions into the scene.
    bool isOccluder = false;                  ///< Hides lines and is not drawn itself.
    /// Edges that bend by more than this are creases, degrees over 0 and under 180; none: 30.
    std::optional<double> creaseAngle{};
    /// The creases, as pairs of vertex numbers, in place of those found by angle. Such a mesh is
    /// drawn as it is: cracks stay open.
    std::optional<std::span<const std::array<std::uint32_t, 2>>> featureEdges{};
};

/// The axis that points up. With x up, the front looks along z; with y up, along z; with z up,
/// along -y.
enum class UpAxis : std::uint8_t { X, Y, Z };

/// How cracks between triangles are treated.
enum class Weld : std::uint8_t {
    Automatic, ///< Narrow ones are closed; every object finds its own distance.
    Off,       ///< Surfaces stay as they are.
};

/// Properties of all meshes of a scene.
struct SceneOptions {
    double millimetresPerUnit = 1.0; ///< Of positions; over 0. Matters for drawings to scale.
    UpAxis up = UpAxis::Z;           ///< Of all meshes.
    Weld weld = Weld::Automatic;     ///< Of all surfaces.
};

/// Triangles that no line can be drawn from, by reason.
struct LeftOutTriangles {
    std::size_t badIndex = 0;   ///< A vertex number out of range.
    std::size_t notFinite = 0;  ///< A corner with a coordinate that is infinite or not a number.
    std::size_t degenerate = 0; ///< Two corners at one position, or three on one line.
};

/// Meshes in one coordinate system, ready to be drawn any number of times.
///
/// Copies share what they hold and are cheap. Any number of threads may draw a scene at once;
/// adding needs the scene for itself.
class CTR_EXPORT Scene {
public:
    /// A scene without meshes. Throws InvalidArgument for options out of range.
    explicit Scene(const SceneOptions& options = {});
    ~Scene();
    Scene(const Scene& other);            ///< Shares the content until either scene changes.
    Scene& operator=(const Scene& other); ///< As the copy constructor.
    Scene(Scene&& other) noexcept;        ///< The other scene may only be assigned or destroyed.
    Scene& operator=(Scene&& other) noexcept; ///< As the move constructor.

    /// Adds a mesh and returns the number of its object, counted over drawn meshes. Triangles that
    /// cannot be drawn are left out. Throws InvalidArgument where the length of an array is no
    /// multiple of three, the placement is not finite or not affine, the crease angle is out of
    /// range, or a feature edge names a vertex that does not exist. Linear time.
    std::size_t add(const Mesh& mesh);

    /// Triangles of all meshes, left-out ones included.
    std::size_t triangles() const;

    /// Triangles that were left out.
    LeftOutTriangles leftOut() const;

private:
    struct Content;
    friend struct SceneAccess;

    Content& ownContent();

    std::shared_ptr<Content> content_;
};

} // namespace kxdrawing
