// From every loose end back to where others meet.
#include "drawing/paper/Spurs.h"

#include "drawing/paper/Plane.h"

#include <algorithm>
#include <numeric>

namespace kxcontour {
namespace {

using plane::operator-;

class SpurCutter {
public:
    SpurCutter(Figure& figure, double spurLength)
        : figure_(figure), spurLength_(spurLength), degrees_(DegreesOf(figure)),
          linkSums_(figure.points.size()), isSpur_(figure.links.size()) {
        for (std::uint32_t i = 0; i < figure.links.size(); ++i) {
            linkSums_[figure.links[i].from] ^= i;
            linkSums_[figure.links[i].to] ^= i;
        }
    }

    void cut() {
        for (std::uint32_t point = 0; point < figure_.points.size(); ++point) {
            if (degrees_[point] == 1) {
                markFrom(point);
            }
        }
        dropMarked();
    }

private:
    double lengthOf(const Link& link) const {
        return plane::Distance(figure_.points[link.from], figure_.points[link.to]);
    }

    /// Follows the lines from a loose end to where three or more meet.
    void markFrom(std::uint32_t point) {
        std::uint32_t link = linkSums_[point];
        double length = 0.0;
        trace_.clear();
        do {
            trace_.push_back(link);
            length += lengthOf(figure_.links[link]);
            point = figure_.links[link].from ^ figure_.links[link].to ^ point;
            link ^= linkSums_[point];
        } while (degrees_[point] == 2 && length < spurLength_);
        if (degrees_[point] > 2 && length < spurLength_) {
            for (const std::uint32_t spur : trace_) {
                isSpur_[spur] = true;
            }
        }
    }

    void dropMarked() {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < figure_.links.size(); ++i) {
            if (!isSpur_[i]) {
                figure_.links[kept++] = figure_.links[i];
            }
        }
        figure_.links.resize(kept);
    }

    Figure& figure_;
    double spurLength_;
    std::vector<std::uint32_t> degrees_;
    /// By point: the numbers of its links, added without carry. Of two, one tells the other.
    std::vector<std::uint32_t> linkSums_;
    std::vector<bool> isSpur_;
    std::vector<std::uint32_t> trace_; ///< The links from the loose end at hand.
};

/// As good as no drawing has any, so this is worth asking first.
bool HasLinkUnder(const Figure& figure, double length) {
    return std::any_of(figure.links.begin(), figure.links.end(), [&](const Link& link) {
        return plane::SquaredLength(figure.points[link.to] - figure.points[link.from]) <
               length * length;
    });
}

} // namespace

void CutSpurs(Figure& figure, double length) {
    if (HasLinkUnder(figure, length)) {
        SpurCutter(figure, length).cut();
    }
}

void ContractBridges(Figure& figure, double length) {
    if (!HasLinkUnder(figure, length)) {
        return;
    }
    const std::vector<std::uint32_t> degrees = DegreesOf(figure);
    std::vector<std::uint32_t> placeOf(figure.points.size());
    std::iota(placeOf.begin(), placeOf.end(), 0U);
    std::vector<bool> isUsed(figure.points.size());
    for (const Link& link : figure.links) {
        const bool isBridge =
            degrees[link.from] > 2 && degrees[link.to] > 2 &&
            plane::Distance(figure.points[link.from], figure.points[link.to]) < length;
        if (isBridge && !isUsed[link.from] && !isUsed[link.to]) {
            placeOf[link.to] = link.from;
            isUsed[link.from] = true;
            isUsed[link.to] = true;
        }
    }
    for (Link& link : figure.links) {
        link = {placeOf[link.from], placeOf[link.to]};
    }
    std::erase_if(figure.links, [](const Link& link) { return link.from == link.to; });
}

} // namespace kxcontour
