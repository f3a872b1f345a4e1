// Segments from the input, taken through everything that finishes a drawing: the fit, chaining with
// runs and arcs, welding, removing, fusing, visible pieces. Each result is compared with the laws
// of its operation, or against the operation done again in the plainest way.
#include <ctr/FittingSystem.h>
#include <ctr/LineSegmentSet.h>

#include "fuzz/FuzzBytes.h"
#include "fuzz/FuzzSets.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using ctr::FittingSystem;
using ctr::LineSegmentSet;
using fuzz::FuzzBytes;
using fuzz::Piece;
using fuzz::PointKey;
using fuzz::Require;
using fuzz::SetPointer;
using test_support::IndicesPointer;
using test_support::Vec3;
using test_support::VerticesPointer;
using Record = LineSegmentSet::ArcFeature;

constexpr std::uint32_t kArc = 1;
constexpr std::uint32_t kStraight = 2;
constexpr float kLeastArc = 0.3926991F;

/// @name The fit
/// @{

/// Any NaN equals any other, -0 equals 0.
bool Same(double a, double b) {
    return a == b || (a != a && b != b);
}

bool SameFit(const FittingSystem& a, const FittingSystem& b) {
    const auto same = [](const auto& v, const auto& w) {
        return Same(v[0], w[0]) && Same(v[1], w[1]) && Same(v[2], w[2]);
    };
    return std::equal(a.directionMoments.begin(), a.directionMoments.end(),
                      b.directionMoments.begin(), Same) &&
           same(a.bisectorMoments, b.bisectorMoments) && same(a.firstPoint, b.firstPoint) &&
           same(a.lastPoint, b.lastPoint) && same(a.center, b.center) && same(a.normal, b.normal) &&
           same(a.frontReference, b.frontReference) && same(a.backReference, b.backReference) &&
           Same(a.bisectorSquares, b.bisectorSquares) && Same(a.area, b.area) &&
           a.count == b.count && a.collinear == b.collinear && a.clockwise == b.clockwise &&
           a.circleStarted == b.circleStarted;
}

/// How well directions agree, without an axis to hold them against.
class Directions {
public:
    void add(const Vec3& p, const Vec3& q) {
        std::array<double, 3> d{};
        double length = 0.0;
        for (int i = 0; i < 3; ++i) {
            d[static_cast<std::size_t>(i)] = static_cast<double>(q[i]) - static_cast<double>(p[i]);
            length = std::hypot(length, d[static_cast<std::size_t>(i)]);
        }
        for (std::size_t i = 0; i < 9; ++i) {
            moments_[i] += d[i / 3] / length * (d[i % 3] / length);
        }
        ++count_;
    }

    /// The mean square of the cosines between any two: 1 for parallel ones. The sum of the squares
    /// of the moments' eigenvalues, so at least the square of the largest.
    double agreement() const {
        double sum = 0.0;
        for (const double moment : moments_) {
            sum += moment * moment;
        }
        return sum / (count_ * count_);
    }

private:
    std::array<double, 9> moments_{};
    double count_ = 0.0;
};

/// Square of a tenth of a degree, and a little for rounding.
constexpr double kLineSpread = 3.04617e-6 + 1.0e-9;

/// Every question, which must have one answer and change nothing.
void QueryFit(const FittingSystem& fit) {
    constexpr float kFullTurn = 6.2831855F;
    const FittingSystem before = fit;
    Require(fit.couldFitCircle() == (fit.count >= 2.0), "a circle of one segment");
    Require(fit.fitLine() == fit.fitLine(), "a line and none");
    Require(!fit.fitLine() || fit.collinear, "a line that turns back");
    float angle = -1.0F;
    const bool fits = fit.fitCircle(&angle);
    Require(fits == fit.fitCircle(nullptr), "an arc and none");
    Require(!fits || (fit.couldFitCircle() && fit.area > 0.0), "an arc without area");
    Require(!(angle > kFullTurn) && !(angle < 0.0F && angle != -1.0F), "more than a turn");
    Require(!fits || angle >= 0.0F, "an arc without an angle");
    Vec3 normal;
    Vec3 centre;
    Wm4::Vector3<double> wideNormal;
    Wm4::Vector3<double> wideCentre;
    const bool found = fit.computeCircleNormalCenter(fit.firstPoint, normal, centre);
    Require(found == fit.computeCircleNormalCenter(fit.firstPoint, wideNormal, wideCentre),
            "a centre and none");
    Require(!found || std::abs(wideNormal.Length() - 1.0) < 1.0e-6, "a normal without length 1");
    Require(SameFit(before, fit), "a question changes the fit");
}

