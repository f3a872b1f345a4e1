// Boxes are made in a plain position; the whole scene is then turned and mirrored along the axes.
#include "BoxScene.h"

#include "support/Random.h"
#include "tool/ShapeBuilders.h"

#include <algorithm>
#include <iomanip>
#include <map>
#include <sstream>
#include <tuple>
#include <utility>

namespace ground_truth {
namespace {

using test_support::MeshData;
using test_support::Point;
using test_support::Random;
using Boxes = std::vector<Cuboid>;

bool Overlap(const Cuboid& a, const Cuboid& b, int gap) {
    for (std::size_t i = 0; i < 3; ++i) {
        if (a.high[i] + gap <= b.low[i] || b.high[i] + gap <= a.low[i]) {
            return false;
        }
    }
    return true;
}

bool OverlapsAny(const Cuboid& box, const Boxes& boxes, int gap) {
    return std::any_of(boxes.begin(), boxes.end(),
                       [&](const Cuboid& other) { return Overlap(box, other, gap); });
}

Cuboid RandomBox(Random& random, int extent, int largest) {
    Cuboid box{};
    for (std::size_t i = 0; i < 3; ++i) {
        const int size = random.between(1, largest);
        box.low[i] = random.between(0, extent - size);
        box.high[i] = box.low[i] + size;
    }
    return box;
}

Boxes Apart(Random& random) {
    const int count = random.between(2, 7);
    Boxes boxes{RandomBox(random, 12, 5)};
    for (int attempt = 0; attempt < 200 && static_cast<int>(boxes.size()) < count; ++attempt) {
        const Cuboid box = RandomBox(random, 12, 5);
        if (!OverlapsAny(box, boxes, 1)) {
            boxes.push_back(box);
        }
    }
    return boxes;
}

/// A box of random size beside one of the others.
Cuboid Beside(Random& random, const Boxes& boxes) {
    const Cuboid& other =
        boxes[static_cast<std::size_t>(random.below(static_cast<int>(boxes.size())))];
    const auto across = static_cast<std::size_t>(random.below(3));
    Cuboid box{};
    for (std::size_t i = 0; i < 3; ++i) {
        const int size = random.between(1, 5);
        box.low[i] = random.between(other.low[i] - size + 1, other.high[i] - 1);
        if (i == across) {
            box.low[i] = random.percent(50) ? other.high[i] : other.low[i] - size;
        }
        box.high[i] = box.low[i] + size;
        // Corners of both in one place, one time in four.
        if (i != across && random.percent(25)) {
            box.low[i] = other.low[i];
            box.high[i] = other.high[i];
        }
    }
    return box;
}

Boxes Touching(Random& random) {
    const int count = random.between(2, 9);
    Boxes boxes{RandomBox(random, 8, 5)};
    for (int attempt = 0; attempt < 200 && static_cast<int>(boxes.size()) < count; ++attempt) {
        const Cuboid box = Beside(random, boxes);
        if (!OverlapsAny(box, boxes, 0)) {
            boxes.push_back(box);
        }
    }
    return boxes;
}

Boxes Overlapping(Random& random) {
    const int count = random.between(2, 8);
    Boxes boxes;
    for (int i = 0; i < count; ++i) {
        boxes.push_back(RandomBox(random, 8, 6));
    }
    return boxes;
}

Boxes Flush(Random& random) {
    const int count = random.between(2, 6);
    Boxes boxes{RandomBox(random, 10, 6)};
    while (static_cast<int>(boxes.size()) < count) {
        const Cuboid& other =
            boxes[static_cast<std::size_t>(random.below(static_cast<int>(boxes.size())))];
        Cuboid box{};
        for (std::size_t i = 0; i < 3; ++i) {
            const int size = random.between(1, 6);
            box.low[i] = random.between(other.low[i] - size, other.high[i]);
            switch (random.below(4)) {
            case 0:
                box.low[i] = other.low[i];
                break;
            case 1:
                box.low[i] = other.high[i] - size;
                break;
            case 2:
                box.low[i] = other.high[i];
                break;
            default:
                break;
            }
            box.high[i] = box.low[i] + size;
        }
        boxes.push_back(box);
    }
    return boxes;
}

Boxes Nested(Random& random) {
    Boxes boxes{{{0, 0, 0}, {random.between(6, 12), random.between(6, 12), random.between(6, 12)}}};
    const int count = random.between(2, 6);
    while (static_cast<int>(boxes.size()) < count) {
        Cuboid box = boxes.back();
        for (std::size_t i = 0; i < 3; ++i) {
            const int extent = box.high[i] - box.low[i];
            box.low[i] += random.percent(50) ? 0 : random.between(0, (extent - 1) / 2);
            box.high[i] -= random.percent(50) ? 0 : random.between(0, (extent - 1) / 2);
            // Some reach out of the box around them.
            box.high[i] += random.percent(10) ? 1 : 0;
        }
        boxes.push_back(box);
    }
    return boxes;
}

/// Four beams around a rectangle; ends may run past the corners.
void AddFrame(Random& random, Boxes& boxes, int x, int y, int z, int width, int height) {
    const int thickness = random.between(1, 2);
    const int depth = random.between(1, 2);
    const int past = random.percent(30) ? 1 : 0;
    const int sunk = random.percent(30) ? 1 : 0;
    const int right = x + width;
    const int top = y + height;
    boxes.push_back({{x - past, y, z}, {right + past, y + thickness, z + depth}});
    boxes.push_back({{x - past, top - thickness, z}, {right + past, top, z + depth}});
    boxes.push_back({{x, y - past, z}, {x + thickness, top + past, z + depth + sunk}});
    boxes.push_back({{right - thickness, y - past, z}, {right, top + past, z + depth + sunk}});
}

Boxes Frames(Random& random) {
    Boxes boxes;
    const int width = random.between(5, 10);
    const int height = random.between(5, 12);
    AddFrame(random, boxes, 0, 0, 0, width, height);
    if (random.percent(40)) {
        // The pane, flush with the front or the back of the frame or within it.
        const int z = random.between(0, 1);
        boxes.push_back({{0, 0, z}, {width, height, z + 1}});
    }
    if (random.percent(50)) {
        AddFrame(random, boxes, random.between(-3, width), random.between(-3, height),
                 random.between(-3, 3), random.between(5, 8), random.between(5, 8));
    }
    return boxes;
}

Boxes Rooms(Random& random) {
    const int width = random.between(6, 14);
    const int depth = random.between(6, 14);
    const int height = random.between(3, 6);
    const int sunk = random.percent(50) ? 1 : 0;
    const int bottom = -sunk;
    Boxes boxes{{{0, -1, 0}, {width, 0, depth}}};
    boxes.push_back({{0, bottom, 0}, {width, height, 1}});
    boxes.push_back({{0, bottom, depth - 1}, {width, height, depth}});
    boxes.push_back({{0, bottom, 0}, {1, height, depth}});
    boxes.push_back({{width - 1, bottom, 0}, {width, height, depth}});
    for (int walls = random.below(3); walls > 0; --walls) {
        const int at = random.between(2, std::min(width, depth) - 3);
        const int top = random.percent(70) ? height : height - 1;
        // Ends flush with the outer faces, or with the inner ones.
        const int inset = random.percent(50) ? 0 : 1;
        if (random.percent(50)) {
            boxes.push_back({{at, bottom, inset}, {at + 1, top, depth - inset}});
        } else {
            boxes.push_back({{inset, bottom, at}, {width - inset, top, at + 1}});
        }
    }
    if (random.percent(30)) {
        boxes.push_back({{0, height, 0}, {width, height + 1, random.between(2, depth)}});
    }
    return boxes;
}

Boxes Stairs(Random& random) {
    const int steps = random.between(2, 7);
    const int width = random.between(2, 6);
    const int style = random.below(3);
    Boxes boxes;
    for (int i = 0; i < steps; ++i) {
        const int left = style == 2 ? 0 : i;
        const int right = style == 0 ? steps : style == 1 ? i + 1 : steps - i;
        const int bottom = style == 0 ? i : 0;
        boxes.push_back({{left, bottom, 0}, {right, i + 1, width}});
    }
    if (random.percent(40)) {
        // Cheeks, sunk into the steps or beside them.
        const int inside = random.percent(50) ? 1 : 0;
        boxes.push_back({{0, 0, inside - 1}, {steps, random.between(1, steps + 1), inside}});
        boxes.push_back(
            {{0, 0, width - inside}, {steps, random.between(1, steps + 1), width - inside + 1}});
    }
    return boxes;
}

Boxes Rafters(Random& random) {
    const int beams = random.between(2, 6);
    const int pitch = random.between(2, 3);
    const int length = random.between(4, 12);
    const int thickness = random.between(1, 2);
    const int across = beams * pitch + 1;
    Boxes boxes{{{0, 0, 0}, {across, thickness, length}}};
    const int below = random.percent(30) ? 1 : 0;
    const int above = random.percent(30) ? 1 : 0;
    const int before = random.percent(30) ? 1 : 0;
    const int behind = random.percent(50) ? 1 : 0;
    for (int i = 0; i < beams; ++i) {
        const int x = 1 + i * pitch;
        boxes.push_back({{x, -below, -behind}, {x + 1, thickness + above, length + before}});
    }
    if (random.percent(30)) {
        boxes.push_back({{0, -1, 1}, {across, 1, 2}});
    }
    return boxes;
}

Boxes MakeBoxes(SceneKind kind, Random& random) {
    switch (kind) {
    case SceneKind::Apart:
        return Apart(random);
    case SceneKind::Touching:
        return Touching(random);
    case SceneKind::Overlapping:
        return Overlapping(random);
    case SceneKind::Flush:
        return Flush(random);
    case SceneKind::Nested:
        return Nested(random);
    case SceneKind::Frames:
        return Frames(random);
    case SceneKind::Rooms:
        return Rooms(random);
    case SceneKind::Stairs:
        return Stairs(random);
    case SceneKind::Rafters:
        break;
    }
    return Rafters(random);
}

void Turn(Boxes& boxes, Random& random) {
    std::array<std::size_t, 3> axes{0, 1, 2};
    for (std::size_t i = 2; i > 0; --i) {
        std::swap(axes[i], axes[static_cast<std::size_t>(random.below(static_cast<int>(i) + 1))]);
    }
    const std::array<bool, 3> mirrored{random.percent(50), random.percent(50), random.percent(50)};
    for (Cuboid& box : boxes) {
        Cuboid turned{};
        for (std::size_t i = 0; i < 3; ++i) {
            const int low = box.low[axes[i]];
            const int high = box.high[axes[i]];
            turned.low[i] = mirrored[i] ? -high : low;
            turned.high[i] = mirrored[i] ? -low : high;
        }
        box = turned;
    }
}

/// An object whose triangles share vertices.
class ObjectBuilder {
public:
    explicit ObjectBuilder(Random& random) : random_(random) {}

