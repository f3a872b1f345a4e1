// Why directions tell about triangles that share one corner and no more: let two of them straddle
// each other's planes. The line that both planes have in common passes through the corner, and what
// each triangle has of it begins there and ends on the side opposite, in a direction within those
// to its two other corners. If no direction is within both, the two spans lie on opposite sides of
// the corner. On screen the opposite side is so far away that the spans, rounded to the grid, still
// reach from the corner to either side on the axis along which they are compared, and spans that
// touch are no cut. A triangle whose opposite side is nearer than that has no hub there.
#include "visibility/dense/DensePairs.h"

#include "visibility/dense/DenseItems.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace ctr {
namespace {

/// Whether the corner is far from the opposite side on screen: two roundings move the crossings of
/// a side by less than a fourth of this.
bool IsFarFromOpposite(const BakedVertex* corners, std::size_t corner) {
    constexpr double kSteps = 16.0;
    const GridVector to = Difference(corners[(corner + 1) % 3], corners[corner]);
    const GridVector back = Difference(corners[(corner + 2) % 3], corners[corner]);
    const Coordinates side = PlaceOf(back - to);
    return std::abs(static_cast<double>(CrossXY(to, back))) >
           kSteps * std::sqrt(side[0] * side[0] + side[1] * side[1]);
}

} // namespace

CrowdedPairs::CrowdedPairs(const std::vector<Triangle>& triangles,
                           const std::vector<bool>& marked,
                           const PairTest& test,
                           std::uint32_t hubDegree,
                           ItemCounter& work)
    : triangles_(triangles), marked_(marked), test_(test), hubDegree_(hubDegree), work_(work),
      distinct_(triangles, work) {
    findHubs();
}

void CrowdedPairs::findHubs() {
    const std::vector<std::uint32_t> degrees = distinct_.degrees();
    hubsOf_.assign(distinct_.count(), kNoHubs);
    atHubs_.firsts.assign(distinct_.placeCount() + 2, 0);
    for (std::uint32_t i = 0; i < distinct_.count(); ++i) {
        auto next = hubsOf_[i].begin();
        for (std::size_t k = 0; k < 3; ++k) {
            const std::uint32_t place = distinct_.places(i)[k];
            if (degrees[place] > hubDegree_ && IsFarFromOpposite(distinct_[i].corners, k)) {
                *next++ = place;
                ++atHubs_.firsts[place + 2];
            }
        }
        std::sort(hubsOf_[i].begin(), hubsOf_[i].end());
    }
    for (std::size_t place = 2; place < atHubs_.firsts.size(); ++place) {
        atHubs_.firsts[place] += atHubs_.firsts[place - 1];
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

std::vector<FoundIntersection> CrowdedPairs::find() {
    meetAnywhere();
    for (std::uint32_t place = 0; place < distinct_.placeCount(); ++place) {
        if (atHubs_.firsts[place + 1] > atHubs_.firsts[place]) {
            meetAround(place);
        }
    }
    return std::move(found_);
}

/// Pairs without a hub in common.
void CrowdedPairs::meetAnywhere() {
    std::vector<CrowdItem> items;
    items.reserve(distinct_.count());
    for (std::uint32_t i = 0; i < distinct_.count(); ++i) {
        items.push_back(itemOf(i));
    }
    meetItems(std::move(items));
}

CrowdItem CrowdedPairs::itemOf(std::uint32_t triangle) const {
    CrowdItem item = ItemOfTriangle(distinct_[triangle], triangle);
    item.hubs = hubsOf_[triangle];
    item.isMarked = marked_[*distinct_.begin(triangle)];
    return item;
}

/// Pairs that have a hub in common, by their directions from there. Triangles that share the other
/// end of an edge as well have that edge in common.
void CrowdedPairs::meetAround(std::uint32_t hub) {
    std::vector<CrowdItem> items;
    for (std::uint32_t i = atHubs_.firsts[hub]; i < atHubs_.firsts[hub + 1]; ++i) {
        items.push_back(directionsOf(atHubs_.triangles[i], hub));
    }
    SetCrowdedEnds(distinct_, hub, hubDegree_, items);
    work_.count(items.size());
    meetItems(std::move(items));
}

CrowdItem CrowdedPairs::directionsOf(std::uint32_t triangle, std::uint32_t hub) const {
    const Places& places = distinct_.places(triangle);
    const auto corner =
        static_cast<std::size_t>(std::find(places.begin(), places.end(), hub) - places.begin());
    const BakedVertex* const corners = distinct_[triangle].corners;
    CrowdItem item =
        ItemOfDirections(Difference(corners[(corner + 1) % 3], corners[corner]),
                         Difference(corners[(corner + 2) % 3], corners[corner]), triangle);
    item.isMarked = marked_[*distinct_.begin(triangle)];
    return item;
}

void CrowdedPairs::meetItems(std::vector<CrowdItem> items) {
    const CrowdTree tree(std::move(items), work_);
    looks_ += tree.forEachPair([this](std::uint32_t a, std::uint32_t b) { test(a, b); }, work_);
}

/// Tests distinct triangles, and if they cut each other all that are equal to them.
void CrowdedPairs::test(std::uint32_t a, std::uint32_t b) {
    if (haveEdgeInCommon(a, b)) {
        return;
    }
    const bool areSingle =
        distinct_.end(a) - distinct_.begin(a) == 1 && distinct_.end(b) - distinct_.begin(b) == 1;
    if (areSingle) {
        if (const auto cut = cutOf(*distinct_.begin(a), *distinct_.begin(b))) {
            found_.push_back(*cut);
        }
        return;
    }
    testEqual(a, b);
    testEqual(b, a);
}

/// Of the equal ones of two triangles, the pairs in which the former have the smaller numbers:
/// where spans are rounded to nothing, that may decide. All of these are alike.
void CrowdedPairs::testEqual(std::uint32_t first, std::uint32_t second) {
    const auto isBefore = [this](std::uint32_t number, std::uint32_t slot) {
        return number < triangles_[slot].number;
    };
    for (const std::uint32_t* i = distinct_.begin(first); i != distinct_.end(first); ++i) {
        const std::uint32_t* j = std::upper_bound(distinct_.begin(second), distinct_.end(second),
                                                  triangles_[*i].number, isBefore);
        for (; j != distinct_.end(second); ++j) {
            ++looks_;
            work_.count(1);
            const auto cut = cutOf(*i, *j);
            if (!cut) {
                return;
            }
            found_.push_back(*cut);
        }
    }
}

bool CrowdedPairs::haveEdgeInCommon(std::uint32_t a, std::uint32_t b) const {
    const Places& other = distinct_.places(b);
    int common = 0;
    for (const std::uint32_t place : distinct_.places(a)) {
        common += std::find(other.begin(), other.end(), place) != other.end() ? 1 : 0;
    }
    return common >= 2;
}

std::optional<FoundIntersection> CrowdedPairs::cutOf(std::uint32_t slotA,
                                                     std::uint32_t slotB) const {
    const Triangle& a = triangles_[slotA];
    const Triangle& b = triangles_[slotB];
    return test_.find({a, NormalOf(a.corners), slotA}, {b, NormalOf(b.corners), slotB});
}

} // namespace ctr
