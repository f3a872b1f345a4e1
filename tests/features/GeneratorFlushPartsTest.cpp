// Sixty parts standing flush on a table: rounding to the grid puts some of their foot edges below
// the table by a fraction of a step. There the intersection of part and table replaces the edge, so
// that each foot line is drawn over its whole visible length.
#include <ctr/GeometricFeaturesGenerator.h>

#include <kxSceneGraph/kxOutlineMetadata.h>

#include "support/Random.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using test_support::MeshData;
using test_support::Point;
using Outline = std::vector<Wm4::Vector2<float>>;
using Screen = Wm4::Vector2<double>;

constexpr double kPi = 3.14159265358979323846;
/// The corners of the table are 35 units from its middle.
constexpr double kHalfView = 40.0;
constexpr double kStepsPerUnit = 1048575.0 / (2.0 * kHalfView);
/// Ends of pieces and of edges are rounded to whole steps, each by less than one.
constexpr double kLargestGap = 4.0;
constexpr double kBeside = 3.0;
constexpr int kSamplesPerEdge = 100;

/// A prism on the table; a smooth one shows its rims but no upright edges.
struct Part {
    Outline outline; ///< Counter-clockwise.
    float height;
    bool smooth;
};

Part MakePart(test_support::Random& random, int number) {
    const int corners = number % 3 == 0 ? 4 : number % 3 == 1 ? 3 + number % 4 : 24;
    const double turn = 2.0 * kPi * random.unit();
    const double radius = 1.0 + random.unit();
    Part part{{}, static_cast<float>(1.0 + 3.0 * random.unit()), corners == 24};
    const double x = 6.0 * (number % 10) - 27.0;
    const double y = 6.0 * (number / 10 % 6) - 15.0;
    for (int i = 0; i < corners; ++i) {
        const double angle = turn + 2.0 * kPi * i / corners;
        part.outline.emplace_back(static_cast<float>(x + radius * std::cos(angle)),
                                  static_cast<float>(y + radius * std::sin(angle)));
    }
    return part;
}

/// A mesh with the rims, and the upright edges unless smooth, as its outline.
kx::kxPointer<kx::kxTriMesh> MakeMesh(const Part& part, float bottom, float top) {
    const MeshData data = test_support::Prism(part.outline, bottom, top);
    std::map<std::tuple<float, float, float>, unsigned int> numbers;
    for (unsigned int i = 0; i < data.positions.size(); ++i) {
        const Point& p = data.positions[i];
        numbers.emplace(std::tuple(p[0], p[1], p[2]), i);
    }
    std::vector<unsigned int> lines;
    const auto add = [&](std::size_t i, float z, std::size_t j, float w) {
        const auto& p = part.outline[i % part.outline.size()];
        const auto& q = part.outline[j % part.outline.size()];
        lines.push_back(numbers.at({p[0], p[1], z}));
        lines.push_back(numbers.at({q[0], q[1], w}));
    };
    for (std::size_t i = 0; i < part.outline.size(); ++i) {
        add(i, bottom, i + 1, bottom);
        add(i, top, i + 1, top);
        if (!part.smooth) {
            add(i, bottom, i, top);
        }
    }
    const kx::kxPointer<kx::kxIndexBuffer> outline(
        new kx::kxIndexBuffer(static_cast<int>(lines.size()), kx::IBT_LINES));
    std::copy(lines.begin(), lines.end(), outline->GetData());
    kx::kxPointer<kx::kxTriMesh> mesh = test_support::MakeMesh(data);
    mesh->AddMetadata(new kx::kxOutlineMetadata(outline));
    return mesh;
}

/// An orthographic view from above the horizon.
struct View {
    double right[3];
    double up[3];
    double eye[3]; ///< Towards the eye.

    View(double azimuth, double elevation)
        : right{std::cos(azimuth), std::sin(azimuth), 0.0}, up{-std::sin(azimuth) *
                                                                   std::sin(elevation),
                                                               std::cos(azimuth) *
                                                                   std::sin(elevation),
                                                               std::cos(elevation)},
          eye{std::sin(azimuth) * std::cos(elevation), -std::cos(azimuth) * std::cos(elevation),
              std::sin(elevation)} {}

    ctr::DiscreteProjectionSpace space() const {
        Wm4::Matrix4<float> toClip(false);
        Wm4::Matrix4<float> toWorld(false);
        for (int i = 0; i < 3; ++i) {
            const double axes[3] = {right[i], up[i], -eye[i]};
            for (int k = 0; k < 3; ++k) {
                toClip[i][k] = static_cast<float>(axes[k] / kHalfView);
                toWorld[k][i] = static_cast<float>(axes[k] * kHalfView);
            }
        }
        ctr::DiscreteProjectionSpace space;
        space.setViewProjection(toClip, toWorld);
        space.setVoxelBitSize(20, 19);
        return space;
    }