    void add(const Cuboid& box) {
        std::array<std::vector<float>, 3> divisions;
        for (std::size_t i = 0; i < 3; ++i) {
            divisions[i] = {static_cast<float>(box.low[i])};
            if (random_.percent(15)) {
                const int size = box.high[i] - box.low[i];
                divisions[i].push_back(static_cast<float>(box.low[i]) +
                                       static_cast<float>(random_.between(1, 4 * size - 1)) / 4.0F);
            }
            divisions[i].push_back(static_cast<float>(box.high[i]));
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            addFace(divisions, axis, false);
            addFace(divisions, axis, true);
        }
    }

    MeshData take() { return std::move(data_); }

private:
    void addFace(const std::array<std::vector<float>, 3>& divisions, std::size_t axis, bool upper) {
        const std::size_t j = (axis + 1) % 3;
        const std::size_t k = (axis + 2) % 3;
        for (std::size_t column = 1; column < divisions[j].size(); ++column) {
            for (std::size_t row = 1; row < divisions[k].size(); ++row) {
                const auto at = [&](float along, float across) {
                    Point p;
                    p[static_cast<int>(axis)] =
                        upper ? divisions[axis].back() : divisions[axis].front();
                    p[static_cast<int>(j)] = along;
                    p[static_cast<int>(k)] = across;
                    return p;
                };
                const float left = divisions[j][column - 1];
                const float right = divisions[j][column];
                const float low = divisions[k][row - 1];
                const float high = divisions[k][row];
                std::array<Point, 4> corners{at(left, low), at(right, low), at(right, high),
                                             at(left, high)};
                if (!upper) {
                    std::reverse(corners.begin(), corners.end());
                }
                addQuad(corners, at((left + right) / 2.0F, (3.0F * low + high) / 4.0F));
            }
        }
    }

