// Drawings as comparable lists of lines: ends by their bits, occluded intervals by value,
// independent of the direction and order of lines in a set.
#pragma once

#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/LineSegmentSet.h>

#include <kxSceneGraph/kxTriMesh.h>

#include "linesets/SegmentBuilders.h"
#include "support/ExactFractions.h"
#include "support/Random.h"
#include "support/RandomScenes.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <numeric>
#include <ostream>
#include <tuple>
#include <utility>
#include <vector>

namespace laws {

using test_support::Point;
using Intervals = std::vector<ctr::RationalInterval>;
using MeshPointer = kx::kxPointer<kx::kxTriMesh>;
using MeshPointers = std::vector<MeshPointer>;

// --- ranges by value ---

/// Start and end in lowest terms: numerator, denominator, numerator, denominator.
using RangeValue = std::array<long, 4>;
using RangeValues = std::vector<RangeValue>;

inline RangeValue ValueOf(const ctr::RationalInterval& range) {
    const long s = std::gcd(range.start[0], range.start[1]);
    const long e = std::gcd(range.end[0], range.end[1]);
    return {range.start[0] / s, range.start[1] / s, range.end[0] / e, range.end[1] / e};
}

inline RangeValues ValuesOf(const Intervals& ranges) {
    RangeValues values;
    values.reserve(ranges.size());
    for (const ctr::RationalInterval& range : ranges) {
        values.push_back(ValueOf(range));
    }
    return values;
}

/// The ranges seen from the other end: t becomes 1 - t.
inline RangeValues Mirrored(const RangeValues& values) {
    RangeValues mirrored(values.size());
    std::transform(values.rbegin(), values.rend(), mirrored.begin(), [](const auto& v) {
        return RangeValues::value_type{v[3] - v[2], v[3], v[1] - v[0], v[1]};
    });
    return mirrored;
}

inline RangeValues WholeLine() {
    return {{0, 1, 1, 1}};
}

/// Whether every range of `part` lies in one of the disjoint ranges of `whole`.
inline bool IsWithin(const Intervals& part, const Intervals& whole) {
    return std::all_of(part.begin(), part.end(), [&](const ctr::RationalInterval& p) {
        return std::any_of(whole.begin(), whole.end(), [&](const ctr::RationalInterval& w) {
            return test_support::Compare(w.start, p.start) <= 0 &&
                   test_support::Compare(p.end, w.end) <= 0;
        });
    });
}

// --- lines ---

/// The bits of a position; -0 counts as 0.
using Place = std::array<std::uint32_t, 3>;
using Ends = std::array<Place, 2>;

inline Place PlaceOf(const Point& p) {
    return test_support::Bits(Point(p[0] + 0.0F, p[1] + 0.0F, p[2] + 0.0F));
}

inline Point PointOf(const Place& place) {
    return {std::bit_cast<float>(place[0]), std::bit_cast<float>(place[1]),
            std::bit_cast<float>(place[2])};
}

/// The ends of a line, the lesser bits first.
inline Ends EndsBetween(const Point& p, const Point& q) {
    return {std::min(PlaceOf(p), PlaceOf(q)), std::max(PlaceOf(p), PlaceOf(q))};
}

struct Line {
    Ends ends;
    RangeValues hidden; ///< From the first of the ends.

