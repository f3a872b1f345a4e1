// Models in surveyed coordinates, a thousand kilometres from their origin, beside the same models
// at the origin: the drawings are the same.
#include "DrawingRuns.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using test_support::Box;
using test_support::MeshData;
using test_support::Point;
using tool_test::DrawIn;
using tool_test::PagePoint;
using tool_test::RunIn;
using tool_test::RunResult;
using tool_test::SvgFile;
using tool_test::SvgGroup;
using tool_test::SvgPath;
using tool_test::TemporaryFolder;

constexpr std::array<double, 3> kHere{0.0, 0.0, 0.0};
constexpr std::array<double, 3> kThere{691000.0, 5335000.0, 520.0};

/// @name Files with six decimals
/// @{

std::string Place(const Point& p, const std::array<double, 3>& origin) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.setf(std::ios::fixed);
    for (int axis = 0; axis < 3; ++axis) {
        text << (axis == 0 ? "" : " ")
             << static_cast<double>(p[axis]) + origin[static_cast<std::size_t>(axis)];
    }
    return text.str();
}

std::string Obj(const MeshData& data, const std::array<double, 3>& origin) {
    std::string text;
    for (const Point& p : data.positions) {
        text += "v " + Place(p, origin) + '\n';
    }
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        text += "f";
        for (std::size_t k = i; k < i + 3; ++k) {
            text += ' ' + std::to_string(data.indices[k] + 1);
        }
        text += '\n';
    }
    return text;
}

std::string Ply(const MeshData& data, const std::array<double, 3>& origin) {
    std::string text = "ply\nformat ascii 1.0\nelement vertex " +
                       std::to_string(data.positions.size()) +
                       "\nproperty float x\nproperty float y\nproperty float z\nelement face " +
                       std::to_string(data.triangleCount()) +
                       "\nproperty list uchar int vertex_indices\nend_header\n";
    for (const Point& p : data.positions) {
        text += Place(p, origin) + '\n';
    }
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        text += "3 " + std::to_string(data.indices[i]) + ' ' + std::to_string(data.indices[i + 1]) +
                ' ' + std::to_string(data.indices[i + 2]) + '\n';
    }
    return text;
}

std::string Stl(const MeshData& data, const std::array<double, 3>& origin) {
    std::string text = "solid part\n";
    for (std::size_t i = 0; i < data.indices.size(); i += 3) {
        text += "facet normal 0 0 0\nouter loop\n";
        for (std::size_t k = i; k < i + 3; ++k) {
            text += "vertex " + Place(data.positions[data.indices[k]], origin) + '\n';
        }
        text += "endloop\nendfacet\n";
    }
    return text + "endsolid part\n";
}
/// @}

/// @name Shapes
/// @{

MeshData Round(int sides, double radius, double rise) {
    std::vector<Wm4::Vector2<float>> outline;
    for (int i = 0; i < sides; ++i) {
        const double angle = 6.283185307179586 * i / sides;
        outline.emplace_back(static_cast<float>(radius * std::cos(angle)),
                             static_cast<float>(radius * std::sin(angle)));
    }
    return test_support::Prism(outline, 0.0F, static_cast<float>(rise));
}

/// Twelve teeth of four sides each; its ends are fans about their middles.
MeshData Gear() {
    constexpr unsigned int kSides = 96;
    MeshData data;
    for (const float z : {0.0F, 3.0F}) {
        for (unsigned int i = 0; i < kSides; ++i) {
            const double angle = 6.283185307179586 * i / kSides;
            const double r = i / 4 % 2 == 1 ? 7.0 : 10.0;
            data.addVertex({static_cast<float>(r * std::cos(angle)),
                            static_cast<float>(r * std::sin(angle)), z});
        }
    }
    const unsigned int bottom = data.addVertex({0, 0, 0});
    const unsigned int top = data.addVertex({0, 0, 3});
    for (unsigned int i = 0; i < kSides; ++i) {
        const unsigned int next = (i + 1) % kSides;
        data.addTriangle(i, next, kSides + next);
        data.addTriangle(i, kSides + next, kSides + i);
        data.addTriangle(bottom, next, i);
        data.addTriangle(top, kSides + i, kSides + next);
    }
    return data;
}

