// Scenes are assembled from ingredients, each of which produces one kind of contact. All points are
// integers, which most of the views map exactly to grid points.
#include "support/RandomScenes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <locale>
#include <sstream>
#include <utility>

namespace test_support {

namespace {

using Lattice = std::array<int, 3>;

// Where the points of a scene may lie.
struct LatticeBox {
    Lattice lowest;
    Lattice highest;
};

Point ToPoint(const Lattice& p) {
    return {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])};
}

Lattice AnyPoint(Random& random, const LatticeBox& box) {
    Lattice p{};
    for (std::size_t i = 0; i < 3; ++i) {
        p[i] = random.between(box.lowest[i], box.highest[i]);
    }
    return p;
}

Lattice Moved(const Lattice& p, const Lattice& by, int times) {
    return {p[0] + by[0] * times, p[1] + by[1] * times, p[2] + by[2] * times};
}

Lattice SmallStep(Random& random) {
    return {random.between(-1, 1), random.between(-1, 1), random.between(-1, 1)};
}

// --- ingredients ---

MeshData Soup(Random& random, const LatticeBox& box) {
    MeshData data;
    for (int i = random.between(1, 6); i > 0; --i) {
        const Point a = ToPoint(AnyPoint(random, box));
        const Point b = ToPoint(AnyPoint(random, box));
        data.addTriangle(a, b, ToPoint(AnyPoint(random, box)));
    }
    return data;
}

// Few vertices, shared by number between many triangles; a number may come up twice in one.
MeshData SharedVertices(Random& random, const LatticeBox& box) {
    MeshData data;
    const int points = random.between(4, 6);
    for (int i = 0; i < points; ++i) {
        data.addVertex(ToPoint(AnyPoint(random, box)));
    }
    const auto any = [&] { return static_cast<unsigned int>(random.below(points)); };
    for (int i = random.between(3, 8); i > 0; --i) {
        const unsigned int a = any();
        const unsigned int b = any();
        data.addTriangle(a, b, any());
    }
    return data;
}

// One triangle, and others a single lattice step beside it.
MeshData NearlyShared(Random& random, const LatticeBox& box) {
    const Lattice a = AnyPoint(random, box);
    const Lattice b = AnyPoint(random, box);
    const Lattice c = AnyPoint(random, box);
    MeshData data = Triangle(ToPoint(a), ToPoint(b), ToPoint(c));
    for (int i = random.between(1, 3); i > 0; --i) {
        const Point p = ToPoint(Moved(a, SmallStep(random), 1));
        const Point q = ToPoint(Moved(b, SmallStep(random), 1));
        data.addTriangle(p, q, ToPoint(c));
    }
    return data;
}

MeshData Duplicates(Random& random, const LatticeBox& box) {
    const Point a = ToPoint(AnyPoint(random, box));
    const Point b = ToPoint(AnyPoint(random, box));
    MeshData data = Triangle(a, b, ToPoint(AnyPoint(random, box)));
    const MeshData once = data;
    for (int i = random.between(1, 3); i > 0; --i) {
        data.append(random.percent(50) ? once : Flipped(once));
    }
    return data;
}

// Overlapping triangles in one plane: level, or one that falls by whole steps.
MeshData Coplanar(Random& random, const LatticeBox& box) {
    const int fallX = random.between(-1, 1);
    const int fallY = random.between(-1, 1);
    const int level = random.between(box.lowest[2], box.highest[2]);
    const auto any = [&] {
        Lattice p = AnyPoint(random, box);
        p[2] = level + fallX * (p[0] - box.lowest[0]) + fallY * (p[1] - box.lowest[1]);
        return ToPoint(p);
    };
    MeshData data;
    for (int i = random.between(2, 4); i > 0; --i) {
        const Point a = any();
        const Point b = any();
        data.addTriangle(a, b, any());
    }
    return data;
}

// Triangles with a side each on one common line, sides that overlap, touch or lie apart.
MeshData EdgesOnEdges(Random& random, const LatticeBox& box) {
    const Lattice from = AnyPoint(random, box);
    const Lattice along = SmallStep(random);
    MeshData data;
    for (int i = random.between(2, 5); i > 0; --i) {
        const Point a = ToPoint(Moved(from, along, random.between(0, 5)));
        const Point b = ToPoint(Moved(from, along, random.between(0, 5)));
        data.addTriangle(a, b, ToPoint(AnyPoint(random, box)));
    }
    return data;
}

