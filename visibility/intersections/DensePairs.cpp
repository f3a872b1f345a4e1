// Hubs and pairs of distinct triangles; the exact test decides about each pair that remains.
//
// Why directions separate triangles that share exactly one vertex: let two of them straddle each
// other's planes. The common line of the planes passes through the vertex, and the span of each
// triangle begins there and ends on its opposite edge, in a direction between those to its two
// other corners. If no direction is in both sectors, the spans lie on opposite sides of the vertex.
// The opposite edge is so far away on screen (ErrorBounds.h, section 7) that the spans, rounded to
// the grid, still extend from the vertex to either side on the ordering axis, and spans that touch
// are no intersection. A triangle whose opposite edge is nearer than that does not treat the vertex
// as a hub.
#include "visibility/intersections/DensePairs.h"

#include "visibility/ErrorBounds.h"
#include "visibility/dense/DenseItems.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace ctr {
namespace {

/// Whether a corner is so far from the opposite edge on screen that rounding cannot move a span of
/// the triangle to the other side of the corner.
bool IsFarFromOppositeEdge(const BakedVertex* corners, std::size_t corner) {
    const GridVector to = Difference(corners[(corner + 1) % 3], corners[corner]);
    const GridVector back = Difference(corners[(corner + 2) % 3], corners[corner]);
    const Coordinates side = CoordinatesOf(back - to);
    return std::abs(static_cast<double>(CrossXY(to, back))) >
           error_bounds::kHubDistance * std::sqrt(side[0] * side[0] + side[1] * side[1]);
}

} // namespace

DensePairs::DensePairs(const std::vector<Triangle>& triangles,
                       const std::vector<bool>& marked,
                       const PairIntersector& test,
                       std::uint32_t hubDegree,
                       ItemCounter& work)
    : triangles_(triangles), marked_(marked), test_(test), hubDegree_(hubDegree), work_(work),
      distinct_(triangles, work) {
    findHubs();
}

void DensePairs::findHubs() {
    const std::vector<std::uint32_t> degrees = distinct_.degrees();
    hubsOf_.assign(distinct_.count(), kNoHubs);
    atHubs_.firsts.assign(distinct_.positionCount() + 2, 0);
    for (std::uint32_t i = 0; i < distinct_.count(); ++i) {
        auto next = hubsOf_[i].begin();
        for (std::size_t k = 0; k < 3; ++k) {
            const std::uint32_t position = distinct_.positions(i)[k];
            if (degrees[position] > hubDegree_ && IsFarFromOppositeEdge(distinct_[i].corners, k)) {
                *next++ = position;
                ++atHubs_.firsts[position + 2];
            }
        }
        std::sort(hubsOf_[i].begin(), hubsOf_[i].end());
    }
    for (std::size_t position = 2; position < atHubs_.firsts.size(); ++position) {
        atHubs_.firsts[position] += atHubs_.firsts[position - 1];
    }
    atHubs_.triangles.resize(atHubs_.firsts.back());
    for (std::uint32_t i = 0; i < distinct_.count(); ++i) {
        for (const std::uint32_t hub : hubsOf_[i]) {
            if (hub != kNoHub) {
                atHubs_.triangles[atHubs_.firsts[hub + 1]++] = i;
            }
        }
    }
    work_.count(3 * std::size_t{distinct_.count()});
}

std::vector<FoundIntersection> DensePairs::find() {
    pairWithoutHubs();
    for (std::uint32_t position = 0; position < distinct_.positionCount(); ++position) {
        if (atHubs_.firsts[position + 1] > atHubs_.firsts[position]) {
            pairAroundHub(position);
        }
    }
    return std::move(found_);
}

/// Tests the pairs without a common hub.
void DensePairs::pairWithoutHubs() {
    std::vector<DenseItem> items;
    items.reserve(distinct_.count());
    for (std::uint32_t i = 0; i < distinct_.count(); ++i) {
        items.push_back(itemOf(i));
    }
    pairItems(std::move(items));
}

