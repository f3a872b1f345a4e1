// Clipping of triangles: the polygon, its edge codes and its buffer, equal intersections for both
// neighbours of an edge, and every float compared with a second implementation of the steps.
#include <ctr/DiscreteProjectionSpace.h>

#include <Wm4Foundation.h>

#include "projection/ClipReference.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

using namespace clip_reference; // everything here is written in its terms
using test_support::Scaled;

Clip AtW1(float x, float y, float z) {
    return {x, y, z, 1.0F};
}

unsigned int CodesOf(const std::vector<unsigned int>& codes) {
    unsigned int word = 0;
    for (std::size_t i = 0; i < codes.size(); ++i) {
        word |= codes[i] << (2 * i);
    }
    return word;
}

TEST(ClipTriangle, ATriangleInsideStaysAsItIs) {
    const Polygon p =
        ClipCorners3(DiscreteProjectionSpace(),
                     {AtW1(-1.0F, -1.0F, -1.0F), AtW1(1.0F, 0.0F, 1.0F), AtW1(0.0F, 1.0F, 0.0F)});
    EXPECT_TRUE(p.kept);
    EXPECT_FALSE(p.exchanged);
    ASSERT_EQ(p.vertices.size(), 3U);
    EXPECT_EQ(p.codes, 57U); // 1, 2, 3
    EXPECT_EQ(p.vertices[1], AtW1(1.0F, 0.0F, 1.0F));
}

TEST(ClipTriangle, ATriangleBeyondOnePlaneIsGone) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (const float side : {-1.0F, 1.0F}) {
            ClipCorners corners{AtW1(0.0F, 0.1F, 0.2F), AtW1(0.5F, 0.2F, 0.1F),
                                AtW1(0.1F, 0.5F, 0.3F)};
            for (std::size_t i = 0; i < 3; ++i) {
                corners[i][axis] = side * (1.5F + static_cast<float>(i));
            }
            EXPECT_FALSE(ClipCorners3(DiscreteProjectionSpace(), corners).kept);
        }
    }
}

TEST(ClipTriangle, OneCornerOutsideGivesFourVerticesAndOneNewEdge) {
    // Vertex 0 lies beyond x = 1: the edges 2 -> 0 and 0 -> 1 are clipped half way.
    const Polygon p =
        ClipCorners3(DiscreteProjectionSpace(),
                     {AtW1(2.0F, 0.0F, 0.0F), AtW1(0.0F, 0.5F, 0.0F), AtW1(0.0F, -0.5F, 0.0F)});
    ASSERT_TRUE(p.kept);
    EXPECT_TRUE(p.exchanged);
    EXPECT_EQ(p.vertices, (std::vector<Clip>{AtW1(1.0F, -0.25F, 0.0F), AtW1(1.0F, 0.25F, 0.0F),
                                             AtW1(0.0F, 0.5F, 0.0F), AtW1(0.0F, -0.5F, 0.0F)}));
    EXPECT_EQ(p.codes, CodesOf({1, 0, 2, 3}));
}

TEST(ClipTriangle, OneCornerOutsideOfAnyPlaneGivesExactlyOneCodeZero) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (const float side : {-1.0F, 1.0F}) {
            for (std::size_t corner = 0; corner < 3; ++corner) {
                ClipCorners corners{AtW1(0.0F, 0.1F, 0.2F), AtW1(0.5F, 0.2F, 0.1F),
                                    AtW1(0.1F, 0.5F, 0.3F)};
                corners[corner][axis] = side * 1.75F;
                const Polygon p = ClipCorners3(DiscreteProjectionSpace(), corners);
                ASSERT_TRUE(p.kept);
                ASSERT_EQ(p.vertices.size(), 4U);
                std::vector<int> seen(4, 0);
                for (std::size_t i = 0; i < 4; ++i) {
                    ++seen[p.codeOf(i)];
                }
                EXPECT_EQ(seen, (std::vector<int>{1, 1, 1, 1}));
            }
        }
    }
}

TEST(ClipTriangle, TwoCornersOutsideLeaveATriangleWithOneNewEdge) {
    const Polygon p =
        ClipCorners3(DiscreteProjectionSpace(),
                     {AtW1(0.0F, 0.0F, 0.0F), AtW1(2.0F, 0.5F, 0.0F), AtW1(2.0F, -0.5F, 0.0F)});
    ASSERT_TRUE(p.kept);
    EXPECT_EQ(p.vertices, (std::vector<Clip>{AtW1(1.0F, -0.25F, 0.0F), AtW1(0.0F, 0.0F, 0.0F),
                                             AtW1(1.0F, 0.25F, 0.0F)}));
    EXPECT_EQ(p.codes, CodesOf({0, 1, 2}));
}