bool HasLength(const Vec3& p, const Vec3& q) {
    double squares = 0.0;
    for (int i = 0; i < 3; ++i) {
        const double d = static_cast<double>(q[i]) - static_cast<double>(p[i]);
        squares += d * d;
    }
    return squares != 0.0;
}

void CheckFit(FuzzBytes& bytes) {
    FittingSystem fit;
    Directions directions;
    Vec3 from = bytes.point();
    const bool trackCircle = bytes.flag();
    for (unsigned int count = bytes.below(32); count > 0; --count) {
        const bool atFront = bytes.rarely();
        if (bytes.rarely()) {
            from = bytes.point();
        }
        const Vec3 to = bytes.point();
        const FittingSystem before = fit;
        const bool added = fit.addToSystem(from, to, atFront, bytes.rarely() != trackCircle);
        Require(added == HasLength(from, to), "what has length is added, and nothing else");
        Require(fit.count == before.count + (added ? 1.0 : 0.0), "another count");
        Require(added || SameFit(before, fit), "a segment of no length leaves something");
        Require(before.count == 0.0 || before.collinear || !fit.collinear, "a line again");
        Require(!(before.area < 0.0) || fit.area < 0.0, "an arc again");
        QueryFit(fit);
        if (added) {
            directions.add(from, to);
        }
        // Of a line, the largest eigenvalue is all but the spread.
        Require(!fit.fitLine() ||
                    directions.agreement() >= (1.0 - kLineSpread) * (1.0 - kLineSpread),
                "a line of directions that do not agree");
        from = to;
    }
    fit.reset();
    Require(SameFit(fit, FittingSystem()), "a reset leaves something");
}
/// @}

/// @name Polylines
/// @{

/// A line list with a flag and a tag for each segment.
struct LineList {
    std::vector<Vec3> positions;
    std::vector<unsigned int> indices;
    std::vector<bool> flags;
    std::vector<unsigned char> tags;

    std::size_t segmentCount() const { return indices.size() / 2; }
};

/// A path through new vertices, and through the last one there is when it is joined.
void AddPath(FuzzBytes& bytes, LineList& list, const std::vector<Vec3>& path) {
    const bool joined = bytes.flag() && !list.positions.empty();
    const bool closed = bytes.rarely();
    const auto first = static_cast<unsigned int>(list.positions.size() - (joined ? 1U : 0U));
    const Vec3 shift = joined ? list.positions.back() - path.front() : Vec3(0, 0, 0);
    for (std::size_t i = joined ? 1 : 0; i < path.size(); ++i) {
        list.positions.push_back(path[i] + shift);
    }
    const auto count = static_cast<unsigned int>(path.size());
    for (unsigned int i = 1; i < count; ++i) {
        list.indices.insert(list.indices.end(), {first + i - 1, first + i});
    }
    if (closed) {
        list.indices.insert(list.indices.end(), {first + count - 1, first});
    }
}

std::vector<Vec3> TakeArc(FuzzBytes& bytes) {
    const Vec3 centre = bytes.point();
    const float radius = static_cast<float>(1 + bytes.below(16)) / 4.0F;
    const float start = static_cast<float>(bytes.below(64)) / 10.0F;
    const float step = (static_cast<float>(bytes.below(64)) - 32.0F) / 64.0F;
    const bool tilted = bytes.flag();
    const unsigned int count = 2 + bytes.below(24);
    std::vector<Vec3> points;
    for (unsigned int i = 0; i < count; ++i) {
        const float angle = start + step * static_cast<float>(i);
        const float x = radius * std::cos(angle);
        const float y = radius * std::sin(angle);
        points.push_back(centre + (tilted ? Vec3(x, 0.6F * y, 0.8F * y) : Vec3(x, y, 0.0F)));
    }
    return points;
}