    void addQuad(const std::array<Point, 4>& corners, const Point& inside) {
        std::array<unsigned int, 4> c{};
        std::transform(corners.begin(), corners.end(), c.begin(),
                       [&](const Point& p) { return vertex(p); });
        const int way = random_.below(5);
        if (way == 0) {
            const unsigned int middle = vertex(inside);
            for (std::size_t i = 0; i < 4; ++i) {
                data_.addTriangle(c[i], c[(i + 1) % 4], middle);
            }
        } else if (way % 2 == 0) {
            data_.addTriangle(c[0], c[1], c[2]);
            data_.addTriangle(c[0], c[2], c[3]);
        } else {
            data_.addTriangle(c[0], c[1], c[3]);
            data_.addTriangle(c[1], c[2], c[3]);
        }
    }

    unsigned int vertex(const Point& p) {
        const auto [place, isNew] = numbers_.try_emplace(std::tuple(p[0], p[1], p[2]), 0U);
        if (isNew) {
            place->second = data_.addVertex(p);
        }
        return place->second;
    }

    Random& random_;
    MeshData data_;
    std::map<std::tuple<float, float, float>, unsigned int> numbers_;
};

} // namespace

const char* NameOf(SceneKind kind) {
    static const std::array<const char*, kSceneKinds> names{"apart", "touching", "overlapping",
                                                            "flush", "nested",   "frames",
                                                            "rooms", "stairs",   "rafters"};
    return names[static_cast<std::size_t>(kind)];
}

BoxScene MakeBoxScene(SceneKind kind, std::uint64_t seed) {
    Random random(seed);
    BoxScene scene;
    scene.boxes = MakeBoxes(kind, random);
    Turn(scene.boxes, random);
    const bool together = random.percent(50);
    ObjectBuilder all(random);
    for (const Cuboid& box : scene.boxes) {
        if (together) {
            all.add(box);
        } else {
            ObjectBuilder object(random);
            object.add(box);
            scene.objects.push_back(object.take());
        }
    }
    if (together) {
        scene.objects.push_back(all.take());
    }
    return scene;
}

void Crack(BoxScene& scene, float length, std::uint64_t seed) {
    Random random(seed);
    for (MeshData& object : scene.objects) {
        object = Unwelded(object);
        for (Point& p : object.positions) {
            for (int i = 0; i < 3; ++i) {
                p[i] += random.uniform(-length, length);
            }
        }
    }
}

kxcontour::Model ModelOf(const BoxScene& scene) {
    std::vector<kxcontour::Shape> shapes;
    for (const MeshData& object : scene.objects) {
        shapes.push_back(tool_test::MakeShape(object));
    }
    return tool_test::MakeModel(shapes);
}

std::string ObjTextOf(const BoxScene& scene) {
    std::ostringstream text;
    text << std::setprecision(9);
    unsigned int first = 1;
    for (std::size_t number = 0; number < scene.objects.size(); ++number) {
        const MeshData& object = scene.objects[number];
        text << "o object_" << number << "\n";
        for (const Point& p : object.positions) {
            text << "v " << p[0] << " " << p[1] << " " << p[2] << "\n";
        }
        for (std::size_t i = 0; i < object.indices.size(); i += 3) {
            text << "f " << object.indices[i] + first << " " << object.indices[i + 1] + first << " "
                 << object.indices[i + 2] + first << "\n";
        }
        first += static_cast<unsigned int>(object.positions.size());
    }
    return text.str();
}

} // namespace ground_truth