MeshData Torus() {
    constexpr int kAround = 72;
    constexpr int kAcross = 36;
    MeshData data;
    for (int i = 0; i < kAround; ++i) {
        for (int k = 0; k < kAcross; ++k) {
            const double a = 6.283185307179586 * i / kAround;
            const double b = 6.283185307179586 * k / kAcross;
            const double r = 10.0 + 3.0 * std::cos(b);
            data.addVertex({static_cast<float>(r * std::cos(a)),
                            static_cast<float>(r * std::sin(a)),
                            static_cast<float>(3.0 * std::sin(b))});
        }
    }
    const auto at = [](int i, int k) {
        return static_cast<unsigned int>(i % kAround * kAcross + k % kAcross);
    };
    for (int i = 0; i < kAround; ++i) {
        for (int k = 0; k < kAcross; ++k) {
            data.addTriangle(at(i, k), at(i + 1, k), at(i + 1, k + 1));
            data.addTriangle(at(i, k), at(i + 1, k + 1), at(i, k + 1));
        }
    }
    return data;
}

MeshData Stairs() {
    MeshData data;
    for (int i = 0; i < 8; ++i) {
        const auto step = static_cast<float>(i);
        data.append(
            Box({2.0F * step, 0, 1.5F * step}, {2.0F * step + 2.0F, 6, 1.5F * step + 1.5F}));
    }
    return data;
}

MeshData Cut() {
    MeshData data = Box({0, 0, 0}, {12.3F, 8.1F, 4.7F});
    data.append(Round(48, 3.3, 9.9));
    return data;
}

MeshData Hills() {
    return test_support::GridOfQuads(24, 24, [](int x, int y) {
        return static_cast<float>(2.0 * std::sin(0.5 * x) + 3.0 * std::cos(0.4 * y));
    });
}

struct FarShape {
    const char* name;
    MeshData data;
};

std::ostream& operator<<(std::ostream& out, const FarShape& shape) {
    return out << shape.name;
}

std::vector<FarShape> Shapes() {
    return {{"Box", Box({0, 0, 0}, {4.1F, 3.3F, 2.7F})},
            {"Cylinder", Round(64, 10, 30)},
            {"Slab", Box({0, 0, 0}, {40, 30, 0.1F})},
            {"Gear", Gear()},
            {"Ball", test_support::Sphere({1, 2, 3}, 7.5F, 48, 24)},
            {"Ring", Torus()},
            {"Stairs", Stairs()},
            {"Cut", Cut()},
            {"Hills", Hills()},
            {"Needle", Round(5, 0.2, 60)}};
}
/// @}

/// @name Drawings as sets of points
/// @{

/// Points of all paths, no farther apart than that.
std::vector<PagePoint> PointsOf(const SvgFile& svg, double apart) {
    std::vector<PagePoint> points;
    for (const SvgGroup& group : svg.groups) {
        for (const SvgPath& path : group.paths) {
            for (std::size_t i = 0; i + 1 < path.size(); ++i) {
                const double dx = path[i + 1].x - path[i].x;
                const double dy = path[i + 1].y - path[i].y;
                const int pieces = 1 + static_cast<int>(std::sqrt(dx * dx + dy * dy) / apart);
                for (int k = 0; k <= pieces; ++k) {
                    points.push_back({path[i].x + dx * k / pieces, path[i].y + dy * k / pieces});
                }
            }
        }
    }
    return points;
}

/// The largest distance of a point of one set from the nearest of the other, to a limit.
double Farthest(const std::vector<PagePoint>& from, std::vector<PagePoint> to, double limit) {
    const auto isBefore = [](const PagePoint& a, const PagePoint& b) {
        return std::tie(a.x, a.y) < std::tie(b.x, b.y);
    };
    std::sort(to.begin(), to.end(), isBefore);
    double farthest = 0.0;
    for (const PagePoint& p : from) {
        const auto middle = std::lower_bound(to.begin(), to.end(), p, isBefore);
        double nearest = limit;
        const auto compare = [&](const PagePoint& q) {
            const double dx = q.x - p.x;
            const double dy = q.y - p.y;
            nearest = std::min(nearest, std::sqrt(dx * dx + dy * dy));
        };
        // To both sides, until no point can be nearer, or this one is not the farthest.
        for (auto q = middle; q != to.end() && q->x - p.x < nearest && nearest > farthest; ++q) {
            compare(*q);
        }
        for (auto q = middle; q != to.begin() && p.x - q[-1].x < nearest && nearest > farthest;
             --q) {
            compare(q[-1]);
        }
        farthest = std::max(farthest, nearest);
    }
    return farthest;
}

void ExpectSameDrawing(const SvgFile& sound, const SvgFile& twin) {
    constexpr double kApart = 0.05;
    constexpr double kLimit = 1.0;
    const std::vector<PagePoint> a = PointsOf(sound, kApart);
    const std::vector<PagePoint> b = PointsOf(twin, kApart);
    EXPECT_GT(a.size(), 1000U);
    EXPECT_LE(Farthest(a, b, kLimit), 0.4) << "something is missing";
    EXPECT_LE(Farthest(b, a, kLimit), 0.4) << "something is invented";
    EXPECT_LE(static_cast<double>(twin.pathCount()), 1.3 * static_cast<double>(sound.pathCount()));
}
/// @}

