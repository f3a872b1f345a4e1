// Conversion between surfaces and buffers.
#pragma once

#include <kxSceneGraph/kxTriMesh.h>
#include <kxSystem/kxPointer.h>

#include "support/Scenes.h"

#include <array>
#include <vector>

namespace features_test {

struct Buffers {
    kx::kxPointer<kx::kxVertexBuffer> vertices;
    kx::kxPointer<kx::kxIndexBuffer> triangles;
};

inline Buffers BuffersOf(const kx::kxTriMesh& mesh) {
    return {mesh.GetVertexBuffer(), mesh.GetIndexBuffer()};
}

inline Buffers BuffersOf(const test_support::MeshData& data) {
    return BuffersOf(*test_support::MakeMesh(data));
}

/// All that buffers hold, to be compared.
struct Contents {
    std::vector<std::array<float, 3>> positions;
    std::vector<unsigned int> indices;

    bool operator==(const Contents& other) const = default;
};

inline Contents ContentsOf(const kx::kxVertexBuffer& vertices, const kx::kxIndexBuffer& triangles) {
    Contents contents;
    for (int i = 0; i < vertices.GetVertexQuantity(); ++i) {
        const test_support::Point& p = vertices.Position3(i);
        contents.positions.push_back({p[0], p[1], p[2]});
    }
    contents.indices.assign(triangles.GetData(),
                            triangles.GetData() + triangles.GetIndexQuantity());
    return contents;
}

} // namespace features_test
