// Meshes with normals for measurements. Vertices are split along sharp edges, as in the files of
// modelling programs. Expected linear time; O(n^2) where n triangles meet at a vertex.
#include "bench/Subject.h"

#include <kxSceneGraph/kxAttributes.h>
#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace bench {
namespace {

using Vector = Wm4::Vector3<double>;

constexpr double kCosineOf30Degrees = 0.8660254037844386;

// The resolution of the tool.
constexpr unsigned int kScreenBits = 20;
constexpr unsigned int kDepthBits = 19;

Vector Wide(const Point& p) {
    return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

Vector Unit(const Vector& v) {
    const double length = std::sqrt(v.Dot(v));
    return length > 0.0 ? v / length : v;
}

/// The corners of triangles at each vertex: those of vertex v are corners[first[v]] up to, not
/// including, corners[first[v + 1]]; corner c belongs to triangle c / 3.
struct Corners {
    std::vector<std::uint32_t> first;
    std::vector<std::uint32_t> corners;
};

Corners FindCorners(const Part& part) {
    Corners found{std::vector<std::uint32_t>(part.positions.size() + 2, 0),
                  std::vector<std::uint32_t>(3 * part.triangles.size())};
    for (const Triangle& triangle : part.triangles) {
        for (const std::uint32_t vertex : triangle) {
            ++found.first[vertex + 2];
        }
    }
    for (std::size_t i = 2; i < found.first.size(); ++i) {
        found.first[i] += found.first[i - 1];
    }
    std::uint32_t corner = 0;
    for (const Triangle& triangle : part.triangles) {
        for (const std::uint32_t vertex : triangle) {
            found.corners[found.first[vertex + 1]++] = corner++;
        }
    }
    return found;
}

/// Gives each corner the mean of the normals around its vertex that deviate little from its own
/// triangle's; corners of one vertex with the same normal share a vertex of the mesh.
class Smoother {
public:
    explicit Smoother(const Part& part) : part_(part), indices_(3 * part.triangles.size()) {
        faces_.reserve(part.triangles.size());
        for (const Triangle& t : part.triangles) {
            const Vector a = Wide(part.positions[t[0]]);
            faces_.push_back(
                Unit((Wide(part.positions[t[1]]) - a).Cross(Wide(part.positions[t[2]]) - a)));
        }
    }

    kx::kxPointer<kx::kxTriMesh> make() {
        const Corners around = FindCorners(part_);
        for (std::uint32_t vertex = 0; vertex < part_.positions.size(); ++vertex) {
            addVertex(vertex, around.corners.data() + around.first[vertex],
                      around.corners.data() + around.first[vertex + 1]);
        }
        return mesh();
    }

private:
    using Normal = Wm4::Vector3<float>;

    void addVertex(std::uint32_t vertex, const std::uint32_t* begin, const std::uint32_t* end) {
        const std::size_t firstSplit = normals_.size();
        for (const std::uint32_t* corner = begin; corner != end; ++corner) {
            const Normal normal = meanNormal(*corner, begin, end);
            const auto known = std::find(normals_.begin() + static_cast<std::ptrdiff_t>(firstSplit),
                                         normals_.end(), normal);
            indices_[*corner] = static_cast<unsigned int>(known - normals_.begin());
            if (known == normals_.end()) {
                normals_.push_back(normal);
                origins_.push_back(vertex);
            }
        }
    }

    Normal
    meanNormal(std::uint32_t corner, const std::uint32_t* begin, const std::uint32_t* end) const {
        const Vector& own = faces_[corner / 3];
        Vector sum(0.0, 0.0, 0.0);
        for (const std::uint32_t* other = begin; other != end; ++other) {
            const Vector& face = faces_[*other / 3];
            if (face.Dot(own) >= kCosineOf30Degrees) {
                sum += face;
            }
        }
        const Vector mean = Unit(sum);
        return {static_cast<float>(mean[0]), static_cast<float>(mean[1]),
                static_cast<float>(mean[2])};
    }

    kx::kxPointer<kx::kxTriMesh> mesh() const {
        kx::kxAttributes attributes;
        attributes.SetPositionChannels(3);
        attributes.SetNormalChannels(3);
        const int count = static_cast<int>(normals_.size());
        kx::kxPointer<kx::kxVertexBuffer> vertices(new kx::kxVertexBuffer(attributes, count));
        for (int i = 0; i < count; ++i) {
            const Point& p = part_.positions[origins_[static_cast<std::size_t>(i)]];
            vertices->Position3(i) = {p[0], p[1], p[2]};
            vertices->Normal3(i) = normals_[static_cast<std::size_t>(i)];
        }
        kx::kxPointer<kx::kxIndexBuffer> triangles(
            new kx::kxIndexBuffer(static_cast<int>(indices_.size()), kx::IBT_TRIANGLES));
        std::copy(indices_.begin(), indices_.end(), triangles->GetData());
        return new kx::kxTriMesh(vertices.get(), triangles.get());
    }

    const Part& part_;
    std::vector<Vector> faces_;
    std::vector<Normal> normals_;
    std::vector<std::uint32_t> origins_; ///< For each normal, its vertex in the part.
    std::vector<unsigned int> indices_;
};

/// The sphere around the box of a scene.
struct Sphere {
    Vector middle;
    double radius;
};

Sphere SphereAround(const Scene& scene) {
    constexpr double kFar = std::numeric_limits<double>::infinity();
    Vector low(kFar, kFar, kFar);
    Vector high(-kFar, -kFar, -kFar);
    for (const Part& part : scene) {
        for (const Point& point : part.positions) {
            const Vector p = Wide(point);
            for (int axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], p[axis]);
                high[axis] = std::max(high[axis], p[axis]);
            }
        }
    }
    const Vector size = high - low;
    return {0.5 * (low + high), 0.5 * std::sqrt(size.Dot(size))};
}