TEST(ClipTriangle, ThePolygonIsWhereThePointerPoints) {
    // Clipped by x <= 1 and then by y <= 1: back in the first buffer.
    const Polygon p =
        ClipCorners3(DiscreteProjectionSpace(),
                     {AtW1(2.0F, 0.0F, 0.0F), AtW1(0.0F, 2.0F, 0.0F), AtW1(0.0F, 0.0F, 0.0F)});
    ASSERT_TRUE(p.kept);
    EXPECT_FALSE(p.exchanged);
    ASSERT_EQ(p.vertices.size(), 5U); // the corner of the view is met by both clips
    EXPECT_EQ(p.vertices[0], AtW1(1.0F, 0.0F, 0.0F));
}

TEST(ClipTriangle, ThreeClippedCornersOfAHexagonGiveNineVertices) {
    // The plane x + y + z = 0 meets the cube in a regular hexagon; each side of this triangle
    // intersects off every second corner of it.
    const Polygon p =
        ClipCorners3(DiscreteProjectionSpace(),
                     {AtW1(-1.8F, 1.8F, 0.0F), AtW1(0.0F, -1.8F, 1.8F), AtW1(1.8F, 0.0F, -1.8F)});
    ASSERT_TRUE(p.kept);
    ASSERT_EQ(p.vertices.size(), kBufferSize);
    std::vector<int> seen(4, 0);
    for (std::size_t i = 0; i < kBufferSize; ++i) {
        ++seen[p.codeOf(i)];
    }
    EXPECT_EQ(seen, (std::vector<int>{6, 1, 1, 1}));
    EXPECT_EQ(p.codes >> (2 * kBufferSize), 0U);
}

TEST(ClipTriangle, FollowsItsStepsBitForBit) {
    EdgeCounts counts;
    const int trials = Scaled(30000);
    for (int trial = 0; trial < trials; ++trial) {
        Random random(static_cast<std::uint64_t>(trial));
        const DiscreteProjectionSpace space = RandomView(random);
        ASSERT_EQ(CompareClippedTriangle(space, RandomCorners(random), counts), "")
            << "seed " << trial;
    }
    EXPECT_GT(counts.clipped, trials / 4);
    EXPECT_GT(counts.dropped, trials / 10);
}

float HostileNumber(Random& random) {
    constexpr std::array<float, 8> kHostile{std::numeric_limits<float>::infinity(),
                                            -std::numeric_limits<float>::infinity(),
                                            std::numeric_limits<float>::quiet_NaN(),
                                            std::numeric_limits<float>::max(),
                                            std::numeric_limits<float>::denorm_min(),
                                            0.0F,
                                            1.0F,
                                            -1e20F};
    return random.percent(40) ? kHostile[static_cast<std::size_t>(random.below(8))]
                              : random.uniform(-3.0F, 3.0F);
}

// Clips in buffers of the promised size with a guard behind them.
void ExpectWithinBuffers(const ClipCorners& corners) {
    constexpr std::size_t kGuard = 3;
    const Wm4::Vector4<float> sentinel(-5.0F, -6.0F, -7.0F, -8.0F);
    std::array<std::array<Wm4::Vector4<float>, kBufferSize + kGuard>, 2> buffers;
    buffers[0].fill(sentinel);
    buffers[1].fill(sentinel);
    for (std::size_t i = 0; i < 3; ++i) {
        buffers[0][i] = ToVector(corners[i]);
    }
    Wm4::Vector4<float>* poly = buffers[0].data();
    Wm4::Vector4<float>* scratch = buffers[1].data();
    unsigned int count = 0;
    unsigned int codes = 0;
    if (DiscreteProjectionSpace().clipTriangle(poly, scratch, count, codes)) {
        EXPECT_LE(count, kBufferSize);
    }
    for (const auto& buffer : buffers) {
        for (std::size_t i = kBufferSize; i < buffer.size(); ++i) {
            EXPECT_EQ(buffer[i], sentinel);
        }
    }
}

TEST(ClipTriangle, HostileNumbersNeverOverrunTheBuffers) {
    Random random(35);
    for (int trial = 0; trial < Scaled(20000) && !HasFailure(); ++trial) {
        ClipCorners corners{};
        for (Clip& corner : corners) {
            for (float& coordinate : corner) {
                coordinate = HostileNumber(random);
            }
        }
        ExpectWithinBuffers(corners);
    }
}

