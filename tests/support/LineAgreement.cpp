// Positions are keys of std::map: equal coordinates are equal keys, whatever the sign of a zero.
#include "support/LineAgreement.h"

#include <ctr/CreaseEdgeInfo.h>

#include "support/Differences.h"
#include "support/ExactFractions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <utility>

namespace test_support {

namespace {

using Place = std::array<float, 3>;
using PlacePair = std::pair<Place, Place>;

constexpr std::uint32_t kCreaseFlag = 0x80000000U;

float DotOf(const Vec3& a, const Vec3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// The edges at one pair of places, in order of their vertex numbers, as crease or not.
class CreaseGroups {
public:
    CreaseGroups(const Surface& surface, float degrees)
        : vertices_(*surface.vertices), limit_(std::cos(degrees * Wm4::Math<float>::DEG_TO_RAD)) {
        const std::vector<unsigned int> indices = IndicesOf(surface.triangles.get());
        for (std::size_t t = 0; t + 2 < indices.size(); t += 3) {
            for (std::size_t k = 0; k < 3; ++k) {
                add(indices[t + k], indices[t + (k + 1) % 3]);
            }
        }
    }

    std::vector<CreaseEdge> write() {
        for (auto& [places, group] : groups_) {
            std::sort(group.begin(), group.end());
            write(group);
        }
        return edges_;
    }

private:
    using Member = std::pair<unsigned int, unsigned int>;

    const Vec3& position(unsigned int v) const { return vertices_.Position3(static_cast<int>(v)); }
    const Vec3& normal(unsigned int v) const { return vertices_.Normal3(static_cast<int>(v)); }

    void add(unsigned int a, unsigned int b) {
        std::pair<Place, unsigned int> from(KeyOf(position(a)), a);
        std::pair<Place, unsigned int> to(KeyOf(position(b)), b);
        if (to < from) {
            std::swap(from, to);
        }
        groups_[{from.first, to.first}].emplace_back(from.second, to.second);
    }

    bool bends(const Member& r, const Member& m) const {
        return DotOf(normal(r.first), normal(m.first)) < limit_ ||
               DotOf(normal(r.second), normal(m.second)) < limit_;
    }

    bool isPerpendicular(const Vec3& d, const Member& m) const {
        const float tolerance = std::sqrt(DotOf(d, d)) * 0.0009765625F;
        return std::abs(DotOf(normal(m.first), d)) < tolerance &&
               std::abs(DotOf(normal(m.second), d)) < tolerance;
    }

    void write(const std::vector<Member>& group) {
        const Member& r = group.front();
        const Vec3 d = position(r.second) - position(r.first);
        const bool perpendicular = isPerpendicular(d, r);
        if (group.size() == 1) {
            edges_.emplace_back(r.first, r.second, perpendicular);
            return;
        }
        // A pair of vertices is written once: what is already there is recognised by the set.
        std::set<Member> written;
        for (std::size_t j = 1; j < group.size(); ++j) {
            if (!bends(r, group[j])) {
                continue;
            }
            const bool flag = perpendicular && isPerpendicular(d, group[j]);
            for (const Member& next : {r, group[j]}) {
                if (written.insert(next).second) {
                    edges_.emplace_back(next.first, next.second, flag);
                }
            }
        }
    }

    const kx::kxVertexBuffer& vertices_;
    float limit_;
    std::map<PlacePair, std::vector<Member>> groups_;
    std::vector<CreaseEdge> edges_;
};

// For the words of a difference.
std::vector<std::array<unsigned int, 3>> CreaseNumbers(const std::vector<CreaseEdge>& edges) {
    std::vector<std::array<unsigned int, 3>> numbers;
    numbers.reserve(edges.size());
    for (const auto& [a, b, flag] : edges) {
        numbers.push_back({a, b, flag ? 1U : 0U});
    }
    return numbers;
}

PlacePair Undirected(const Vec3& p, const Vec3& q) {
    const Place a = KeyOf(p);
    const Place b = KeyOf(q);
    return b < a ? PlacePair(b, a) : PlacePair(a, b);
}

std::set<PlacePair> PlacePairsOf(const ctr::LineSegmentSet& set) {
    std::set<PlacePair> pairs;
    for (const auto& [p, q] : EndsOf(set)) {
        pairs.insert(Undirected(p, q));
    }
    return pairs;
}

// The numbers of a's segments that b does not hold.
std::vector<long> NamesNotIn(const ctr::LineSegmentSet& a, const ctr::LineSegmentSet& b) {
    const std::set<PlacePair> held = PlacePairsOf(b);
    std::vector<long> names;
    long name = 0;
    for (const auto& [p, q] : EndsOf(a)) {
        if (held.count(Undirected(p, q)) == 0) {
            names.push_back(name);
        }
        ++name;
    }
    return names;
}

} // namespace

std::string CompareFusing(const std::vector<ctr::RationalInterval>& ranges) {
    std::vector<ctr::RationalInterval> fused = ranges;
    ctr::IntervalTools::FuseOverlappingIntervals(fused);
    const auto expected = ExactUnion(ranges);
    if (SameForm(fused, expected)) {
        return {};
    }
    std::string text = Text(ranges);
    return text.append(" gave ").append(Text(fused)).append(", not ").append(Text(expected)) + "\n";
}

std::vector<CreaseEdge> CreasesOf(const Surface& surface, float degrees) {
    std::vector<ctr::CreaseEdgeInfo> edges;
    const CancelAtQuestion never(kNever);
    std::vector<CreaseEdge> plain;
    if (!ctr::ComputeCreaseEdgeInfo(edges, surface.vertices.get(), surface.triangles.get(), degrees,
                                    never)) {
        return plain;
    }
    plain.reserve(edges.size());
    for (const ctr::CreaseEdgeInfo& edge : edges) {
        plain.emplace_back(edge.vertexA, edge.vertexB & ~kCreaseFlag,
                           (edge.vertexB & kCreaseFlag) != 0);
    }
    return plain;
}

std::vector<CreaseEdge> CreasesExactly(const Surface& surface, float degrees) {
    return CreaseGroups(surface, degrees).write();
}

std::string CompareCreases(const Surface& surface, float degrees) {
    return DifferenceOf("creases", CreaseNumbers(CreasesOf(surface, degrees)),
                        CreaseNumbers(CreasesExactly(surface, degrees)));
}

std::string CompareCommonSegments(ctr::LineSegmentSet& a,
                                  const ctr::LineSegmentSet& b,
                                  CommonSegmentCounts& counts) {
    const std::vector<unsigned int> before = IndicesOf(a);
    const std::size_t count = before.size() / 2;
    const std::vector<long> names = NamesNotIn(a, b);
    std::vector<unsigned int> expected;
    for (const long name : names) {
        const auto i = static_cast<std::size_t>(name);
        expected.insert(expected.end(), {before[2 * i], before[2 * i + 1]});
    }
    MarkSegments(a, count, count);
    ctr::LineSegmentSet::RemoveCommonSegments(&a, &b);
    counts.kept += static_cast<int>(names.size());
    counts.removed += static_cast<int>(count - names.size());
    std::string text = DifferenceOf("segments that stay", IndicesOf(a), expected);
    text += DifferenceOf("hidden ranges that stay", NamesOf(a), names);
    text += DifferenceOf("clip records that stay", RecordNamesOf(a), names);
    if ((a.GetIndexBuffer() == nullptr) != expected.empty()) {
        text.append("an index buffer of nothing, or none of something\n");
    }
    return text;
}

void MarkSegments(ctr::LineSegmentSet& set, std::size_t lists, std::size_t records) {
    for (std::size_t i = 0; i < lists; ++i) {
        set.occlusionIntervals.push_back({Range(static_cast<long>(i), 100, 1, 1)});
    }
    for (std::size_t i = 0; i < records; ++i) {
        set.clipRanges.push_back({static_cast<float>(i), 1.0F, 2.0F, 3.0F});
    }
}

std::vector<long> NamesOf(const ctr::LineSegmentSet& set) {
    std::vector<long> names;
    names.reserve(set.occlusionIntervals.size());
    for (const auto& ranges : set.occlusionIntervals) {
        names.push_back(ranges.empty() ? -1 : ranges[0].start[0]);
    }
    return names;
}

std::vector<long> RecordNamesOf(const ctr::LineSegmentSet& set) {
    std::vector<long> names;
    names.reserve(set.clipRanges.size());
    for (const auto& record : set.clipRanges) {
        names.push_back(std::lround(record.t0));
    }
    return names;
}

} // namespace test_support