/// Turns an orthographic camera on a box of -1 to 1 into a perspective one with its eye at a depth
/// of -3: w grows from 2 at the near side to 4 at the far side, and the view is widened by half of
/// that, so that the sphere in the box stays in view.
void PutEyeInFront(Wm4::Matrix4<float>& toClip, Wm4::Matrix4<float>& toWorld) {
    constexpr float kEye = 3.0F;
    constexpr float kZoom = 2.7F;
    // Row vectors: (x, y, z, 1) becomes (kZoom x, kZoom y, kEye z + 1, z + kEye).
    const Wm4::Matrix4<float> project(kZoom, 0, 0, 0, 0, kZoom, 0, 0, 0, 0, kEye, 1, 0, 0, 1, kEye);
    constexpr float kDeterminant = kEye * kEye - 1.0F;
    const Wm4::Matrix4<float> unproject(1 / kZoom, 0, 0, 0, 0, 1 / kZoom, 0, 0, 0, 0,
                                        kEye / kDeterminant, -1 / kDeterminant, 0, 0,
                                        -1 / kDeterminant, kEye / kDeterminant);
    toClip = toClip * project;
    toWorld = unproject * toWorld;
}

/// x to the right, y down the page, z away from the eye; each axis of the sphere's size.
ctr::DiscreteProjectionSpace CameraOn(const Sphere& sphere, View view) {
    const bool turned = view != View::Aligned;
    const Vector ahead = Unit(turned ? Vector(-1.0, 1.3, -0.8) : Vector(0.0, 0.0, -1.0));
    const Vector up = turned ? Vector(0.0, 0.0, 1.0) : Vector(0.0, 1.0, 0.0);
    const Vector right = Unit(ahead.Cross(up));
    const Vector down = ahead.Cross(right);
    const std::array<Vector, 3> axes{right, down, ahead};
    const double half = 1.02 * sphere.radius;
    Wm4::Matrix4<float> toClip(false);
    Wm4::Matrix4<float> toWorld(false);
    for (int axis = 0; axis < 3; ++axis) {
        const Vector& direction = axes[static_cast<std::size_t>(axis)];
        for (int k = 0; k < 3; ++k) {
            toClip[k][axis] = static_cast<float>(direction[k] / half);
            toWorld[axis][k] = static_cast<float>(direction[k] * half);
        }
        toClip[3][axis] = static_cast<float>(-sphere.middle.Dot(direction) / half);
        toWorld[3][axis] = static_cast<float>(sphere.middle[axis]);
    }
    if (view == View::Perspective) {
        PutEyeInFront(toClip, toWorld);
    }
    ctr::DiscreteProjectionSpace space;
    space.setViewProjection(toClip, toWorld);
    space.setVoxelBitSize(kScreenBits, kDepthBits);
    return space;
}

kx::kxPointer<kx::kxTriMesh> PlainMesh(const Part& part) {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    const int count = static_cast<int>(part.positions.size());
    const kx::kxPointer<kx::kxVertexBuffer> vertices(new kx::kxVertexBuffer(attributes, count));
    for (int i = 0; i < count; ++i) {
        const Point& p = part.positions[static_cast<std::size_t>(i)];
        vertices->Position3(i) = {p[0], p[1], p[2]};
    }
    const kx::kxPointer<kx::kxIndexBuffer> triangles(
        new kx::kxIndexBuffer(static_cast<int>(3 * part.triangles.size()), kx::IBT_TRIANGLES));
    unsigned int* index = triangles->GetData();
    for (const Triangle& triangle : part.triangles) {
        index = std::copy(triangle.begin(), triangle.end(), index);
    }
    return new kx::kxTriMesh(vertices.get(), triangles.get());
}

template <class MakeMesh> Subject SubjectOf(const Scene& scene, View view, MakeMesh makeMesh) {
    Subject subject;
    for (const Part& part : scene) {
        subject.meshes.push_back(makeMesh(part));
        subject.borrowed.push_back(subject.meshes.back().get());
    }
    subject.camera = CameraOn(SphereAround(scene), view);
    subject.triangles = TriangleCount(scene);
    return subject;
}

} // namespace

Subject MakeSubject(const Scene& scene, View view) {
    return SubjectOf(scene, view, [](const Part& part) { return Smoother(part).make(); });
}

Subject MakePlainSubject(const Scene& scene, View view) {
    return SubjectOf(scene, view, PlainMesh);
}

} // namespace bench
