// Every loose end looks for an earlier one that still waits for another.
#include "drawing/paper/LooseEnds.h"

#include "drawing/paper/PointClusters.h"

namespace kxcontour {
namespace {

constexpr std::uint32_t kNobodyWaits = static_cast<std::uint32_t>(-1);

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

} // namespace

void JoinLooseEnds(Figure& figure, double gap) {
    if (gap <= 0.0) {
        return;
    }
    const std::vector<LooseEnd> ends = LooseEndsOf(figure);
    PointClusters clusters(gap, ends.size());
    std::vector<std::uint32_t> waiting; // By cluster: the end that no other has joined, if any.
    for (std::uint32_t i = 0; i < ends.size(); ++i) {
        const std::uint32_t cluster = clusters.add(figure.points[PointAt(figure, ends[i])]);
        if (cluster == waiting.size()) {
            waiting.push_back(i);
            continue;
        }
        const std::uint32_t other = waiting[cluster];
        if (other != kNobodyWaits && ends[other].link != ends[i].link) {
            PointAt(figure, ends[i]) = PointAt(figure, ends[other]);
            waiting[cluster] = kNobodyWaits;
        }
    }
}

} // namespace kxcontour
