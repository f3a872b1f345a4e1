// The public drawing interface, from arrays to formats.
#include <kxDrawing/kxDrawing.h>

#include "ModelText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using kxdrawing::draw;
using kxdrawing::Drawing;
using kxdrawing::Format;
using kxdrawing::LineKind;
using kxdrawing::Mesh;
using kxdrawing::Scene;
using kxdrawing::View;
using tool_test::TemporaryFolder;

/// A cube from 0 to 10.
struct Cube {
    std::vector<double> positions;
    std::vector<std::uint32_t> triangles{0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4,
                                         2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5};

    Cube() {
        for (int corner = 0; corner < 8; ++corner) {
            for (const int axis : {1, 2, 4}) {
                positions.push_back((corner & axis) != 0 ? 10.0 : 0.0);
            }
        }
    }

    Mesh mesh(const char* name = "cube") const {
        return {.positions = positions, .triangles = triangles, .name = name};
    }
};

Scene SceneOf(const Cube& cube) {
    Scene scene;
    scene.add(cube.mesh());
    return scene;
}

std::vector<const kxdrawing::Path*> PathsOf(const Drawing& drawing) {
    std::vector<const kxdrawing::Path*> paths;
    for (const kxdrawing::Layer& layer : drawing.layers) {
        for (const kxdrawing::PathGroup& group : layer.groups) {
            for (const kxdrawing::Path& path : group.paths) {
                paths.push_back(&path);
            }
        }
    }
    return paths;
}

double LengthOf(const kxdrawing::Path& path) {
    double length = 0.0;
    for (std::size_t i = 1; i < path.points.size(); ++i) {
        length += std::hypot(path.points[i].x - path.points[i - 1].x,
                             path.points[i].y - path.points[i - 1].y);
    }
    return length;
}

TEST(Draw, ShowsTheNineVisibleEdgesOfACubeOnce) {
    const Drawing drawing = draw(SceneOf(Cube()), View::named(kxdrawing::Direction::Iso));
    double length = 0.0;
    for (const kxdrawing::Path* path : PathsOf(drawing)) {
        length += LengthOf(*path);
    }
    // In an isometric view an edge of 10 has a length of 10 sqrt(2/3).
    const double edge = 10.0 * std::sqrt(2.0 / 3.0) * *drawing.scale;
    EXPECT_NEAR(length, 9.0 * edge, 0.05);
    EXPECT_EQ(drawing.objects, std::vector<std::string>{"cube"});
}

TEST(Draw, LinksEveryEdgeOfAPathToItsLineInSpace) {
    for (const View& view : {View::named(kxdrawing::Direction::Iso),
                             View::lookAt({40, -50, 30}, {5, 5, 5}, {0, 0, 1})}) {
        const Drawing drawing = draw(SceneOf(Cube()), view);
        std::set<std::uint32_t> shown;
        for (const kxdrawing::Path* path : PathsOf(drawing)) {
            ASSERT_EQ(path->lines.size() + 1, path->points.size());
            EXPECT_EQ(path->object, 0U);
            for (const std::uint32_t number : path->lines) {
                ASSERT_LT(number, drawing.lines.size());
                const kxdrawing::Line& line = drawing.lines[number];
                shown.insert(number);
                for (int end = 0; end < 2; ++end) {
                    // An end of an edge of the cube is a corner of it.
                    const kxdrawing::Vector corner = line.at(end);
                    for (const double coordinate : corner) {
                        EXPECT_NEAR(std::abs(coordinate - 5.0), 5.0, 1e-4);
                    }
                }
            }
        }
        EXPECT_EQ(shown.size(), 9U);
    }
}

TEST(Draw, GivesThePointInSpaceUnderPerspective) {
    const kxdrawing::Vector eye{40, -50, 30};
    const Drawing drawing = draw(SceneOf(Cube()), View::lookAt(eye, {5, 5, 5}, {0, 0, 1}));
    for (const kxdrawing::Line& line : drawing.lines) {
        ASSERT_TRUE(line.onPage);
        // The middle on the page is nearer to the far end in space, by the ratio of distances.
        const kxdrawing::Vector middle = line.at(0.5);
        const double share = 1.0 / (1.0 + line.depthRatio);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(middle[axis],
                        line.ends[0][axis] + share * (line.ends[1][axis] - line.ends[0][axis]),
                        1e-3);
        }
    }
}

