// Every loose end looks for its nearest neighbour in a grid of all of them.
#include "paper/LooseEnds.h"

#include "paper/CellGrid.h"
#include "paper/Plane.h"

namespace kxcontour {
namespace {

using namespace plane;

constexpr std::uint32_t kNobodyNear = static_cast<std::uint32_t>(-1);

struct LooseEnd {
    std::uint32_t link = 0;
    bool atSecond = false; ///< At the link's second point.
};

std::uint32_t& PointAt(Figure& figure, const LooseEnd& end) {
    Link& link = figure.links[end.link];
    return end.atSecond ? link.to : link.from;
}

std::vector<LooseEnd> LooseEndsOf(const Figure& figure) {
    const std::vector<std::uint32_t> degrees = DegreesOf(figure);
    std::vector<LooseEnd> ends;
    for (std::uint32_t i = 0; i < figure.links.size(); ++i) {
        if (degrees[figure.links[i].from] == 1) {
            ends.push_back({i, false});
        }
        if (degrees[figure.links[i].to] == 1) {
            ends.push_back({i, true});
        }
    }
    return ends;
}

/// The place of each end, as a line of no length, which is what grids hold.
std::vector<PaperLine> PlacesOf(const std::vector<LooseEnd>& ends, Figure& figure) {
    std::vector<PaperLine> places;
    places.reserve(ends.size());
    for (const LooseEnd& end : ends) {
        const Point& place = figure.points[PointAt(figure, end)];
        places.push_back({place, place});
    }
    return places;
}

/// By end: the number of the nearest one of another link within the gap, the first of several.
std::vector<std::uint32_t>
NearestEnds(const std::vector<LooseEnd>& ends, const std::vector<PaperLine>& places, double gap) {
    const CellGrid grid(places, gap);
    std::vector<std::uint32_t> nearest(ends.size(), kNobodyNear);
    for (std::uint32_t i = 0; i < ends.size(); ++i) {
        double least = gap * gap;
        grid.visit(places[i], [&](std::span<const std::uint32_t> near) {
            for (const std::uint32_t j : near) {
                const double square = SquaredLength(places[j].a - places[i].a);
                const bool isBetter = nearest[i] == kNobodyNear ? square <= least : square < least;
                if (ends[j].link != ends[i].link && isBetter) {
                    nearest[i] = j;
                    least = square;
                }
            }
        });
    }
    return nearest;
}

} // namespace

void JoinLooseEnds(Figure& figure, double gap) {
    if (gap <= 0.0) {
        return;
    }
    const std::vector<LooseEnd> ends = LooseEndsOf(figure);
    const std::vector<std::uint32_t> nearest = NearestEnds(ends, PlacesOf(ends, figure), gap);
    for (std::uint32_t i = 0; i < ends.size(); ++i) {
        const std::uint32_t j = nearest[i];
        if (j != kNobodyNear && i < j && nearest[j] == i) {
            PointAt(figure, ends[j]) = PointAt(figure, ends[i]);
        }
    }
}

} // namespace kxcontour