DenseItem DensePairs::itemOf(std::uint32_t triangle) const {
    DenseItem item = ItemOfTriangle(distinct_[triangle], triangle);
    item.hubs = hubsOf_[triangle];
    item.isMarked = marked_[*distinct_.begin(triangle)];
    return item;
}

/// Tests the pairs with a common hub by their directions from there. Triangles that share the other
/// end of an edge as well have a common edge.
void DensePairs::pairAroundHub(std::uint32_t hub) {
    std::vector<DenseItem> items;
    for (std::uint32_t i = atHubs_.firsts[hub]; i < atHubs_.firsts[hub + 1]; ++i) {
        items.push_back(directionsOf(atHubs_.triangles[i], hub));
    }
    SetSharedHubs(distinct_, hub, hubDegree_, items);
    work_.count(items.size());
    pairItems(std::move(items));
}

DenseItem DensePairs::directionsOf(std::uint32_t triangle, std::uint32_t hub) const {
    const Positions& positions = distinct_.positions(triangle);
    const auto corner = static_cast<std::size_t>(
        std::find(positions.begin(), positions.end(), hub) - positions.begin());
    const BakedVertex* const corners = distinct_[triangle].corners;
    DenseItem item =
        ItemOfDirections(Difference(corners[(corner + 1) % 3], corners[corner]),
                         Difference(corners[(corner + 2) % 3], corners[corner]), triangle);
    item.isMarked = marked_[*distinct_.begin(triangle)];
    return item;
}

void DensePairs::pairItems(std::vector<DenseItem> items) {
    const DenseTree tree(std::move(items), work_);
    visits_ += tree.forEachPair([this](std::uint32_t a, std::uint32_t b) { test(a, b); }, work_);
}

/// Tests two distinct triangles and, if they intersect, all that are equal to them.
void DensePairs::test(std::uint32_t a, std::uint32_t b) {
    if (haveEdgeInCommon(a, b)) {
        return;
    }
    const bool areSingle =
        distinct_.end(a) - distinct_.begin(a) == 1 && distinct_.end(b) - distinct_.begin(b) == 1;
    if (areSingle) {
        if (const auto intersection = intersectionOf(*distinct_.begin(a), *distinct_.begin(b))) {
            found_.push_back(*intersection);
        }
        return;
    }
    testEqual(a, b);
    testEqual(b, a);
}

/// Tests the pairs of equal triangles in which the first has the smaller number: where spans are
/// rounded to a point, the order may decide. The results of all these pairs are the same.
void DensePairs::testEqual(std::uint32_t first, std::uint32_t second) {
    const auto isBefore = [this](std::uint32_t number, std::uint32_t slot) {
        return number < triangles_[slot].number;
    };
    for (const std::uint32_t* i = distinct_.begin(first); i != distinct_.end(first); ++i) {
        const std::uint32_t* j = std::upper_bound(distinct_.begin(second), distinct_.end(second),
                                                  triangles_[*i].number, isBefore);
        for (; j != distinct_.end(second); ++j) {
            ++visits_;
            work_.count(1);
            const auto intersection = intersectionOf(*i, *j);
            if (!intersection) {
                return;
            }
            found_.push_back(*intersection);
        }
    }
}

bool DensePairs::haveEdgeInCommon(std::uint32_t a, std::uint32_t b) const {
    const Positions& other = distinct_.positions(b);
    int common = 0;
    for (const std::uint32_t position : distinct_.positions(a)) {
        common += std::find(other.begin(), other.end(), position) != other.end() ? 1 : 0;
    }
    return common >= 2;
}

std::optional<FoundIntersection> DensePairs::intersectionOf(std::uint32_t slotA,
                                                            std::uint32_t slotB) const {
    const Triangle& a = triangles_[slotA];
    const Triangle& b = triangles_[slotB];
    return test_.find({a, NormalOf(a.corners), slotA}, {b, NormalOf(b.corners), slotB});
}

} // namespace ctr