MeshData Needles(Random& random, const LatticeBox& box) {
    MeshData data;
    for (int i = random.between(1, 4); i > 0; --i) {
        const Lattice a = AnyPoint(random, box);
        const Point far = ToPoint(AnyPoint(random, box));
        data.addTriangle(ToPoint(a), ToPoint(Moved(a, SmallStep(random), 1)), far);
    }
    return data;
}

MeshData FanOnEdge(Random& random, const LatticeBox& box) {
    const Point a = ToPoint(AnyPoint(random, box));
    const Point b = ToPoint(AnyPoint(random, box));
    std::vector<Point> tips;
    for (int i = random.between(2, 6); i > 0; --i) {
        tips.push_back(ToPoint(AnyPoint(random, box)));
    }
    return Fan(a, b, tips);
}

MeshData ClosedBody(Random& random, const LatticeBox& box) {
    const Lattice a = AnyPoint(random, box);
    const Lattice b = AnyPoint(random, box);
    return Box(ToPoint({std::min(a[0], b[0]), std::min(a[1], b[1]), std::min(a[2], b[2])}),
               ToPoint({std::max(a[0], b[0]), std::max(a[1], b[1]), std::max(a[2], b[2])}));
}

MeshData Terrain(Random& random, const LatticeBox& box) {
    const int columns = random.between(1, 3);
    const int rows = random.between(1, 2);
    const Lattice corner = AnyPoint(random, box);
    MeshData data = GridOfQuads(columns, rows, [&](int, int) {
        return static_cast<float>(random.between(box.lowest[2], box.highest[2]));
    });
    for (Point& p : data.positions) {
        p += Point(static_cast<float>(corner[0]), static_cast<float>(corner[1]), 0.0F);
    }
    return data;
}

constexpr std::array kIngredients = {Soup,    SharedVertices, NearlyShared, Duplicates, Coplanar,
                                     Needles, EdgesOnEdges,   FanOnEdge,    ClosedBody, Terrain};

// --- what happens to a mesh afterwards ---

void FlipSome(Random& random, MeshData& data) {
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        if (random.percent(50)) {
            std::swap(data.indices[i], data.indices[i + 1]);
        }
    }
}

void Flatten(Random& random, const LatticeBox& box, MeshData& data) {
    const auto level = static_cast<float>(random.between(box.lowest[2], box.highest[2]));
    for (Point& p : data.positions) {
        p.Z() = level;
    }
}

void SpoilOneVertex(Random& random, MeshData& data) {
    constexpr float kSpoilers[] = {std::numeric_limits<float>::quiet_NaN(),
                                   std::numeric_limits<float>::infinity(), 3e38F, -1e30F};
    const auto vertex =
        static_cast<std::size_t>(random.below(static_cast<int>(data.positions.size())));
    data.positions[vertex][random.below(3)] = kSpoilers[random.below(4)];
}

// The mesh with its axes turned, and turned back by the transformation that it carries.
kx::kxPointer<kx::kxTriMesh> TurnedMesh(Random& random, MeshData data) {
    int axis[3] = {0, 1, 2};
    int sign[3];
    for (int i = 0; i < 3; ++i) {
        std::swap(axis[i], axis[random.between(i, 2)]);
        sign[i] = random.percent(50) ? 1 : -1;
    }
    const Point offset =
        ToPoint({random.between(-3, 3), random.between(-3, 3), random.between(-3, 3)});
    for (Point& p : data.positions) {
        const Point world = p;
        for (int i = 0; i < 3; ++i) {
            p[axis[i]] = static_cast<float>(sign[i]) * (world[i] - offset[i]);
        }
    }
    kx::kxPointer<kx::kxTriMesh> mesh = MakeMesh(data);
    mesh->SetWorldTransformation(AxisTransformation(axis, sign, offset));
    return mesh;
}

