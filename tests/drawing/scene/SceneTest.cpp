// What no scene can hold.
#include "drawing/scene/Scene.h"

#include <kxDrawing/Errors.h>

#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>

namespace {

using kxcontour::Model;
using kxcontour::Shape;

/// One shape of 2^20 vertices and one triangle, placed so many times.
Model ManyPlacements(std::size_t count) {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    Shape shape;
    shape.vertices = new kx::kxVertexBuffer(attributes, 1 << 20);
    shape.vertices->Position3(1)[0] = 1.0F;
    shape.vertices->Position3(2)[1] = 1.0F;
    shape.triangles = new kx::kxIndexBuffer(3, kx::IBT_TRIANGLES);
    for (unsigned int i = 0; i < 3; ++i) {
        shape.triangles->GetData()[i] = i;
    }
    Model model = tool_test::MakeModel({shape});
    model.placements.assign(count, model.placements.front());
    return model;
}

TEST(Scene, OfMoreVerticesThanCanBeNumberedIsRefused) {
    for (const std::size_t count : {2048U, 4097U}) {
        try {
            kxcontour::SceneBuilder({}).addDrawn(ManyPlacements(count), "model");
            ADD_FAILURE() << count << " placements were taken";
        } catch (const kxdrawing::CannotRead& failure) {
            EXPECT_EQ(failure.what(), "model: too large to draw: " + std::to_string(count) +
                                          " triangles with " + std::to_string(count << 20U) +
                                          " vertices, counted once per placement");
        }
    }
    kxcontour::SceneBuilder builder({});
    builder.addDrawn(ManyPlacements(2), "model");
    EXPECT_FALSE(builder.finish().meshes.empty());
}

} // namespace
