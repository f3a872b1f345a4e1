// Random scenes of axis-aligned boxes with whole-number corners, by kind and seed.
#pragma once

#include "drawing/scene/Model.h"
#include "support/Scenes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ground_truth {

/// A closed box; low is below high on every axis.
struct Cuboid {
    std::array<int, 3> low;
    std::array<int, 3> high;
};

enum class SceneKind : std::uint8_t {
    Apart,       ///< At least one unit between any two.
    Touching,    ///< In contact, without common inside.
    Overlapping, ///< Anywhere in a small lattice.
    Flush,       ///< Each shares planes of faces with one before it.
    Nested,      ///< Each inside the one before it, often flush with it.
    Frames,      ///< Four beams that overlap at the corners.
    Rooms,       ///< Walls that overlap at corners, on a floor.
    Stairs,      ///< Steps, overlapping or one upon the other.
    Rafters,     ///< Beams in a slab, with ends flush with its face.
};
constexpr std::size_t kSceneKinds = 9;

const char* NameOf(SceneKind kind);

/// Boxes and the meshes that show them: one mesh for each box, or a single one for all of them.
/// Faces are triangulated in various ways, always without T-junctions.
struct BoxScene {
    std::vector<Cuboid> boxes;
    std::vector<test_support::MeshData> objects;
};

BoxScene MakeBoxScene(SceneKind kind, std::uint64_t seed);

/// Moves every corner of every triangle by up to a length, each in its own way.
void Crack(BoxScene& scene, float length, std::uint64_t seed);

/// The scene as the tool has it after reading a file.
kxcontour::Model ModelOf(const BoxScene& scene);

/// The scene as a file.
std::string ObjTextOf(const BoxScene& scene);

} // namespace ground_truth