std::vector<Vec3> TakeLine(FuzzBytes& bytes) {
    const Vec3 start = bytes.point();
    const Vec3 step = bytes.point();
    const unsigned int count = 2 + bytes.below(12);
    std::vector<Vec3> points;
    for (unsigned int i = 0; i < count; ++i) {
        points.push_back(start + static_cast<float>(i) * step);
    }
    return points;
}

LineList TakeLineList(FuzzBytes& bytes) {
    LineList list;
    for (unsigned int count = bytes.below(8); count > 0; --count) {
        const unsigned int kind = bytes.below(3);
        if (kind < 2) {
            AddPath(bytes, list, kind == 0 ? TakeArc(bytes) : TakeLine(bytes));
            continue;
        }
        const fuzz::SetRecipe recipe = fuzz::TakeRecipe(bytes);
        const auto first = static_cast<unsigned int>(list.positions.size());
        list.positions.insert(list.positions.end(), recipe.positions.begin(),
                              recipe.positions.end());
        for (std::size_t i = 0; i < 2 * recipe.segmentCount(); ++i) {
            list.indices.push_back(first + recipe.indices[i]);
        }
    }
    // Some segments between any two points: junctions, loops, segments twice, of no length.
    for (unsigned int count = bytes.below(8); count > 0 && !list.positions.empty(); --count) {
        const auto most = static_cast<unsigned int>(list.positions.size());
        list.indices.push_back(bytes.word() % most);
        list.indices.push_back(bytes.word() % most);
    }
    const unsigned int flagged = bytes.below(3);
    for (std::size_t i = 0; i < list.segmentCount(); ++i) {
        list.flags.push_back(flagged == 1 || (flagged == 2 && bytes.flag()));
        list.tags.push_back(static_cast<unsigned char>(i % 4));
    }
    return list;
}

/// What chaining makes of a line list. Never moved, as records point at each other.
struct Polylines {
    Polylines() = default;
    Polylines(const Polylines&) = delete;
    Polylines& operator=(const Polylines&) = delete;
    ~Polylines() = default;

    bool done = false;
    std::vector<unsigned int> indices;
    std::vector<Record> runs;
    std::vector<bool> straight;
    std::vector<unsigned char> tags;
};

void Chain(const LineList& list, Polylines& result) {
    const VerticesPointer vertices = test_support::MakeVertices(list.positions);
    const IndicesPointer input = test_support::MakeIndices(list.indices);
    IndicesPointer output;
    result.tags = list.tags;
    result.done = LineSegmentSet::BuildPolylinesImpl(*vertices, *input, &list.flags, &result.tags,
                                                     output, result.runs, result.straight);
    result.indices = test_support::IndicesOf(output.get());
}

/// Every segment once, with its tag, in one direction or the other.
void CheckSegments(const LineList& list, const Polylines& lines) {
    using Key = std::tuple<unsigned int, unsigned int, unsigned char>;
    const auto keys = [](const std::vector<unsigned int>& indices,
                         const std::vector<unsigned char>& tags) {
        std::multiset<Key> all;
        for (std::size_t i = 0; i + 1 < indices.size(); i += 2) {
            const auto [low, high] = std::minmax(indices[i], indices[i + 1]);
            all.emplace(low, high, tags[i / 2]);
        }
        return all;
    };
    Require(lines.tags.size() == list.segmentCount(), "a tag is missing");
    Require(keys(list.indices, list.tags) == keys(lines.indices, lines.tags),
            "segments and tags are others than before");
}

/// Records cover the index buffer without gap or overlap.
void CheckTiling(const Polylines& lines) {
    std::map<std::uint32_t, std::uint32_t> ends;
    for (const Record& run : lines.runs) {
        Require(run.first < run.end && run.end % 2 == 0, "a record without a segment");
        Require(ends.emplace(run.first, run.end).second, "two records begin together");
    }
    std::uint32_t at = 0;
    for (const auto& [first, end] : ends) {
        Require(first == at, "records leave a gap or overlap");
        at = end;
    }
    Require(at == lines.indices.size(), "records do not reach the end");
}

/// The records from a head on.
std::vector<const Record*> ChainOf(const Polylines& lines, const Record& head) {
    std::vector<const Record*> chain;
    for (const Record* run = &head; run != nullptr; run = run->next) {
        Require(run >= lines.runs.data() && run < lines.runs.data() + lines.runs.size(),
                "a link out of the list");
        Require(chain.empty() || run->prev == chain.back(), "links that do not match");
        Require(chain.size() < lines.runs.size(), "a chain in a circle");
        chain.push_back(run);
    }
    return chain;
}

