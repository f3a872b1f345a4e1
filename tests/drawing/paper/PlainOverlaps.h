// A reference implementation of RemoveOverlaps(), as its header defines it: every line is compared
// with all that is left of earlier ones. Only the arithmetic of points is shared, so that results
// are equal to the last bit.
#pragma once

#include "drawing/paper/Paper.h"
#include "drawing/paper/Plane.h"

#include <algorithm>
#include <tuple>
#include <vector>

namespace tool_test {

class PlainOverlaps {
public:
    PlainOverlaps(const kxcontour::PageLines& lines, double tolerance) : tolerance_(tolerance) {
        result_ = lines;
        for (kxcontour::LineGroup& group : result_.groups) {
            group.lines.clear();
        }
        std::vector<std::vector<Pieces>> left;
        for (const kxcontour::LineGroup& group : lines.groups) {
            left.emplace_back(group.lines.size());
        }
        for (const auto& [isDot, rank, group, line] : inOrder(lines)) {
            left[group][line] = restsOf(lines.groups[group].lines[line]);
            shown_.insert(shown_.end(), left[group][line].begin(), left[group][line].end());
        }
        for (std::size_t group = 0; group < left.size(); ++group) {
            for (const Pieces& pieces : left[group]) {
                std::vector<kxcontour::PageLine>& to = result_.groups[group].lines;
                to.insert(to.end(), pieces.begin(), pieces.end());
            }
        }
    }

    const kxcontour::PageLines& result() const { return result_; }

private:
    using Point = kxcontour::Point;
    using PageLine = kxcontour::PageLine;
    using Pieces = std::vector<PageLine>;
    using Place = std::tuple<bool, int, std::size_t, std::size_t>;

    struct Range {
        double from = 0.0;
        double to = 0.0;

        double length() const { return to - from; }
        bool operator<(const Range& other) const {
            return std::tie(from, to) < std::tie(other.from, other.to);
        }
    };

    /// Dots last; visible before hidden, then by family, group and line.
    static std::vector<Place> inOrder(const kxcontour::PageLines& lines) {
        std::vector<Place> places;
        for (std::size_t g = 0; g < lines.groups.size(); ++g) {
            const kxcontour::LineGroup& group = lines.groups[g];
            const int family = group.kind == kxcontour::LineKind::Silhouette ? 0
                               : group.kind == kxcontour::LineKind::Crease   ? 1
                                                                             : 2;
            for (std::size_t i = 0; i < group.lines.size(); ++i) {
                const PageLine& line = group.lines[i];
                places.emplace_back(kxcontour::plane::IsSame(line.a, line.b),
                                    (group.hidden ? 3 : 0) + family, g, i);
            }
        }
        std::sort(places.begin(), places.end());
        return places;
    }

    Pieces restsOf(const PageLine& line) const {
        using namespace kxcontour::plane;
        Pieces rests;
        if (IsSame(line.a, line.b)) {
            const bool isHidden =
                std::any_of(shown_.begin(), shown_.end(),
                            [&](const PageLine& piece) { return isNear(line.a, piece); });
            return isHidden ? rests : Pieces{line};
        }
        appendRests(line, {0.0, Distance(line.a, line.b)}, rests);
        return rests;
    }

    void appendRests(const PageLine& line, const Range& rest, Pieces& rests) const {
        std::vector<Range> covers = coversOf(line, rest);
        if (covers.empty()) {
            rests.push_back({at(line, rest.from), at(line, rest.to)});
            return;
        }
        std::sort(covers.begin(), covers.end());
        covers.push_back({rest.to, rest.to});
        double covered = rest.from;
        for (const Range& cover : covers) {
            if (cover.from - covered >= tolerance_) {
                appendRests(line, {covered, cover.from}, rests);
            }
            covered = std::max(covered, cover.to);
        }
    }

    std::vector<Range> coversOf(const PageLine& line, const Range& rest) const {
        using namespace kxcontour::plane;
        const Point direction = Direction(line.b - line.a);
        std::vector<Range> covers;
        for (const PageLine& piece : shown_) {
            const double p = Dot(piece.a - line.a, direction);
            const double q = Dot(piece.b - line.a, direction);
            const Range common{std::max(rest.from, std::min(p, q)),
                               std::min(rest.to, std::max(p, q))};
            const double shorter = std::min(rest.length(), Distance(piece.a, piece.b));
            const double aligned = std::abs(Dot(direction, Direction(piece.b - piece.a)));
            const bool isLongEnough =
                common.length() > tolerance_ ||
                (shorter <= tolerance_ && common.length() > 0.5 * shorter && aligned >= 0.9);
            if (isLongEnough && isNear(at(line, common.from), piece) &&
                isNear(at(line, common.to), piece)) {
                covers.push_back(common);
            }
        }
        return covers;
    }

    static Point at(const PageLine& line, double distance) {
        using namespace kxcontour::plane;
        if (distance <= 0.0) {
            return line.a;
        }
        return distance >= Distance(line.a, line.b)
                   ? line.b
                   : line.a + Direction(line.b - line.a) * distance;
    }

    bool isNear(Point p, const PageLine& line) const {
        return kxcontour::plane::SquaredDistanceToLine(p, line.a, line.b) <=
               tolerance_ * tolerance_;
    }

    double tolerance_;
    Pieces shown_; ///< What is left of the lines so far.
    kxcontour::PageLines result_;
};

} // namespace tool_test