    bool operator==(const Line&) const = default;
    bool operator<(const Line& other) const {
        return std::tie(ends, hidden) < std::tie(other.ends, other.hidden);
    }
};

using Lines = std::vector<Line>; ///< Sorted, equal lines as often as they occur.

/// A line from p to q, with what is hidden of it counted from p.
inline Line MakeLine(const Point& p, const Point& q, const RangeValues& hidden) {
    const bool turned = PlaceOf(q) < PlaceOf(p);
    return {EndsBetween(p, q), turned ? Mirrored(hidden) : hidden};
}

/// The lines of a set in world space; null has none.
inline Lines LinesOf(const ctr::LineSegmentSet* set) {
    Lines lines;
    if (set == nullptr) {
        return lines;
    }
    const auto ends = test_support::EndsOf(*set);
    for (std::size_t i = 0; i < ends.size(); ++i) {
        const bool occluded = i < set->occlusionIntervals.size();
        lines.push_back(MakeLine(ends[i].first, ends[i].second,
                                 occluded ? ValuesOf(set->occlusionIntervals[i]) : RangeValues()));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

/// The lines with both ends moved.
template <typename Map> Lines Moved(const Lines& lines, const Map& map) {
    Lines moved;
    for (const Line& line : lines) {
        moved.push_back(
            MakeLine(map(PointOf(line.ends[0])), map(PointOf(line.ends[1])), line.hidden));
    }
    std::sort(moved.begin(), moved.end());
    return moved;
}

/// What occurs in a more often than in b.
inline Lines Surplus(const Lines& a, const Lines& b) {
    Lines surplus;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(surplus));
    return surplus;
}

inline std::ostream& operator<<(std::ostream& out, const Line& line) {
    for (const Place& end : line.ends) {
        const Point p = PointOf(end);
        out << '(' << p[0] << ' ' << p[1] << ' ' << p[2] << ") ";
    }
    out << "hidden";
    for (const RangeValue& v : line.hidden) {
        out << ' ' << v[0] << '/' << v[1] << ".." << v[2] << '/' << v[3];
    }
    return out;
}

inline testing::AssertionResult Same(const Lines& expected, const Lines& lines) {
    if (expected == lines) {
        return testing::AssertionSuccess();
    }
    testing::AssertionResult failure = testing::AssertionFailure();
    for (const Line& line : Surplus(expected, lines)) {
        failure << "missing " << line << '\n';
    }
    for (const Line& line : Surplus(lines, expected)) {
        failure << "extra   " << line << '\n';
    }
    return failure;
}

inline int CountPartlyHidden(const Lines& lines) {
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [](const Line& line) {
        return !line.hidden.empty() && line.hidden != WholeLine();
    }));
}

// --- drawings ---

/// A generator and the meshes that it borrows.
class Stage {
public:
    Stage(const ctr::DiscreteProjectionSpace& space,
          MeshPointers drawn,
          MeshPointers occluders = {},
          unsigned int contactTolerance = 0)
        : drawn_(std::move(drawn)), occluders_(std::move(occluders)) {
        generator.setProjectionSpace(space);
        generator.setContactTolerance(contactTolerance);
        const auto hiding = test_support::MeshList(occluders_);
        generator.setSingleExportCluster(test_support::MeshList(drawn_), &hiding);
    }

    ctr::GeometricFeatures draw(bool removeCommonSegments = false) {
        ctr::GeometricFeatures features;
        generator.computeGeometricFeatures(features, 0, removeCommonSegments);
        return features;
    }

    ctr::GeometricFeaturesGenerator generator;

private:
    MeshPointers drawn_;
    MeshPointers occluders_;
};

struct Drawing {
    Lines creases;
    Lines silhouettes;
    Lines intersections; ///< Visible pieces, without ranges.
};

inline testing::AssertionResult Same(const Drawing& expected, const Drawing& drawing) {
    for (const auto& lines : {&Drawing::creases, &Drawing::silhouettes, &Drawing::intersections}) {
        if (testing::AssertionResult result = Same(expected.*lines, drawing.*lines); !result) {
            return result;
        }
    }
    return testing::AssertionSuccess();
}

inline Drawing DrawingOf(const ctr::GeometricFeatures& features) {
    return {LinesOf(features.creaseEdges.get()), LinesOf(features.silhouetteEdges.get()),
            LinesOf(features.intersectionEdges.get())};
}

inline Drawing Draw(const ctr::DiscreteProjectionSpace& space,
                    const MeshPointers& drawn,
                    const MeshPointers& occluders = {},
                    bool removeCommonSegments = false) {
    return DrawingOf(Stage(space, drawn, occluders).draw(removeCommonSegments));
}

// --- scenes ---

/// Who is drawn and who only hides.
struct Cast {
    MeshPointers drawn;
    MeshPointers occluders;
};