TEST(ClipTriangle, APolygonThatRoundingBendsStaysInItsBuffers) {
    // Coordinates so large that clips by some planes no longer give a convex polygon: planes
    // then add more than one vertex each, ten or eleven in all.
    constexpr float kHuge = 0x1.ff933cp+127F;
    ExpectWithinBuffers({Clip{kHuge, -0x1.4a2afp-1F, 0x1.2bbdbp+0F, -kHuge},
                         Clip{-kHuge, kHuge, 0x1p-149F, -0x1.20060cp+1F},
                         Clip{-0x1.fbe7cp-3F, 0x1.8472p-6F, -1.0F, 0x1.74cb9p+1F}});
    ExpectWithinBuffers({Clip{0.0F, 0x1.5d8f6cp+1F, 0x1.d466ap+0F, 0x1.5af1d8p+66F},
                         Clip{kHuge, -0x1.0e8b9p-1F, 0x1.88ed7p-2F, -kHuge},
                         Clip{1.0F, 0x1.325a94p+1F, -0x1.d38f3ep+0F, -0x1.1171b8p+0F}});
}

TEST(ClipTriangle, NeighboursClippedTheirCommonEdgeAtTheSamePoints) {
    Random random(32);
    int clipped = 0;
    const int trials = Scaled(15000);
    for (int trial = 0; trial < trials; ++trial) {
        const DiscreteProjectionSpace space = RandomView(random);
        const ClipCorners left = RandomCorners(random);
        // The edge 0 -> 1 of one is the edge 1 -> 2 of the other, run the other way.
        const ClipCorners right{RandomCorners(random)[0], left[1], left[0]};
        const Polygon a = ClipCorners3(space, left);
        const Polygon b = ClipCorners3(space, right);
        for (std::size_t i = 0; a.kept && b.kept && i < a.vertices.size(); ++i) {
            for (std::size_t j = 0; a.codeOf(i) == 2U && j < b.vertices.size(); ++j) {
                if (b.codeOf(j) == 3U) {
                    ASSERT_EQ(Bits(a.vertices[i]), Bits(b.before(j))) << "trial " << trial;
                    ASSERT_EQ(Bits(a.before(i)), Bits(b.vertices[j])) << "trial " << trial;
                    clipped += a.vertices[i] != left[1] || a.before(i) != left[0] ? 1 : 0;
                }
            }
        }
    }
    EXPECT_GT(clipped, trials / 20);
}

// Rounding of a few intersections among coordinates up to 2.5; a clip of an edge that is almost
// parallel to the plane moves along that edge, and so off planes that clipped it before.
constexpr double kTolerance = 1e-3;