kx::kxPointer<kx::kxTriMesh> AnyMesh(Random& random, const LatticeBox& box) {
    MeshData data =
        kIngredients[static_cast<std::size_t>(random.below(kIngredients.size()))](random, box);
    if (random.percent(30)) {
        data.append(
            kIngredients[static_cast<std::size_t>(random.below(kIngredients.size()))](random, box));
    }
    if (random.percent(40)) {
        FlipSome(random, data);
    }
    if (random.percent(10)) {
        Flatten(random, box, data);
    }
    if (random.percent(20)) {
        data = Unwelded(data);
    }
    if (random.percent(4)) {
        SpoilOneVertex(random, data);
    }
    return random.percent(20) ? TurnedMesh(random, std::move(data)) : MakeMesh(data);
}

// --- views ---

struct View {
    ctr::DiscreteProjectionSpace space;
    LatticeBox box;
};

// Points up to the view's last lattice planes, or some steps beyond all its bounds.
View LatticeView(Random& random, unsigned int xyBits, unsigned int zBits, int beyond) {
    const int across = (1 << xyBits) - 2;
    const int deep = (1 << zBits) - 2;
    const bool squeezed = random.percent(15);
    return {squeezed ? SqueezedLatticeSpace(xyBits, zBits, 2.0F) : LatticeSpace(xyBits, zBits),
            {{-beyond, -beyond, -beyond},
             {across + beyond, (squeezed ? across / 2 : across) + beyond, deep + beyond}}};
}

// A corner of a lattice view, so that few points are there to choose from.
LatticeBox Narrowed(Random& random, const LatticeBox& box) {
    LatticeBox narrowed = box;
    for (std::size_t i = 0; i < 3; ++i) {
        const int side = random.between(2, 6);
        narrowed.lowest[i] =
            random.between(box.lowest[i], std::max(box.lowest[i], box.highest[i] - side));
        narrowed.highest[i] = std::min(box.highest[i], narrowed.lowest[i] + side);
    }
    return narrowed;
}

View AnyView(Random& random) {
    const auto xyBits = static_cast<unsigned int>(random.between(3, 6));
    const auto zBits = static_cast<unsigned int>(random.between(3, 6));
    const int kind = random.below(100);
    if (kind < 50) {
        View view = LatticeView(random, xyBits, zBits, 0);
        if (kind < 30) {
            view.box = Narrowed(random, view.box);
        }
        return view;
    }
    if (kind < 70) {
        return LatticeView(random, xyBits, zBits, random.between(1, 6));
    }
    if (kind < 90) { // about the eye: points before, at and behind it
        return {PerspectiveSpace(xyBits, zBits, 0.75F, 1.0F, 8.0F), {{-6, -6, -3}, {6, 6, 10}}};
    }
    return {SlantedSpace(xyBits, zBits, 5.0F), {{-4, -4, -4}, {4, 4, 4}}};
}

std::int32_t Across(const Scene& scene) {
    return (1 << scene.space.xyBits) - 1;
}
std::int32_t Deep(const Scene& scene) {
    return (1 << scene.space.zBits) - 1;
}

void DescribeMesh(std::ostream& out, const kx::kxTriMesh& mesh) {
    const kx::kxVertexBuffer& vertices = *mesh.GetVertexBuffer();
    for (int i = 0; i < vertices.GetVertexQuantity(); ++i) {
        const Point p = mesh.GetWorldTransformation().ApplyForward(vertices.Position3(i), true);
        out << "v " << p.X() << ' ' << p.Y() << ' ' << p.Z() << '\n';
    }
    for (int i = 0; i < mesh.GetTriangleQuantity(); ++i) {
        int a = 0;
        int b = 0;
        int c = 0;
        mesh.GetTriangle(i, a, b, c);
        out << "f " << a << ' ' << b << ' ' << c << '\n';
    }
}

} // namespace

Scene RandomScene(std::uint64_t seed) {
    Random random(seed);
    Scene scene = RandomScene(random);
    scene.seed = seed;
    return scene;
}

Scene RandomScene(Random& random) {
    Scene scene;
    const View view = AnyView(random);
    scene.space = view.space;
    for (int i = random.between(1, 3); i > 0; --i) {
        if (random.percent(12)) {
            scene.meshes.emplace_back(nullptr);
        }
        scene.meshes.push_back(AnyMesh(random, view.box));
    }
    return scene;
}