/// The last mesh of every second scene only hides, when there is another one.
inline Cast CastOf(const test_support::Scene& scene) {
    Cast cast{scene.meshes, {}};
    if (scene.seed % 2 == 0 && cast.drawn.size() > 1) {
        cast.occluders.push_back(cast.drawn.back());
        cast.drawn.pop_back();
    }
    return cast;
}

inline test_support::MeshData DataOf(const kx::kxTriMesh& mesh) {
    test_support::MeshData data;
    data.positions = test_support::PositionsOf(mesh.GetVertexBuffer());
    data.indices = test_support::IndicesOf(mesh.GetIndexBuffer());
    return data;
}

/// World positions of a mesh's vertices.
inline std::vector<Point> PlacesOf(const kx::kxTriMesh& mesh) {
    std::vector<Point> places = test_support::PositionsOf(mesh.GetVertexBuffer());
    for (Point& p : places) {
        p = mesh.GetWorldTransformation().ApplyForward(p, true);
    }
    return places;
}

/// A mesh of other data that stands where `model` stands.
inline MeshPointer MakeLike(const kx::kxTriMesh& model, const test_support::MeshData& data) {
    MeshPointer mesh = test_support::MakeMesh(data);
    mesh->SetWorldTransformation(model.GetWorldTransformation());
    return mesh;
}

/// The meshes with their vertices moved in world space.
template <typename Map> MeshPointers Moved(const MeshPointers& meshes, const Map& map) {
    MeshPointers moved;
    for (const MeshPointer& mesh : meshes) {
        if (mesh) {
            test_support::MeshData data{PlacesOf(*mesh), DataOf(*mesh).indices};
            std::transform(data.positions.begin(), data.positions.end(), data.positions.begin(),
                           map);
            moved.push_back(test_support::MakeMesh(data));
        }
    }
    return moved;
}

inline MeshPointers Together(MeshPointers meshes, const MeshPointers& more) {
    meshes.insert(meshes.end(), more.begin(), more.end());
    return meshes;
}

/// Segments between vertices of the scene and points near them: lines that intersect, graze and
/// pass behind, as the edges of meshes seldom do. Never null.
inline test_support::SetPointer
RandomChords(test_support::Random& random, const MeshPointers& meshes, int count) {
    std::vector<Point> places;
    for (const MeshPointer& mesh : meshes) {
        if (mesh) {
            const std::vector<Point> more = PlacesOf(*mesh);
            places.insert(places.end(), more.begin(), more.end());
        }
    }
    std::vector<Point> ends(2 * static_cast<std::size_t>(places.empty() ? 0 : count));
    std::vector<unsigned int> indices(ends.size());
    std::iota(indices.begin(), indices.end(), 0U);
    for (Point& end : ends) {
        end = places[static_cast<std::size_t>(random.below(static_cast<int>(places.size())))];
        if (random.percent(50)) {
            end[random.below(3)] += static_cast<float>(random.between(-3, 3));
        }
    }
    return test_support::MakeSet(ends, indices);
}

/// Small and large triangles, 3 to 8, on a square lattice of 4 to 8 bits: they intersect,
/// and many of the large ones hide whole lines.
inline test_support::Scene CrossedTriangles(std::uint64_t seed) {
    test_support::Random random(seed);
    test_support::Scene scene;
    scene.seed = seed;
    const int bits = random.between(4, 8);
    scene.space = test_support::LatticeSpace(static_cast<unsigned int>(bits),
                                             static_cast<unsigned int>(bits));
    const int last = (1 << bits) - 2;
    test_support::MeshData data;
    for (int i = random.between(3, 8); i > 0; --i) {
        const bool large = random.percent(50);
        const int side = large ? last : std::max(3, last / 3);
        const std::array<int, 3> corner = {random.between(0, last - side),
                                           random.between(0, last - side),
                                           random.between(0, last - side)};
        const auto any = [&] {
            return Point(static_cast<float>(corner[0] + random.between(0, side)),
                         static_cast<float>(corner[1] + random.between(0, side)),
                         static_cast<float>(corner[2] + random.between(0, side)));
        };
        const Point a = any();
        const Point b = any();
        data.addTriangle(a, b, any());
    }
    scene.meshes.push_back(test_support::MakeMesh(data));
    return scene;
}

} // namespace laws