TEST(Draw, TakesFeatureEdgesInPlaceOfAngles) {
    const Cube cube;
    const std::vector<std::array<std::uint32_t, 2>> edges{{1, 2}};
    Mesh mesh = cube.mesh();
    mesh.featureEdges = edges;
    Scene scene;
    scene.add(mesh);
    kxdrawing::LineOptions creases;
    creases.silhouettes = false;
    creases.hidden = true;
    const Drawing drawing = draw(scene, View::named(kxdrawing::Direction::Top), {}, creases);
    ASSERT_EQ(drawing.lines.size(), 1U);
    EXPECT_EQ(drawing.lines[0].kind, LineKind::Crease);
}

TEST(Draw, HidesBehindOccluders) {
    const Cube cube;
    Mesh wall = cube.mesh("wall");
    wall.isOccluder = true;
    wall.placement = {9, 0, 0, -40, 0, 1, 0, -60, 0, 0, 9, -40, 0, 0, 0, 1};
    Scene scene = SceneOf(cube);
    scene.add(wall);
    EXPECT_THROW(draw(scene, View::named(kxdrawing::Direction::Front)), kxdrawing::NothingToDraw);
    EXPECT_NO_THROW(draw(scene, View::named(kxdrawing::Direction::Back)));
}

TEST(Draw, LooksThroughAMatrixOfTheCaller) {
    // The front view of a box of 20 x 20 around the cube's middle, on a square page.
    const kxdrawing::Matrix front{0.1, 0, 0, -0.5, 0, 0, 0.1, -0.5, 0, 0.05, 0, -0.25, 0, 0, 0, 1};
    const Drawing drawing = draw(SceneOf(Cube()), View::fromMatrix(front), {{100.0, 100.0}, 0.0});
    double left = 100.0;
    double right = 0.0;
    for (const kxdrawing::Path* path : PathsOf(drawing)) {
        for (const kxdrawing::Point& point : path->points) {
            left = std::min(left, point.x);
            right = std::max(right, point.x);
        }
    }
    EXPECT_NEAR(left, 25.0, 0.01);
    EXPECT_NEAR(right, 75.0, 0.01);
    kxdrawing::Matrix singular{};
    EXPECT_THROW(draw(SceneOf(Cube()), View::fromMatrix(singular)), kxdrawing::InvalidArgument);
}

TEST(Draw, RefusesArgumentsThatCannotBe) {
    const Scene scene = SceneOf(Cube());
    View zoomed;
    zoomed.zoom = 0.0;
    EXPECT_THROW(draw(scene, zoomed), kxdrawing::InvalidArgument);
    EXPECT_THROW(draw(scene, View(), {{0.5, 100.0}, 0.0}), kxdrawing::InvalidArgument);
    EXPECT_THROW(draw(scene, View(), {{100.0, 100.0}, 50.0}), kxdrawing::InvalidArgument);
    EXPECT_THROW(draw(scene, View::lookAt({1, 1, 1}, {1, 1, 1}, {0, 0, 1})),
                 kxdrawing::InvalidArgument);
    EXPECT_THROW(draw(Scene(), View()), kxdrawing::NothingToDraw);
}

TEST(Draw, EndsWithWhatProgressThrowsAndLeavesTheSceneUsable) {
    class Impatient : public kxdrawing::Progress {
    public:
        explicit Impatient(int calls) : calls_(calls) {}
        void report(double, const char*) override {
            if (calls_-- == 0) {
                throw std::out_of_range("enough");
            }
        }

    private:
        int calls_;
    };
    const Scene scene = SceneOf(Cube());
    const auto bytes = [&] {
        std::ostringstream out;
        write(draw(scene, View()), out, Format::Svg);
        return out.str();
    };
    const std::string before = bytes();
    for (int calls = 0; calls < 8; ++calls) {
        Impatient progress(calls);
        EXPECT_THROW(draw(scene, View(), {}, {}, &progress), std::out_of_range) << calls;
        EXPECT_EQ(bytes(), before);
    }
}

TEST(Draw, ReportsSharesThatGrowToTheWhole) {
    class Recorder : public kxdrawing::Progress {
    public:
        void report(double share, const char*) override { shares.push_back(share); }
        std::vector<double> shares;
    };
    Recorder recorder;
    draw(SceneOf(Cube()), View(), {}, {}, &recorder);
    ASSERT_FALSE(recorder.shares.empty());
    EXPECT_TRUE(std::is_sorted(recorder.shares.begin(), recorder.shares.end()));
    EXPECT_EQ(recorder.shares.back(), 1.0);
}