Scene OverlappingScene(Random& random, int others) {
    Scene scene = RandomScene(random);
    for (int i = 0; i < others; ++i) {
        const Scene other = RandomScene(random);
        scene.meshes.insert(scene.meshes.end(), other.meshes.begin(), other.meshes.end());
    }
    return scene;
}

ctr::BakedVertex RandomGridPoint(Random& random, const Scene& scene, const ExactBaked& baked) {
    if (!baked.triangles.empty() && random.percent(50)) {
        const int triangle = random.below(static_cast<int>(baked.triangles.size()));
        return baked.corners(
            static_cast<std::size_t>(triangle))[static_cast<std::size_t>(random.below(3))];
    }
    return {random.between(0, Across(scene)), random.between(0, Across(scene)),
            random.between(0, Deep(scene))};
}

GridEdge RandomGridEdge(Random& random, const Scene& scene, const ExactBaked& baked) {
    if (!baked.triangles.empty() && random.percent(50)) {
        const int triangle = random.below(static_cast<int>(baked.triangles.size()));
        const GridTriangle corners = baked.corners(static_cast<std::size_t>(triangle));
        const auto k = static_cast<std::size_t>(random.below(3));
        return {corners[k], corners[(k + 1) % 3]};
    }
    const ctr::BakedVertex a = RandomGridPoint(random, scene, baked);
    return {a, RandomGridPoint(random, scene, baked)};
}

std::optional<std::array<Point, 2>> RandomWorldEdge(Random& random, const Scene& scene) {
    std::array<Point, 2> ends;
    for (Point& end : ends) {
        const int entry = random.below(static_cast<int>(scene.meshes.size()));
        const kx::kxTriMesh* mesh = scene.meshes[static_cast<std::size_t>(entry)].get();
        if (mesh == nullptr) {
            return std::nullopt;
        }
        const kx::kxVertexBuffer& vertices = *mesh->GetVertexBuffer();
        end = mesh->GetWorldTransformation().ApplyForward(
            vertices.Position3(random.below(vertices.GetVertexQuantity())), true);
        if (!(end.SquaredLength() < 1e6F)) {
            return std::nullopt;
        }
    }
    return ends;
}

GridEdge ClippedEdge(const Scene& scene, const std::array<Point, 2>& ends, const GridEdge& other) {
    GridEdge edge = other;
    float w0 = 0;
    float w1 = 0;
    scene.space.clipEdgeWorld(ends[0], ends[1], edge.first, edge.second, w0, w1);
    return edge;
}

std::string Describe(const Scene& scene) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << "seed " << scene.seed << ", grid " << scene.space.xyBits << '/' << scene.space.zBits
        << " bits, world to clip\n";
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            out << scene.space.worldToClip[row][column] << (column < 3 ? ' ' : '\n');
        }
    }
    for (const auto& mesh : scene.meshes) {
        out << (mesh ? "mesh\n" : "null mesh\n");
        if (mesh) {
            DescribeMesh(out, *mesh);
        }
    }
    return out.str();
}

std::string Drawing(const ExactBaked& baked, const ctr::BakedVertex& a, const ctr::BakedVertex& b) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    std::int32_t side = 1;
    for (std::size_t i = 0; i < baked.triangles.size(); ++i) {
        for (const ctr::BakedVertex& v : baked.corners(i)) {
            side = std::max({side, v.x, v.y});
        }
    }
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"-1 -1 " << side + 2 << ' '
        << side + 2 << "\" fill=\"#8888\" stroke=\"black\" stroke-width=\"0.05\">\n";
    for (std::size_t i = 0; i < baked.triangles.size(); ++i) {
        const GridTriangle t = baked.corners(i);
        out << "<path d=\"M" << t[0].x << ',' << t[0].y << 'L' << t[1].x << ',' << t[1].y << 'L'
            << t[2].x << ',' << t[2].y << "z\"><title>z " << t[0].z << ' ' << t[1].z << ' '
            << t[2].z << "</title></path>\n";
    }
    out << "<path stroke=\"red\" d=\"M" << a.x << ',' << a.y << 'L' << b.x << ',' << b.y
        << "\"><title>z " << a.z << ' ' << b.z << "</title></path>\n</svg>\n";
    return out.str();
}

} // namespace test_support