/// Each segment of a chain begins where the one before it ends.
void CheckConnected(const Polylines& lines, const std::vector<const Record*>& chain) {
    const unsigned int* before = nullptr;
    for (const Record* run : chain) {
        for (std::uint32_t i = run->first; i < run->end; i += 2) {
            Require(before == nullptr || *before == lines.indices[i], "a chain that jumps");
            before = &lines.indices[i + 1];
        }
    }
}

/// A run by itself was accepted by the fit, in the direction it has or in the other.
void CheckFits(const LineList& list, const Polylines& lines, const Record& run) {
    const auto fitsFrom = [&](bool turned) {
        FittingSystem fit;
        const std::uint32_t count = run.end - run.first;
        float angle = 0.0F;
        bool fits = false;
        for (std::uint32_t i = 0; i < count; i += 2) {
            const std::uint32_t at = turned ? run.end - 1 - i : run.first + i;
            const std::uint32_t next = turned ? at - 1 : at + 1;
            fit.addToSystem(list.positions[lines.indices[at]], list.positions[lines.indices[next]],
                            false, run.kind == kArc);
        }
        fits = run.kind == kArc ? fit.fitCircle(&angle) : fit.fitLine();
        return fits && (run.kind != kArc || angle >= kLeastArc);
    };
    Require(run.end - run.first >= 4, "a run of one segment");
    Require(fitsFrom(false) || fitsFrom(true), "a run that does not fit");
}

void CheckRuns(const LineList& list, const Polylines& lines) {
    std::size_t reached = 0;
    for (const Record& run : lines.runs) {
        Require(run.kind <= kStraight, "a kind that is none");
        for (std::uint32_t i = run.first; i < run.end; i += 2) {
            Require(lines.straight[i / 2] == (run.kind == kStraight), "flags tell another kind");
        }
        if (run.prev != nullptr) {
            continue;
        }
        const std::vector<const Record*> chain = ChainOf(lines, run);
        reached += chain.size();
        CheckConnected(lines, chain);
        for (const Record* part : chain) {
            Require(part->kind == run.kind, "a chain of two kinds");
        }
        Require(chain.size() == 1 || run.kind != 0, "a chain of nothing recognised");
        if (chain.size() == 1 && run.kind != 0) {
            CheckFits(list, lines, run);
        }
    }
    Require(reached == lines.runs.size(), "records linked in a circle");
}

bool SameLines(const Polylines& a, const Polylines& b) {
    const auto place = [](const Polylines& lines, const Record* run) {
        return run == nullptr ? std::ptrdiff_t{-1} : run - lines.runs.data();
    };
    bool same = a.done == b.done && a.indices == b.indices && a.straight == b.straight &&
                a.tags == b.tags && a.runs.size() == b.runs.size();
    for (std::size_t i = 0; same && i < a.runs.size(); ++i) {
        const Record& r = a.runs[i];
        const Record& s = b.runs[i];
        same = r.first == s.first && r.end == s.end && r.kind == s.kind &&
               place(a, r.prev) == place(b, s.prev) && place(a, r.next) == place(b, s.next);
    }
    return same;
}

/// As a set: the same segments in the same places, compacted or not.
void CheckPolylineSet(const LineList& list, const Polylines& lines, bool compact) {
    const SetPointer source = test_support::MakeSet(list.positions, list.indices);
    source->segmentFlags = list.flags;
    std::vector<Record> runs;
    const SetPointer set(LineSegmentSet::BuildPolylines(*source, runs, compact));
    Require(static_cast<bool>(set) == lines.done, "a set and no polylines");
    if (!set) {
        return;
    }
    Require(runs.size() == lines.runs.size(), "other runs in a set");
    Require(set->segmentFlags == lines.straight, "other flags in a set");
    const std::vector<Piece> ends = test_support::EndsOf(*set);
    Require(2 * ends.size() == lines.indices.size(), "another number of segments in a set");
    for (std::size_t i = 0; i < ends.size(); ++i) {
        Require(fuzz::KeyOf(ends[i].first) == fuzz::KeyOf(list.positions[lines.indices[2 * i]]) &&
                    fuzz::KeyOf(ends[i].second) ==
                        fuzz::KeyOf(list.positions[lines.indices[2 * i + 1]]),
                "a segment of a set lies elsewhere");
    }
}