TEST(PublicScene, RefusesArraysThatDoNotFit) {
    const Cube cube;
    Scene scene;
    Mesh mesh = cube.mesh();
    mesh.positions = mesh.positions.first(22);
    EXPECT_THROW(scene.add(mesh), kxdrawing::InvalidArgument);
    mesh = cube.mesh();
    mesh.triangles = mesh.triangles.first(35);
    EXPECT_THROW(scene.add(mesh), kxdrawing::InvalidArgument);
    mesh = cube.mesh();
    mesh.placement[15] = 2.0;
    EXPECT_THROW(scene.add(mesh), kxdrawing::InvalidArgument);
    mesh.placement[15] = 1.0;
    mesh.placement[3] = std::numeric_limits<double>::infinity();
    EXPECT_THROW(scene.add(mesh), kxdrawing::InvalidArgument);
    mesh = cube.mesh();
    const std::vector<std::array<std::uint32_t, 2>> edges{{0, 8}};
    mesh.featureEdges = edges;
    EXPECT_THROW(scene.add(mesh), kxdrawing::InvalidArgument);
    EXPECT_EQ(scene.triangles(), 0U);
}

TEST(PublicScene, LeavesOutTrianglesThatCannotBeDrawn) {
    Cube cube;
    cube.triangles.insert(cube.triangles.end(), {0, 0, 1, 0, 1, 99});
    cube.positions.insert(cube.positions.end(), {std::nan(""), 0.0, 0.0});
    cube.triangles.insert(cube.triangles.end(), {0, 1, 8});
    const Scene scene = SceneOf(cube);
    EXPECT_EQ(scene.leftOut().degenerate, 1U);
    EXPECT_EQ(scene.leftOut().badIndex, 1U);
    EXPECT_EQ(scene.leftOut().notFinite, 1U);
    EXPECT_EQ(scene.triangles(), 15U);
    EXPECT_NO_THROW(draw(scene, View()));
}

TEST(PublicScene, IsAValue) {
    const Cube cube;
    Scene one = SceneOf(cube);
    const Scene copy = one;
    Mesh second = cube.mesh("second");
    second.placement[3] = 30.0;
    EXPECT_EQ(one.add(second), 1U);
    EXPECT_EQ(copy.triangles(), 12U);
    EXPECT_EQ(draw(copy, View()).objects.size(), 1U);
    EXPECT_EQ(draw(one, View()).objects.size(), 2U);
}

TEST(PublicScene, KeepsTheDigitsOfFarMeshes) {
    const Cube near;
    Cube far;
    for (double& coordinate : far.positions) {
        coordinate += 6.0e6;
    }
    const auto bytes = [](const Cube& cube) {
        std::ostringstream out;
        write(draw(SceneOf(cube), View()), out, Format::Svg);
        return out.str();
    };
    EXPECT_EQ(bytes(far), bytes(near));
}

TEST(Write, GivesTheSameBytesToAStreamAndToAFile) {
    const TemporaryFolder folder;
    const Drawing drawing = draw(SceneOf(Cube()), View());
    for (const char* name : {"a.svg", "a.pdf", "a.png", "a.dxf", "a.json"}) {
        std::ostringstream out;
        write(drawing, out, kxdrawing::FormatOf(name));
        write(drawing, std::filesystem::path(folder.path(name)));
        EXPECT_EQ(tool_test::ReadBytes(folder.path(name)), out.str()) << name;
        EXPECT_FALSE(out.str().empty()) << name;
    }
}

TEST(Write, SaysWhatIsWrong) {
    const Drawing drawing = draw(SceneOf(Cube()), View());
    EXPECT_THROW(write(drawing, "/nowhere/a.svg"), kxdrawing::CannotWrite);
    EXPECT_THROW(write(drawing, "a.tiff"), kxdrawing::InvalidArgument);
    std::ostringstream full;
    full.setstate(std::ios::badbit);
    EXPECT_THROW(write(drawing, full, Format::Svg), kxdrawing::CannotWrite);
    Drawing withoutLines = drawing;
    withoutLines.lines.clear();
    std::ostringstream out;
    EXPECT_THROW(write(withoutLines, out, Format::Json), kxdrawing::InvalidArgument);
    EXPECT_THROW(write(drawing, out, Format::Png, {0.0}), kxdrawing::InvalidArgument);
}

} // namespace
