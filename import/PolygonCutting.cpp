// Ear clipping (Meisters 1975), in the plane of the axes that the polygon faces most; its normal is
// that of Newell (Sutherland, Sproull and Schumacker 1974), which polygons a little out of a plane
// have, too.
#include "import/PolygonCutting.h"

#include <algorithm>
#include <cmath>

namespace kxcontour {
namespace {

/// Points that may be looked at for one polygon: seconds for the worst of them.
constexpr std::size_t kMostTests = 50000000;

FilePoint NewellNormal(const std::vector<FilePoint>& corners) {
    FilePoint normal{0.0, 0.0, 0.0};
    const FilePoint& first = corners.front();
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const FilePoint& p = corners[i];
        const FilePoint& q = corners[i + 1 == corners.size() ? 0 : i + 1];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::size_t u = (axis + 1) % 3;
            const std::size_t v = (axis + 2) % 3;
            normal[axis] += (p[u] - q[u]) * (p[v] - first[v] + (q[v] - first[v]));
        }
    }
    return normal;
}

} // namespace

const std::vector<std::uint32_t>& PolygonCutter::cut(const std::vector<FilePoint>& corners) {
    triangles_.clear();
    if (corners.size() < 3) {
        return triangles_;
    }
    if (corners.size() == 3) {
        triangles_ = {0, 1, 2};
        return triangles_;
    }
    flatten(corners);
    link(corners.size());
    clipEars();
    return triangles_;
}

void PolygonCutter::flatten(const std::vector<FilePoint>& corners) {
    const FilePoint normal = NewellNormal(corners);
    std::size_t axis = 0;
    for (std::size_t other = 1; other < 3; ++other) {
        axis = std::abs(normal[other]) > std::abs(normal[axis]) ? other : axis;
    }
    std::size_t u = (axis + 1) % 3;
    std::size_t v = (axis + 2) % 3;
    if (normal[axis] < 0.0) {
        std::swap(u, v);
    }
    flat_.clear();
    for (const FilePoint& corner : corners) {
        flat_.push_back({corner[u] - corners[0][u], corner[v] - corners[0][v]});
    }
}

void PolygonCutter::link(std::size_t count) {
    left_ = count;
    tests_ = 0;
    next_.resize(count);
    before_.resize(count);
    gone_.assign(count, false);
    for (std::uint32_t i = 0; i < count; ++i) {
        next_[i] = i + 1 == count ? 0 : i + 1;
        before_[next_[i]] = i;
    }
    inward_.clear();
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!(turnAt(i) > 0.0)) {
            inward_.push_back(i);
        }
    }
}

void PolygonCutter::clipEars() {
    std::uint32_t corner = 1;
    std::size_t passed = 0; // Corners in turn that were no ears.
    while (left_ > 3) {
        if (passed > left_ || tests_ > kMostTests) {
            cutAsFan(corner);
            return;
        }
        if (isEar(corner)) {
            clip(corner);
            passed = 0;
        } else {
            ++passed;
        }
        corner = next_[corner];
    }
    clip(corner);
}

void PolygonCutter::clip(std::uint32_t ear) {
    triangles_.insert(triangles_.end(), {before_[ear], ear, next_[ear]});
    next_[before_[ear]] = next_[ear];
    before_[next_[ear]] = before_[ear];
    gone_[ear] = true;
    --left_;
}

void PolygonCutter::cutAsFan(std::uint32_t first) {
    while (left_ > 2) {
        clip(next_[first]);
    }
}

/// Whether the corner is convex and no other lies in its triangle.
bool PolygonCutter::isEar(std::uint32_t ear) {
    if (!(turnAt(ear) > 0.0)) {
        return false;
    }
    const std::uint32_t a = before_[ear];
    const std::uint32_t c = next_[ear];
    std::size_t kept = 0;
    bool free = true;
    for (const std::uint32_t p : inward_) {
        if (gone_[p]) {
            continue;
        }
        inward_[kept++] = p;
        ++tests_;
        free = free && (p == a || p == c || isSamePlace(p, a) || isSamePlace(p, ear) ||
                        isSamePlace(p, c) || !holds(a, ear, c, p));
    }
    inward_.resize(kept);
    return free;
}

/// Over 0 where the ring turns to the left.
double PolygonCutter::turnAt(std::uint32_t corner) const {
    return side(before_[corner], corner, next_[corner]);
}

/// Over 0 where p is to the left of the line from a to b.
double PolygonCutter::side(std::uint32_t a, std::uint32_t b, std::uint32_t p) const {
    return (flat_[b].x - flat_[a].x) * (flat_[p].y - flat_[a].y) -
           (flat_[b].y - flat_[a].y) * (flat_[p].x - flat_[a].x);
}

/// The triangle's border is part of it.
bool PolygonCutter::holds(std::uint32_t a,
                          std::uint32_t b,
                          std::uint32_t c,
                          std::uint32_t p) const {
    return side(a, b, p) >= 0.0 && side(b, c, p) >= 0.0 && side(c, a, p) >= 0.0;
}

bool PolygonCutter::isSamePlace(std::uint32_t p, std::uint32_t q) const {
    return flat_[p].x == flat_[q].x && flat_[p].y == flat_[q].y;
}

} // namespace kxcontour