void CheckPolylines(FuzzBytes& bytes) {
    const LineList list = TakeLineList(bytes);
    Polylines lines;
    Chain(list, lines);
    Require(lines.done == (list.segmentCount() > 0), "polylines of nothing, or none");
    if (lines.done) {
        Require(lines.straight.size() == list.segmentCount(), "a flag is missing");
        CheckSegments(list, lines);
        CheckTiling(lines);
        CheckRuns(list, lines);
    }
    Polylines again;
    Chain(list, again);
    Require(SameLines(lines, again), "other polylines the second time");
    CheckPolylineSet(list, lines, false);
    CheckPolylineSet(list, lines, true);
}
/// @}

/// @name Sets
/// @{

bool IsNumber(const Vec3& p) {
    return p[0] == p[0] && p[1] == p[1] && p[2] == p[2];
}

void CheckFiltered(const LineSegmentSet& set) {
    const std::vector<Vec3> positions = test_support::PositionsOf(set);
    const std::vector<unsigned int> indices = test_support::IndicesOf(set);
    VerticesPointer filtered;
    std::vector<unsigned int> remapping;
    LineSegmentSet::CreateFilteredVertexBuffer(*set.GetVertexBuffer(), *set.GetIndexBuffer(),
                                               filtered, remapping);
    const std::vector<Vec3> kept = test_support::PositionsOf(filtered.get());
    Require(remapping.size() == positions.size(), "a vertex has no number");
    std::set<unsigned int> used(
        indices.begin(), indices.begin() + static_cast<std::ptrdiff_t>(indices.size() / 2 * 2));
    std::set<unsigned int> reached;
    for (unsigned int v = 0; v < positions.size(); ++v) {
        if (used.count(v) == 0) {
            Require(remapping[v] == 0, "a vertex that is not used has a number");
            continue;
        }
        reached.insert(remapping[v]);
        Require(remapping[v] < kept.size() &&
                    fuzz::KeyOf(kept[remapping[v]]) == fuzz::KeyOf(positions[v]),
                "a vertex moves");
    }
    Require(reached.size() == kept.size(), "a vertex that nothing uses");
    for (std::size_t i = 1; i < kept.size(); ++i) {
        const auto key = [](const Vec3& p) { return std::array{p[0], p[1], p[2]}; };
        Require(!IsNumber(kept[i - 1]) || !IsNumber(kept[i]) || key(kept[i - 1]) < key(kept[i]),
                "vertices out of order, or one twice");
    }
}

using SegmentKey = std::pair<PointKey, PointKey>;

SegmentKey KeyOfSegment(const Piece& segment) {
    return std::minmax(fuzz::KeyOf(segment.first), fuzz::KeyOf(segment.second));
}

bool AllNumbers(const LineSegmentSet& set) {
    const std::vector<Vec3> positions = test_support::PositionsOf(set);
    return std::all_of(positions.begin(), positions.end(), IsNumber);
}

/// The ends, the ranges and the clip record of every segment, in order.
using Contents = std::vector<
    std::tuple<PointKey, PointKey, std::vector<std::array<long, 4>>, std::array<std::uint32_t, 4>>>;

Contents ContentsOf(const LineSegmentSet& set) {
    Contents contents;
    for (const auto& [p, q] : test_support::EndsOf(set)) {
        const std::size_t i = contents.size();
        std::array<std::uint32_t, 4> clip{};
        if (i < set.clipRanges.size()) {
            const LineSegmentSet::ClipRange& range = set.clipRanges[i];
            clip = {fuzz::KeyOf(range.t0), fuzz::KeyOf(range.t1), fuzz::KeyOf(range.w0),
                    fuzz::KeyOf(range.w1)};
        }
        contents.emplace_back(fuzz::KeyOf(p), fuzz::KeyOf(q),
                              i < set.occlusionIntervals.size()
                                  ? test_support::NumbersOf(set.occlusionIntervals[i])
                                  : std::vector<std::array<long, 4>>(),
                              clip);
    }
    return contents;
}