    /// In grid steps.
    Screen project(const Point& p) const {
        const auto along = [&](const double* axis) {
            return kStepsPerUnit *
                   (axis[0] * static_cast<double>(p[0]) + axis[1] * static_cast<double>(p[1]) +
                    axis[2] * static_cast<double>(p[2]));
        };
        return {along(right), along(up)};
    }
};

enum class Hit { no, yes, unsure };

/// Whether the ray from a point of the table to the eye meets a part, with a margin both ways.
Hit Meets(const Part& part, double x, double y, const View& view) {
    constexpr double kMargin = 0.01;
    const auto length = [&](double margin) {
        double from = 0.0;
        double to = (static_cast<double>(part.height) + margin) / view.eye[2];
        for (std::size_t i = 0; i < part.outline.size(); ++i) {
            const auto& p = part.outline[i];
            const auto& q = part.outline[(i + 1) % part.outline.size()];
            const double ex = static_cast<double>(q[0]) - static_cast<double>(p[0]);
            const double ey = static_cast<double>(q[1]) - static_cast<double>(p[1]);
            const double side = std::hypot(ex, ey);
            const double distance =
                (ey * (x - static_cast<double>(p[0])) - ex * (y - static_cast<double>(p[1]))) /
                    side -
                margin;
            const double rate = (ey * view.eye[0] - ex * view.eye[1]) / side;
            if (rate == 0.0) {
                to = distance > 0.0 ? -1.0 : to;
            } else if (rate > 0.0) {
                to = std::min(to, -distance / rate);
            } else {
                from = std::max(from, -distance / rate);
            }
        }
        return to - from;
    };
    return length(kMargin) <= 0.0 ? Hit::no : length(-kMargin) > 0.0 ? Hit::yes : Hit::unsure;
}

bool FacesEye(const Part& part, std::size_t edge, const View& view) {
    constexpr double kClearlyFacing = 0.05;
    const auto& p = part.outline[edge];
    const auto& q = part.outline[(edge + 1) % part.outline.size()];
    const double ex = static_cast<double>(q[0]) - static_cast<double>(p[0]);
    const double ey = static_cast<double>(q[1]) - static_cast<double>(p[1]);
    return ey * view.eye[0] - ex * view.eye[1] > kClearlyFacing * std::hypot(ex, ey);
}

/// The visible stretches of a foot edge as parameters, found by sampling the scene itself.
std::vector<std::pair<double, double>> VisibleStretches(const std::vector<Part>& parts,
                                                        std::size_t number,
                                                        std::size_t edge,
                                                        const View& view) {
    std::vector<std::pair<double, double>> stretches;
    const Part& part = parts[number];
    const auto& p = part.outline[edge];
    const auto& q = part.outline[(edge + 1) % part.outline.size()];
    bool open = false;
    for (int i = 1; i < kSamplesPerEdge && FacesEye(part, edge, view); ++i) {
        const double t = static_cast<double>(i) / kSamplesPerEdge;
        const double x = (1.0 - t) * static_cast<double>(p[0]) + t * static_cast<double>(q[0]);
        const double y = (1.0 - t) * static_cast<double>(p[1]) + t * static_cast<double>(q[1]);
        bool visible = true;
        for (std::size_t other = 0; other < parts.size() && visible; ++other) {
            visible = other == number || Meets(parts[other], x, y, view) == Hit::no;
        }
        if (visible && open) {
            stretches.back().second = t;
        } else if (visible) {
            stretches.emplace_back(t, t);
        }
        open = visible;
    }
    return stretches;
}

using Piece = std::pair<Screen, Screen>;

void AppendPieces(std::vector<Piece>& pieces, const ctr::LineSegmentSet* set, const View& view) {
    const std::unique_ptr<ctr::LineSegmentSet> visible(
        ctr::LineSegmentSet::BakeVisibleSegments(set));
    if (!visible) {
        return;
    }
    const unsigned int* index = visible->GetIndexBuffer()->GetData();
    for (int i = 0; i < visible->GetIndexBuffer()->GetIndexQuantity(); i += 2) {
        const auto at = [&](int k) {
            return view.project(visible->GetVertexBuffer()->Position3(static_cast<int>(index[k])));
        };
        pieces.emplace_back(at(i), at(i + 1));
    }
}

