// Small dense scenes on the grid: equal triangles, many around a vertex or an edge, stacked sheets.
#pragma once

#include "visibility/GridTriangles.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace test_support {

class DenseSceneMaker {
public:
    /// Corners are from 0 up to `across` on all axes.
    DenseSceneMaker(Random& random, int across) : random_(random), across_(across) {}

    ctr::BakedVertex anyPoint() {
        return {random_.between(0, across_), random_.between(0, across_),
                random_.between(0, across_)};
    }

    /// Triangles without area on the screen are left out.
    void add(const ctr::BakedVertex& a, const ctr::BakedVertex& b, const ctr::BakedVertex& c) {
        GridTriangle triangle{a, b, c};
        if (TurnCounterClockwise(triangle)) {
            triangles.push_back(triangle);
        }
    }

    void addLoose(int count) {
        for (int i = 0; i < count; ++i) {
            add(anyPoint(), anyPoint(), anyPoint());
        }
    }

    /// One whose corners are at most so many steps from a point on each axis.
    void addNear(const ctr::BakedVertex& point, int reach) {
        const auto corner = [&] {
            const auto off = [&](int value) {
                return within(value + random_.between(-reach, reach));
            };
            return ctr::BakedVertex{off(point.x), off(point.y), off(point.z)};
        };
        const ctr::BakedVertex first = corner();
        const ctr::BakedVertex second = corner();
        add(first, second, corner());
    }

    /// In front of everything, in columns side by side; columns have corners of their own.
    void addTiles(int columns) {
        for (int column = 0; column < columns; ++column) {
            const int left = column * across_ / columns;
            const int right = (column + 1) * across_ / columns;
            const int rows = random_.between(1, 5);
            for (int row = 0; row < rows; ++row) {
                const int low = row * across_ / rows;
                const int high = (row + 1) * across_ / rows;
                add({left, low, 0}, {right, low, 0}, {left, high, 0});
                add({right, low, 0}, {left, high, 0}, {right, high, 0});
            }
        }
    }

    /// Around one corner; some end where others do, or on a way from the corner to another's end.
    void addAroundCorner(int count) {
        const ctr::BakedVertex hub = anyPoint();
        std::vector<ctr::BakedVertex> ends{anyPoint(), anyPoint()};
        const auto end = [&] {
            const ctr::BakedVertex known = ends[index(ends.size())];
            if (random_.percent(25)) {
                return known;
            }
            if (random_.percent(15)) {
                return ctr::BakedVertex{(hub.x + known.x) / 2, (hub.y + known.y) / 2,
                                        (hub.z + known.z) / 2};
            }
            ends.push_back(random_.percent(30) ? near(known) : anyPoint());
            return ends.back();
        };
        for (int i = 0; i < count; ++i) {
            const ctr::BakedVertex first = end();
            add(hub, first, end());
        }
    }

    void addAtEdge(int count) {
        const ctr::BakedVertex from = anyPoint();
        const ctr::BakedVertex to = anyPoint();
        for (int i = 0; i < count; ++i) {
            add(from, to, anyPoint());
        }
    }

    /// Above each other, in the same direction each; the corners of some are off by a step.
    void addSheets(int count) {
        const ctr::BakedVertex corners[4] = {anyPoint(), anyPoint(), anyPoint(), anyPoint()};
        const int shift[3] = {random_.between(-3, 3), random_.between(-3, 3),
                              random_.between(-3, 3)};
        for (int i = 0; i < count; ++i) {
            ctr::BakedVertex moved[4];
            for (int k = 0; k < 4; ++k) {
                moved[k] = {within(corners[k].x + i * shift[0] + jitter()),
                            within(corners[k].y + i * shift[1]),
                            within(corners[k].z + i * shift[2] + jitter())};
            }
            add(moved[0], moved[1], moved[2]);
            add(moved[0], moved[2], moved[3]);
        }
    }

    /// One triangle and others whose corners are off by up to so many steps along each axis.
    void addNearlyEqual(int count, int off) {
        const GridTriangle t{anyPoint(), anyPoint(), anyPoint()};
        const auto moved = [&](const ctr::BakedVertex& p) {
            const auto shift = [&](int value) {
                return within(value + random_.between(-off, off));
            };
            return ctr::BakedVertex{shift(p.x), shift(p.y), shift(p.z)};
        };
        for (int i = 0; i < count; ++i) {
            add(moved(t[0]), moved(t[1]), moved(t[2]));
        }
    }

    /// Copies of what is there, some from another corner on.
    void addCopies(int count) {
        for (int i = 0; i < count && !triangles.empty(); ++i) {
            const GridTriangle t = triangles[index(triangles.size())];
            const std::size_t from = random_.percent(70) ? 0 : index(3);
            triangles.push_back({t[from], t[(from + 1) % 3], t[(from + 2) % 3]});
        }
    }

    std::vector<GridTriangle> triangles;

private:
    std::size_t index(std::size_t count) {
        return static_cast<std::size_t>(random_.below(static_cast<int>(count)));
    }
    int within(int value) const { return std::clamp(value, 0, across_); }
    int jitter() { return random_.percent(10) ? random_.between(-1, 1) : 0; }
    ctr::BakedVertex near(const ctr::BakedVertex& p) {
        const auto off = [&](int value) { return within(value + random_.between(-2, 2)); };
        return {off(p.x), off(p.y), off(p.z)};
    }

    Random& random_;
    int across_;
};

/// About `size` triangles of every kind.
inline std::vector<GridTriangle> DenseTriangles(Random& random, int across, int size) {
    DenseSceneMaker maker(random, across);
    while (static_cast<int>(maker.triangles.size()) < size) {
        const int count = random.between(1, 8);
        switch (random.below(5)) {
        case 0:
            maker.addLoose(count);
            break;
        case 1:
            maker.addAroundCorner(2 * count);
            break;
        case 2:
            maker.addAtEdge(count);
            break;
        case 3:
            maker.addSheets(count);
            break;
        default:
            maker.addCopies(count);
        }
    }
    return maker.triangles;
}

} // namespace test_support