/// A copy in which each kind of record is there for every segment or for none, as sets have it.
SetPointer CopyOf(const LineSegmentSet& set) {
    SetPointer copy =
        test_support::MakeSet(test_support::PositionsOf(set), test_support::IndicesOf(set));
    const std::size_t count = test_support::EndsOf(set).size();
    copy->occlusionIntervals = set.occlusionIntervals;
    copy->clipRanges = set.clipRanges;
    copy->occlusionIntervals.resize(set.occlusionIntervals.empty() ? 0 : count);
    copy->clipRanges.resize(set.clipRanges.empty() ? 0 : count, {0.0F, 1.0F, 1.0F, 1.0F});
    return copy;
}

void CheckRemoval(const LineSegmentSet& from, const LineSegmentSet& other) {
    if (!AllNumbers(from) || !AllNumbers(other)) {
        return;
    }
    const SetPointer set = CopyOf(from);
    const Contents before = ContentsOf(*set);
    const std::vector<Piece> ends = test_support::EndsOf(*set);
    LineSegmentSet::RemoveCommonSegments(set.get(), &other);
    std::set<SegmentKey> common;
    for (const Piece& segment : test_support::EndsOf(other)) {
        common.insert(KeyOfSegment(segment));
    }
    Contents expected;
    for (std::size_t i = 0; i < ends.size(); ++i) {
        if (common.count(KeyOfSegment(ends[i])) == 0) {
            expected.push_back(before[i]);
        }
    }
    if (common.empty() && !ends.empty()) {
        Require(ContentsOf(*set) == before, "nothing was to be removed");
        return;
    }
    Require(ContentsOf(*set) == expected, "something else was removed");
    Require((set->GetIndexBuffer() == nullptr) == expected.empty(), "an empty list is left");
    Require(set->occlusionIntervals.size() == expected.size() &&
                set->clipRanges.size() == expected.size(),
            "records of another number");
}

/// One after the other, in world space, with their ranges and without clip records.
void CheckFusing(const std::vector<SetPointer>& sets) {
    std::vector<LineSegmentSet*> list{nullptr};
    Contents expected;
    for (const SetPointer& set : sets) {
        list.push_back(set.get());
        const auto place = [&](const Vec3& p) {
            return fuzz::KeyOf(set->GetWorldTransformation().ApplyForward(p, true));
        };
        const Contents contents = ContentsOf(*set);
        const std::vector<Piece> ends = test_support::EndsOf(*set);
        for (std::size_t i = 0; i < ends.size(); ++i) {
            expected.emplace_back(place(ends[i].first), place(ends[i].second),
                                  std::get<2>(contents[i]), std::array<std::uint32_t, 4>{});
        }
    }
    const SetPointer fused(LineSegmentSet::FuseLineSegmentSets(list));
    Require(static_cast<bool>(fused) != expected.empty(), "a set of nothing, or none");
    if (fused) {
        Require(ContentsOf(*fused) == expected, "the parts are others than before");
        Require(fused->clipRanges.empty() && fused->segmentFlags.empty(), "records too many");
    }
}

void CheckVisible(const LineSegmentSet& set) {
    const std::vector<Piece> expected = fuzz::VisiblePieces(set);
    const SetPointer visible(LineSegmentSet::BakeVisibleSegments(&set));
    const std::vector<Piece> pieces =
        visible ? test_support::EndsOf(*visible) : std::vector<Piece>();
    Require(pieces.size() == expected.size(), "another number of visible pieces");
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        Require(fuzz::KeyOf(pieces[i].first) == fuzz::KeyOf(expected[i].first) &&
                    fuzz::KeyOf(pieces[i].second) == fuzz::KeyOf(expected[i].second),
                "a visible piece lies elsewhere");
    }
}
/// @}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzBytes bytes(data, size);
    switch (bytes.below(3)) {
    case 0:
        CheckFit(bytes);
        break;
    case 1:
        CheckPolylines(bytes);
        break;
    default: {
        std::vector<SetPointer> sets;
        for (unsigned int count = 1 + bytes.below(3); count > 0; --count) {
            sets.push_back(fuzz::TakeSet(bytes));
        }
        for (const SetPointer& set : sets) {
            CheckFiltered(*set);
            CheckVisible(*set);
            CheckRemoval(*set, *sets.front());
            CheckRemoval(*sets.front(), *set);
        }
        CheckFusing(sets);
    }
    }
    return 0;
}