/// The ranges, in steps along a -> b, over which pieces run on the line through both.
std::vector<std::pair<double, double>>
Covered(const std::vector<Piece>& pieces, const Screen& a, const Screen& b) {
    std::vector<std::pair<double, double>> ranges;
    const Screen direction = (b - a) / (b - a).Length();
    const auto along = [&](const Screen& p) { return (p - a).Dot(direction); };
    const auto beside = [&](const Screen& p) {
        const Screen d = p - a;
        return std::abs(d[0] * direction[1] - d[1] * direction[0]);
    };
    for (const auto& [p, q] : pieces) {
        if (beside(p) < kBeside && beside(q) < kBeside) {
            ranges.push_back(std::minmax({along(p), along(q)}));
        }
    }
    std::sort(ranges.begin(), ranges.end());
    return ranges;
}

struct Tally {
    double length = 0.0; ///< Steps of foot line that have to be drawn.
    double twice = 0.0;  ///< Steps drawn more than once.
    double largestGap = 0.0;
    double bySinking = 0.0; ///< Steps drawn by intersection pieces.
};

/// Walks the ranges over [from, to]; a piece is owed everywhere.
void Walk(const std::vector<std::pair<double, double>>& ranges,
          double from,
          double to,
          Tally& tally) {
    double reached = from;
    for (const auto& [begin, end] : ranges) {
        if (end <= from || begin >= to) {
            continue;
        }
        tally.largestGap = std::max(tally.largestGap, begin - reached);
        tally.twice += std::max(0.0, std::min({reached, end, to}) - std::max(begin, from));
        reached = std::max(reached, end);
    }
    tally.largestGap = std::max(tally.largestGap, to - reached);
    tally.length += to - from;
}

double LengthWithin(const std::vector<std::pair<double, double>>& ranges, double from, double to) {
    double length = 0.0;
    for (const auto& [begin, end] : ranges) {
        length += std::max(0.0, std::min(end, to) - std::max(begin, from));
    }
    return length;
}

TEST(GeneratorFlushParts, EveryFootLineIsDrawnOverItsWholeVisibleLength) {
    test_support::Random random(60);
    std::vector<Part> parts;
    std::vector<kx::kxPointer<kx::kxTriMesh>> meshes;
    for (int number = 0; number < 60; ++number) {
        parts.push_back(MakePart(random, number));
        meshes.push_back(MakeMesh(parts.back(), 0.0F, parts.back().height));
    }
    const Part table{
        {{-30.0F, -18.0F}, {30.0F, -18.0F}, {30.0F, 18.0F}, {-30.0F, 18.0F}}, 0.0F, false};
    meshes.push_back(MakeMesh(table, -1.0F, 0.0F));

    Tally total;
    const int views = test_support::Scaled(10);
    for (int number = 0; number < views; ++number) {
        const View view(2.0 * kPi * (number + static_cast<double>(random.unit())) / views,
                        0.4 + 0.6 * random.unit());
        ctr::GeometricFeaturesGenerator generator;
        generator.setProjectionSpace(view.space());
        generator.setSingleExportCluster(test_support::MeshList(meshes), nullptr);
        ctr::GeometricFeatures features;
        generator.computeGeometricFeatures(features, 0, true);
        std::vector<Piece> pieces;
        AppendPieces(pieces, features.intersectionEdges.get(), view);
        const std::vector<Piece> intersections = pieces;
        AppendPieces(pieces, features.creaseEdges.get(), view);
        AppendPieces(pieces, features.silhouetteEdges.get(), view);

        for (std::size_t part = 0; part < parts.size(); ++part) {
            const Outline& outline = parts[part].outline;
            for (std::size_t edge = 0; edge < outline.size(); ++edge) {
                const auto& p = outline[edge];
                const auto& q = outline[(edge + 1) % outline.size()];
                const Screen a = view.project({p[0], p[1], 0.0F});
                const Screen b = view.project({q[0], q[1], 0.0F});
                const double length = (b - a).Length();
                const auto ranges = Covered(pieces, a, b);
                for (const auto& [from, to] : VisibleStretches(parts, part, edge, view)) {
                    Tally tally;
                    Walk(ranges, from * length, to * length, tally);
                    EXPECT_LE(tally.largestGap, kLargestGap)
                        << "view " << number << ", part " << part << ", edge " << edge;
                    total.length += tally.length;
                    total.twice += tally.twice;
                    total.bySinking +=
                        LengthWithin(Covered(intersections, a, b), from * length, to * length);
                }
            }
        }
    }
    // The test is only meaningful if both kinds of pieces occur.
    EXPECT_GT(total.bySinking, 0.1 * total.length);
    EXPECT_LT(total.bySinking, 0.9 * total.length);
    EXPECT_LT(total.twice, 0.001 * total.length);
    RecordProperty("steps", std::to_string(total.length));
    RecordProperty("by_cuts", std::to_string(total.bySinking));
    RecordProperty("twice", std::to_string(total.twice));
}

} // namespace
