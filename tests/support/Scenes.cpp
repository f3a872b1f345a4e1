// Builders of meshes and views. Matrices act on row vectors, so the translation is the fourth row.
#include "support/Scenes.h"

#include <cmath>
#include <cstddef>
#include <utility>

namespace test_support {

namespace {

kx::kxAttributes PositionAttributes(bool withNormals) {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(withNormals ? 3 : 0);
    return attributes;
}

kx::kxPointer<kx::kxIndexBuffer> MakeTriangleBuffer(const std::vector<unsigned int>& indices) {
    kx::kxPointer<kx::kxIndexBuffer> buffer(
        new kx::kxIndexBuffer(static_cast<int>(indices.size()), kx::IBT_TRIANGLES));
    for (std::size_t i = 0; i < indices.size(); ++i) {
        buffer->GetData()[i] = indices[i];
    }
    return buffer;
}

Wm4::Matrix4<float> DiagonalMatrix(const Point& scale, const Point& offset) {
    Wm4::Matrix4<float> matrix = Wm4::Matrix4<float>::IDENTITY;
    for (int i = 0; i < 3; ++i) {
        matrix[i][i] = scale[i];
        matrix[3][i] = offset[i];
    }
    return matrix;
}

// A view whose clip coordinates are world coordinates scaled and shifted, axis by axis.
ctr::DiscreteProjectionSpace
AxisAlignedSpace(unsigned int xyBits, unsigned int zBits, const Point& scale, const Point& offset) {
    Point inverseScale;
    Point inverseOffset;
    for (int i = 0; i < 3; ++i) {
        inverseScale[i] = 1.0F / scale[i];
        inverseOffset[i] = -offset[i] / scale[i];
    }
    ctr::DiscreteProjectionSpace space;
    space.setViewProjection(DiagonalMatrix(scale, offset),
                            DiagonalMatrix(inverseScale, inverseOffset));
    space.setVoxelBitSize(xyBits, zBits);
    return space;
}

float StepsOf(unsigned int bits) {
    return static_cast<float>((1U << bits) - 1U);
}

} // namespace

unsigned int MeshData::addVertex(const Point& position) {
    positions.push_back(position);
    return static_cast<unsigned int>(positions.size() - 1);
}

void MeshData::addTriangle(unsigned int a, unsigned int b, unsigned int c) {
    indices.insert(indices.end(), {a, b, c});
}

void MeshData::addTriangle(const Point& a, const Point& b, const Point& c) {
    const unsigned int first = addVertex(a);
    addVertex(b);
    addVertex(c);
    addTriangle(first, first + 1, first + 2);
}

void MeshData::append(const MeshData& other) {
    const auto first = static_cast<unsigned int>(positions.size());
    positions.insert(positions.end(), other.positions.begin(), other.positions.end());
    for (const unsigned int index : other.indices) {
        indices.push_back(first + index);
    }
}

kx::kxPointer<kx::kxTriMesh> MakeMesh(const std::vector<Point>& positions,
                                      const std::vector<Point>& normals,
                                      const std::vector<unsigned int>& indices) {
    const kx::kxPointer<kx::kxVertexBuffer> vertices(new kx::kxVertexBuffer(
        PositionAttributes(!normals.empty()), static_cast<int>(positions.size())));
    for (std::size_t i = 0; i < positions.size(); ++i) {
        vertices->Position3(static_cast<int>(i)) = positions[i];
    }
    for (std::size_t i = 0; i < normals.size(); ++i) {
        vertices->Normal3(static_cast<int>(i)) = normals[i];
    }
    const kx::kxPointer<kx::kxIndexBuffer> triangles = MakeTriangleBuffer(indices);
    kx::kxPointer<kx::kxTriMesh> mesh(new kx::kxTriMesh(vertices.get(), triangles.get()));
    mesh->UpdateMS(true, false, -2);
    return mesh;
}

kx::kxPointer<kx::kxTriMesh> MakeMesh(const std::vector<Point>& positions,
                                      const std::vector<unsigned int>& indices) {
    return MakeMesh(positions, {}, indices);
}

kx::kxPointer<kx::kxTriMesh> MakeMesh(const MeshData& data) {
    return MakeMesh(data.positions, data.indices);
}

std::vector<const kx::kxTriMesh*>
MeshList(const std::vector<kx::kxPointer<kx::kxTriMesh>>& meshes) {
    std::vector<const kx::kxTriMesh*> list;
    list.reserve(meshes.size());
    for (const auto& mesh : meshes) {
        list.push_back(mesh.get());
    }
    return list;
}

MeshData Triangle(const Point& a, const Point& b, const Point& c) {
    return {{a, b, c}, {0, 1, 2}};
}

MeshData Quad(const Point& a, const Point& b, const Point& c, const Point& d) {
    return {{a, b, c, d}, {0, 1, 2, 0, 2, 3}};
}

MeshData Box(const Point& lowest, const Point& highest) {
    MeshData box;
    for (unsigned int corner = 0; corner < 8; ++corner) {
        box.addVertex(Point((corner & 1U) != 0 ? highest.X() : lowest.X(),
                            (corner & 2U) != 0 ? highest.Y() : lowest.Y(),
                            (corner & 4U) != 0 ? highest.Z() : lowest.Z()));
    }
    box.indices = {0, 2, 3, 0, 3, 1,  // lowest z
                   4, 5, 7, 4, 7, 6,  // highest z
                   0, 1, 5, 0, 5, 4,  // lowest y
                   2, 6, 7, 2, 7, 3,  // highest y
                   0, 4, 6, 0, 6, 2,  // lowest x
                   1, 3, 7, 1, 7, 5}; // highest x
    return box;
}

MeshData GridOfQuads(int columns, int rows, const std::function<float(int, int)>& height) {
    MeshData grid;
    for (int y = 0; y <= rows; ++y) {
        for (int x = 0; x <= columns; ++x) {
            grid.addVertex(Point(static_cast<float>(x), static_cast<float>(y), height(x, y)));
        }
    }
    const auto stride = static_cast<unsigned int>(columns + 1);
    for (unsigned int y = 0; y < static_cast<unsigned int>(rows); ++y) {
        for (unsigned int x = 0; x < static_cast<unsigned int>(columns); ++x) {
            const unsigned int corner = y * stride + x;
            grid.addTriangle(corner, corner + 1, corner + stride + 1);
            grid.addTriangle(corner, corner + stride + 1, corner + stride);
        }
    }
    return grid;
}

MeshData Prism(const std::vector<Wm4::Vector2<float>>& outline, float z0, float z1) {
    MeshData prism;
    const auto sides = static_cast<unsigned int>(outline.size());
    for (const float z : {z0, z1}) {
        for (const auto& corner : outline) {
            prism.addVertex(Point(corner.X(), corner.Y(), z));
        }
    }
    for (unsigned int i = 0; i < sides; ++i) {
        const unsigned int next = (i + 1) % sides;
        prism.addTriangle(i, next, sides + next);
        prism.addTriangle(i, sides + next, sides + i);
    }
    for (unsigned int i = 2; i < sides; ++i) {
        prism.addTriangle(0, i, i - 1);
        prism.addTriangle(sides, sides + i - 1, sides + i);
    }
    return prism;
}

MeshData Sphere(const Point& center, float radius, int slices, int stacks) {
    MeshData sphere;
    const auto around = static_cast<unsigned int>(slices);
    const auto rings = static_cast<unsigned int>(stacks - 1);
    for (unsigned int ring = 1; ring <= rings; ++ring) {
        const double polar = 3.14159265358979323846 * ring / (rings + 1);
        for (unsigned int slice = 0; slice < around; ++slice) {
            const double turn = 2.0 * 3.14159265358979323846 * slice / around;
            const Point direction(static_cast<float>(std::sin(polar) * std::cos(turn)),
                                  static_cast<float>(std::sin(polar) * std::sin(turn)),
                                  static_cast<float>(-std::cos(polar)));
            sphere.addVertex(center + radius * direction);
        }
    }
    const unsigned int low = sphere.addVertex(center - Point(0.0F, 0.0F, radius));
    const unsigned int high = sphere.addVertex(center + Point(0.0F, 0.0F, radius));
    for (unsigned int slice = 0; slice < around; ++slice) {
        const unsigned int next = (slice + 1) % around;
        sphere.addTriangle(low, next, slice);
        for (unsigned int ring = 0; ring + 1 < rings; ++ring) {
            const unsigned int below = ring * around;
            const unsigned int above = below + around;
            sphere.addTriangle(below + slice, below + next, above + next);
            sphere.addTriangle(below + slice, above + next, above + slice);
        }
        const unsigned int last = (rings - 1) * around;
        sphere.addTriangle(high, last + slice, last + next);
    }
    return sphere;
}

MeshData Fan(const Point& a, const Point& b, const std::vector<Point>& tips) {
    MeshData fan;
    fan.addVertex(a);
    fan.addVertex(b);
    for (const Point& tip : tips) {
        fan.addTriangle(0, 1, fan.addVertex(tip));
    }
    return fan;
}

MeshData Flipped(const MeshData& data) {
    MeshData flipped = data;
    for (std::size_t i = 0; i + 2 < flipped.indices.size(); i += 3) {
        std::swap(flipped.indices[i + 1], flipped.indices[i + 2]);
    }
    return flipped;
}

MeshData Unwelded(const MeshData& data) {
    MeshData unwelded;
    for (const unsigned int index : data.indices) {
        unwelded.indices.push_back(unwelded.addVertex(data.positions[index]));
    }
    return unwelded;
}

kx::kxGenericTransformation<float>
AxisTransformation(const int (&axis)[3], const int (&sign)[3], const Point& offset) {
    Wm4::Matrix4<float> matrix = Wm4::Matrix4<float>::IDENTITY;
    for (int world = 0; world < 3; ++world) {
        for (int local = 0; local < 3; ++local) {
            matrix[local][world] = axis[world] == local ? static_cast<float>(sign[world]) : 0.0F;
        }
        matrix[3][world] = offset[world];
    }
    kx::kxGenericTransformation<float> transformation;
    transformation.SetMatrix(matrix);
    return transformation;
}

ctr::DiscreteProjectionSpace LatticeSpace(unsigned int xyBits, unsigned int zBits) {
    return SqueezedLatticeSpace(xyBits, zBits, 1.0F);
}

// With n steps over the view, a step is 2 / n long; the lattice point i lies half a step behind the
// start of cell i, so that rounding can never push it into the cell before.
ctr::DiscreteProjectionSpace
SqueezedLatticeSpace(unsigned int xyBits, unsigned int zBits, float squeeze) {
    const float across = StepsOf(xyBits);
    const float deep = StepsOf(zBits);
    const Point scale(2.0F / across, 2.0F * squeeze / across, 2.0F / deep);
    const Point offset(1.0F / across - 1.0F, squeeze / across - 1.0F, 1.0F / deep - 1.0F);
    return AxisAlignedSpace(xyBits, zBits, scale, offset);
}

ctr::DiscreteProjectionSpace PerspectiveSpace(
    unsigned int xyBits, unsigned int zBits, float slope, float nearDepth, float farDepth) {
    const float depthScale = (farDepth + nearDepth) / (farDepth - nearDepth);
    const float depthOffset = -2.0F * farDepth * nearDepth / (farDepth - nearDepth);
    Wm4::Matrix4<float> toClip = Wm4::Matrix4<float>::ZERO;
    toClip[0][0] = 1.0F / slope;
    toClip[1][1] = 1.0F / slope;
    toClip[2][2] = depthScale;
    toClip[2][3] = 1.0F;
    toClip[3][2] = depthOffset;
    Wm4::Matrix4<float> toWorld = Wm4::Matrix4<float>::ZERO;
    toWorld[0][0] = slope;
    toWorld[1][1] = slope;
    toWorld[2][3] = 1.0F / depthOffset;
    toWorld[3][2] = 1.0F;
    toWorld[3][3] = -depthScale / depthOffset;
    ctr::DiscreteProjectionSpace space;
    space.setViewProjection(toClip, toWorld);
    space.setVoxelBitSize(xyBits, zBits);
    return space;
}

// The camera axes are (2, -1, 2) / 3, (2, 2, -1) / 3 and (-1, 2, 2) / 3, which are orthonormal.
ctr::DiscreteProjectionSpace
SlantedSpace(unsigned int xyBits, unsigned int zBits, float halfWidth) {
    constexpr float kAxes[3][3] = {{2.0F, -1.0F, 2.0F}, {2.0F, 2.0F, -1.0F}, {-1.0F, 2.0F, 2.0F}};
    Wm4::Matrix4<float> toClip = Wm4::Matrix4<float>::IDENTITY;
    Wm4::Matrix4<float> toWorld = Wm4::Matrix4<float>::IDENTITY;
    for (int world = 0; world < 3; ++world) {
        for (int camera = 0; camera < 3; ++camera) {
            toClip[world][camera] = kAxes[camera][world] / (3.0F * halfWidth);
            toWorld[camera][world] = kAxes[camera][world] * halfWidth / 3.0F;
        }
    }
    ctr::DiscreteProjectionSpace space;
    space.setViewProjection(toClip, toWorld);
    space.setVoxelBitSize(xyBits, zBits);
    return space;
}

} // namespace test_support