class FarShapes : public testing::TestWithParam<FarShape> {};

TEST_P(FarShapes, AreDrawnAsAtTheOrigin) {
    const TemporaryFolder folder;
    const MeshData& data = GetParam().data;
    folder.write("near.obj", Obj(data, kHere));
    folder.write("far.obj", Obj(data, kThere));
    folder.write("far.ply", Ply(data, kThere));
    folder.write("far.stl", Stl(data, kThere));
    for (const char* view : {" --up z --azimuth 30 --elevation 20",
                             " --up z --projection perspective --azimuth -50 --elevation 35",
                             " --up z --view front"}) {
        const SvgFile sound = DrawIn(folder, std::string("near.obj") + view);
        for (const char* file : {"far.obj", "far.ply", "far.stl"}) {
            SCOPED_TRACE(std::string(file) + view);
            ExpectSameDrawing(sound, DrawIn(folder, std::string(file) + view));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Twins, FarShapes, testing::ValuesIn(Shapes()), [](const auto& info) {
    return std::string(info.param.name);
});

TEST(FarAway, ObjectsKeepTheirPlacesBesideEachOther) {
    // Parts of a site, each an object, with gaps of a millimetre between them.
    const TemporaryFolder folder;
    const auto site = [](const std::array<double, 3>& origin) {
        std::string text;
        for (int i = 0; i < 6; ++i) {
            const auto x = 4.0F * static_cast<float>(i);
            std::string part = Obj(Box({x, 0, 0}, {x + 3.999F, 5, 3}), origin);
            for (std::size_t at = part.find("f "); at != std::string::npos;
                 at = part.find("f ", at + 1)) {
                std::istringstream face(part.substr(at + 2, part.find('\n', at) - at - 2));
                std::string moved = "f";
                for (int corner = 0; face >> corner;) {
                    moved += ' ' + std::to_string(corner - 9);
                }
                part.replace(at, part.find('\n', at) - at, moved);
            }
            text += "o part" + std::to_string(i) + '\n' + part;
        }
        return text;
    };
    folder.write("near.obj", site(kHere));
    folder.write("far.obj", site(kThere));
    ExpectSameDrawing(DrawIn(folder, "near.obj --up z --view iso"),
                      DrawIn(folder, "far.obj --up z --view iso"));
}

TEST(FarAway, CamerasStandInTheCoordinatesOfTheFile) {
    const TemporaryFolder folder;
    folder.write("near.obj", Obj(Cut(), kHere));
    folder.write("far.obj", Obj(Cut(), kThere));
    const std::string options = " --up z --projection perspective";
    ExpectSameDrawing(
        DrawIn(folder,
               "near.obj" + options + " --camera-position 50,-60,40 --camera-focal-point 5,4,2"),
        DrawIn(folder, "far.obj" + options +
                           " --camera-position 691050,5334940,560 --camera-focal-point "
                           "691005,5335004,522"));
}

TEST(FarAway, JsonAndInfoAreInTheCoordinatesOfTheFile) {
    const TemporaryFolder folder;
    folder.write("far.obj", Obj(Box({0, 0, 0}, {4.125F, 3.25F, 2.5F}), kThere));
    RunIn(folder, "far.obj --up z --view iso -o far.json");
    const nlohmann::json drawing =
        nlohmann::json::parse(tool_test::ReadBytes(folder.path("far.json")));
    ASSERT_FALSE(drawing["segments"].empty());
    for (const nlohmann::json& segment : drawing["segments"]) {
        for (const nlohmann::json& end : segment["ends"]) {
            const double x = end[0].get<double>() - kThere[0];
            const double y = end[1].get<double>() - kThere[1];
            const double z = end[2].get<double>() - kThere[2];
            EXPECT_NEAR(std::min(std::abs(x), std::abs(x - 4.125)), 0.0, 1e-6);
            EXPECT_NEAR(std::min(std::abs(y), std::abs(y - 3.25)), 0.0, 1e-6);
            EXPECT_NEAR(std::min(std::abs(z), std::abs(z - 2.5)), 0.0, 1e-6);
        }
    }
    const RunResult info = RunIn(folder, "far.obj --info");
    EXPECT_NE(info.out.find("size       4.125 x 3.25 x 2.5 mm\n"), std::string::npos) << info.out;
    EXPECT_EQ(info.out.find("precision"), std::string::npos) << info.out;
}

TEST(FarAway, NodesNearEachOtherAreAddedUpInDoubles) {
    // The place of the site is the root's; beside it, single precision would move the parts by up
    // to a quarter of a metre.
    const TemporaryFolder folder;
    const MeshData box = Box({0, 0, 0}, {4.125F, 3.25F, 2.5F});
    const auto site = [&](const std::string& place) {
        return tool_test::GltfText(
            box,
            R"([{"translation":[)" + place +
                R"(],"children":[1,2]},{"mesh":0,"translation":[0.3,0.1,0.2]},)"
                R"({"translation":[4.6,0.1,0.7],"children":[3]},{"mesh":0,"translation":[0,0,0.01]}])",
            std::string(R"([{"primitives":[)") + tool_test::kGltfPrimitive + "]}]");
    };
    folder.write("near.gltf", site("0,0,0"));
    folder.write("far.gltf", site("691000,520,-5335000"));
    for (const char* view : {" --view iso", " --azimuth 33 --elevation 20"}) {
        ExpectSameDrawing(DrawIn(folder, std::string("near.gltf") + view),
                          DrawIn(folder, std::string("far.gltf") + view));
    }
}

/// The same in bytes, whose floats are multiples of half a unit there.
std::string CoarseStl(const MeshData& data) {
    MeshData moved = data;
    for (Point& p : moved.positions) {
        for (int axis = 0; axis < 3; ++axis) {
            p[axis] = static_cast<float>(static_cast<double>(p[axis]) +
                                         kThere[static_cast<std::size_t>(axis)]);
        }
    }
    return tool_test::StlBytes(moved);
}

TEST(FarAway, FloatsThatLostDigitsAreDrawnWithAWarning) {
    const TemporaryFolder folder;
    folder.write("far.stl", CoarseStl(Round(64, 10, 30)));
    const RunResult run = RunIn(folder, "far.stl --unit m -o far.svg");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err,
              "kxcontour: warning: far.stl: coordinates are multiples of 0.5 m, too coarse "
              "for the size of the model: lines are displaced\n");
    EXPECT_NE(RunIn(folder, "far.stl --unit m --info")
                  .out.find("  precision  coordinates are multiples of 0.5 m\n"),
              std::string::npos);
}

TEST(FarAway, TrianglesThatLostTheirAreaAreCounted) {
    const TemporaryFolder folder;
    folder.write("far.stl", CoarseStl(test_support::Sphere({0, 0, 0}, 2.0F, 48, 24)));
    const RunResult run = RunIn(folder, "far.stl -o far.svg");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(tool_test::Matches(
        run.err, "kxcontour: warning: far.stl: left out * triangles: * degenerate\n"
                 "kxcontour: warning: far.stl: coordinates are multiples of 0.5 mm, too coarse for "
                 "the size of the model: lines are displaced, and * of 2208 triangles have no area "
                 "left: lines are missing\n"))
        << run.err;
}

TEST(FarAway, FloatsThatLostNothingAreDrawnWithoutAWord) {
    // Whole metres fit in single precision there.
    const TemporaryFolder folder;
    folder.write("far.stl", CoarseStl(Box({0, 0, 0}, {40, 30, 20})));
    folder.write("near.obj", Obj(Box({0, 0, 0}, {40, 30, 20}), kHere));
    ExpectSameDrawing(DrawIn(folder, "near.obj --up z --view iso"),
                      DrawIn(folder, "far.stl --view iso"));
}

TEST(FarAway, CollapsedTrianglesAreCountedWhereNoDigitIsSeenToBeLost) {
    // What is left of this box is a rectangle of whole eighths.
    const TemporaryFolder folder;
    folder.write("far.stl", CoarseStl(Box({0, 0, 0}, {0.1F, 0.1F, 0.1F})));
    const RunResult run = RunIn(folder, "far.stl -o far.svg");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.err.find("and 8 of 12 triangles have no area left"), std::string::npos)
        << run.err;
}

TEST(FarAway, WhatLostEverythingIsRefused) {
    const TemporaryFolder folder;
    folder.write("far.stl", CoarseStl(Box({0, 0, 0}, {0.01F, 0.01F, 0.01F})));
    const RunResult run = RunIn(folder, "far.stl -o far.svg");
    EXPECT_EQ(run.exitCode, 4) << run.err;
    EXPECT_EQ(run.err,
              "kxcontour: far.stl: nothing to draw: coordinates are multiples of 0.5 mm, and "
              "none of 12 triangles has an area left\n");
}

} // namespace
