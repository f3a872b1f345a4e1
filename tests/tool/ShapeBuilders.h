// Shapes, models and failures for the tests of the tool's parts.
#pragma once

#include <kxDrawing/Errors.h>

#include "drawing/scene/Model.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tool_test {

using Matrix = Wm4::Matrix4<double>;
using test_support::MeshData;
using test_support::Point;

/// A shape of the mesh's triangles; normals, when given, one a vertex.
inline kxcontour::Shape MakeShape(const MeshData& data, const std::vector<Point>& normals = {}) {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(normals.empty() ? 0 : 3);
    const int vertexCount = static_cast<int>(data.positions.size());
    const int indexCount = static_cast<int>(data.indices.size());
    kxcontour::Shape shape;
    shape.vertices = new kx::kxVertexBuffer(attributes, vertexCount);
    shape.triangles = new kx::kxIndexBuffer(indexCount, kx::IBT_TRIANGLES);
    for (int i = 0; i < vertexCount; ++i) {
        shape.vertices->Position3(i) = data.positions[static_cast<std::size_t>(i)];
        if (!normals.empty()) {
            shape.vertices->Normal3(i) = normals[static_cast<std::size_t>(i)];
        }
    }
    for (int i = 0; i < indexCount; ++i) {
        shape.triangles->GetData()[i] = data.indices[static_cast<std::size_t>(i)];
    }
    return shape;
}

/// A world matrix that scales along the axes and then moves.
inline Matrix ScaleAndMove(double sx, double sy, double sz, double x, double y, double z) {
    return Matrix(sx, 0, 0, 0, 0, sy, 0, 0, 0, 0, sz, 0, x, y, z, 1);
}

/// A model that shows each of its shapes once, where its coordinates say.
inline kxcontour::Model MakeModel(const std::vector<kxcontour::Shape>& shapes) {
    kxcontour::Model model;
    model.shapes = shapes;
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        model.placements.push_back({i, i, Matrix(false)});
        model.objects.push_back("object " + std::to_string(i));
    }
    return model;
}

/// Runs something that has to throw an exception of a kind; returns its message.
template <class Kind, class Action> std::string FailureOf(const Action& action) {
    try {
        action();
        ADD_FAILURE() << "did not fail";
    } catch (const Kind& failure) {
        return failure.what();
    } catch (const kxdrawing::Error& failure) {
        ADD_FAILURE() << "another kind: " << failure.what();
    }
    return "";
}

/// Whether a text holds another.
inline bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace tool_test