double TripleNorm(const std::array<double, 3>& v) {
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

// Distance from p to the line through a and b, of points with w = 1.
double DistanceToLine(const Clip& p, const Clip& a, const Clip& b) {
    std::array<double, 3> d{};
    std::array<double, 3> e{};
    for (std::size_t i = 0; i < 3; ++i) {
        d[i] = static_cast<double>(b[i]) - a[i];
        e[i] = static_cast<double>(p[i]) - a[i];
    }
    const std::array<double, 3> cross{d[1] * e[2] - d[2] * e[1], d[2] * e[0] - d[0] * e[2],
                                      d[0] * e[1] - d[1] * e[0]};
    return TripleNorm(cross) / TripleNorm(d);
}

double TwiceArea(const ClipCorners& t) {
    return DistanceToLine(t[2], t[0], t[1]) * TripleNorm({static_cast<double>(t[1][0]) - t[0][0],
                                                          static_cast<double>(t[1][1]) - t[0][1],
                                                          static_cast<double>(t[1][2]) - t[0][2]});
}

bool ShareABoundary(const DiscreteProjectionSpace& space, const Clip& a, const Clip& b) {
    for (int plane = 0; plane < kPlanes; ++plane) {
        if (std::abs(Inside(space, plane, Widened(a))) < kTolerance &&
            std::abs(Inside(space, plane, Widened(b))) < kTolerance) {
            return true;
        }
    }
    return false;
}

ClipCorners RandomAffineTriangle(Random& random) {
    ClipCorners corners{};
    do {
        for (Clip& c : corners) {
            const Vec3 p = RandomPoint(random);
            c = AtW1(p[0], p[1], p[2]);
        }
    } while (corners[0] == corners[1] || corners[1] == corners[2] || corners[2] == corners[0] ||
             TwiceArea(corners) < 0.1);
    return corners;
}

TEST(ClipTriangle, CodesTellOnWhichEdgeEveryEdgeLies) {
    Random random(33);
    const DiscreteProjectionSpace space;
    std::vector<int> seen(4, 0);
    std::size_t largest = 0;
    const int trials = Scaled(15000);
    for (int trial = 0; trial < trials; ++trial) {
        const ClipCorners t = RandomAffineTriangle(random);
        const Polygon p = ClipCorners3(space, t);
        largest = std::max(largest, p.vertices.size());
        for (std::size_t i = 0; i < p.vertices.size(); ++i) {
            const unsigned int code = p.codeOf(i);
            ++seen[code];
            for (int plane = 0; plane < kPlanes; ++plane) {
                ASSERT_GE(Inside(space, plane, Widened(p.vertices[i])), -kTolerance)
                    << "trial " << trial;
            }
            if (code == 0) {
                ASSERT_TRUE(ShareABoundary(space, p.before(i), p.vertices[i])) << "trial " << trial;
                continue;
            }
            const Clip& from = t[(code + 1) % 3]; // code c: the edge that ends at vertex c - 1
            const Clip& to = t[code - 1];
            ASSERT_LT(DistanceToLine(p.vertices[i], from, to), kTolerance) << "trial " << trial;
            ASSERT_LT(DistanceToLine(p.before(i), from, to), kTolerance) << "trial " << trial;
        }
    }
    for (const int count : seen) {
        EXPECT_GT(count, trials / 10);
    }
    EXPECT_GE(largest, 5U);
}

struct Point2 {
    double u;
    double v;
};

// Coordinates of p in the frame of the triangle: t0 + u (t1 - t0) + v (t2 - t0), by least squares.
Point2 InFrame(const ClipCorners& t, const Clip& p) {
    double aa = 0.0;
    double ab = 0.0;
    double bb = 0.0;
    double ap = 0.0;
    double bp = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const double a = static_cast<double>(t[1][i]) - t[0][i];
        const double b = static_cast<double>(t[2][i]) - t[0][i];
        const double q = static_cast<double>(p[i]) - t[0][i];
        aa += a * a;
        ab += a * b;
        bb += b * b;
        ap += a * q;
        bp += b * q;
    }
    const double det = aa * bb - ab * ab;
    return {(ap * bb - bp * ab) / det, (aa * bp - ab * ap) / det};
}

// The least doubled area that q spans with an edge: negative outside a counter-clockwise polygon.
double LeastSide(const std::vector<Point2>& polygon, const Point2& q) {
    double least = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Point2& a = polygon[i];
        const Point2& b = polygon[(i + 1) % polygon.size()];
        least = std::min(least, (b.u - a.u) * (q.v - a.v) - (b.v - a.v) * (q.u - a.u));
    }
    return least;
}

double DoubledArea(const std::vector<Point2>& polygon) {
    double area = 0.0;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Point2& a = polygon[i];
        const Point2& b = polygon[(i + 1) % polygon.size()];
        area += a.u * b.v - a.v * b.u;
    }
    return area;
}

TEST(ClipTriangle, KeepsThePointsInsideTheViewAndNoOthers) {
    Random random(34);
    const DiscreteProjectionSpace space;
    int inside = 0;
    int outside = 0;
    const int trials = Scaled(5000);
    for (int trial = 0; trial < trials; ++trial) {
        const ClipCorners t = RandomAffineTriangle(random);
        const Polygon p = ClipCorners3(space, t);
        std::vector<Point2> polygon;
        for (const Clip& c : p.vertices) {
            polygon.push_back(InFrame(t, c));
        }
        for (int sample = 0; sample < 12; ++sample) {
            double u = random.unit();
            double v = random.unit();
            if (u + v > 1.0) {
                u = 1.0 - u;
                v = 1.0 - v;
            }
            double farthest = 0.0;
            for (std::size_t i = 0; i < 3; ++i) {
                farthest = std::max(farthest,
                                    std::abs((1.0 - u - v) * t[0][i] + u * t[1][i] + v * t[2][i]));
            }
            if (farthest < 0.99) {
                ++inside;
                ASSERT_TRUE(p.kept) << "trial " << trial;
                ASSERT_GE(LeastSide(polygon, {u, v}), -kTolerance) << "trial " << trial;
            } else if (farthest > 1.01 && DoubledArea(polygon) > 1e-6) {
                ++outside;
                ASSERT_LT(LeastSide(polygon, {u, v}), 0.0) << "trial " << trial;
            }
        }
    }
    EXPECT_GT(inside, trials);
    EXPECT_GT(outside, trials);
}

} // namespace
