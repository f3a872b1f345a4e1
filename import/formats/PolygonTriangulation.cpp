// Ear clipping (Meisters 1975, "Polygons have ears"), in the coordinate plane that is most parallel
// to the polygon. Its normal is Newell's (Sutherland, Sproull and Schumacker 1974), which is also
// defined for polygons that are not quite planar. Only reflex corners are tested against an ear.
#include "import/formats/PolygonTriangulation.h"

#include <algorithm>
#include <cmath>

namespace kxcontour {
namespace {

/// Limit on the tests of corners against ears per polygon: seconds for the worst of them.
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

const std::vector<std::uint32_t>&
PolygonTriangulator::triangulate(const std::vector<FilePoint>& corners) {
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

void PolygonTriangulator::flatten(const std::vector<FilePoint>& corners) {
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

void PolygonTriangulator::link(std::size_t count) {
    left_ = count;
    tests_ = 0;
    next_.resize(count);
    before_.resize(count);
    gone_.assign(count, false);
    for (std::uint32_t i = 0; i < count; ++i) {
        next_[i] = i + 1 == count ? 0 : i + 1;
        before_[next_[i]] = i;
    }
    reflex_.clear();
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!(turnAt(i) > 0.0)) {
            reflex_.push_back(i);
        }
    }
}

void PolygonTriangulator::clipEars() {
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

void PolygonTriangulator::clip(std::uint32_t ear) {
    triangles_.insert(triangles_.end(), {before_[ear], ear, next_[ear]});
    next_[before_[ear]] = next_[ear];
    before_[next_[ear]] = before_[ear];
    gone_[ear] = true;
    --left_;
}

void PolygonTriangulator::cutAsFan(std::uint32_t first) {
    while (left_ > 2) {
        clip(next_[first]);
    }
}

/// Whether the corner is convex and no other lies in its triangle.
bool PolygonTriangulator::isEar(std::uint32_t ear) {
    if (!(turnAt(ear) > 0.0)) {
        return false;
    }
    const std::uint32_t a = before_[ear];
    const std::uint32_t c = next_[ear];
    std::size_t kept = 0;
    bool free = true;
    for (const std::uint32_t p : reflex_) {
        if (gone_[p]) {
            continue;
        }
        reflex_[kept++] = p;
        ++tests_;
        free = free && (p == a || p == c || isSamePosition(p, a) || isSamePosition(p, ear) ||
                        isSamePosition(p, c) || !holds(a, ear, c, p));
    }
    reflex_.resize(kept);
    return free;
}

/// Positive where the ring turns left.
double PolygonTriangulator::turnAt(std::uint32_t corner) const {
    return side(before_[corner], corner, next_[corner]);
}

/// Positive where p is to the left of the line from a to b.
double PolygonTriangulator::side(std::uint32_t a, std::uint32_t b, std::uint32_t p) const {
    return (flat_[b].x - flat_[a].x) * (flat_[p].y - flat_[a].y) -
           (flat_[b].y - flat_[a].y) * (flat_[p].x - flat_[a].x);
}

/// Whether the triangle, including its border, contains p.
bool PolygonTriangulator::holds(std::uint32_t a,
                                std::uint32_t b,
                                std::uint32_t c,
                                std::uint32_t p) const {
    return side(a, b, p) >= 0.0 && side(b, c, p) >= 0.0 && side(c, a, p) >= 0.0;
}

bool PolygonTriangulator::isSamePosition(std::uint32_t p, std::uint32_t q) const {
    return flat_[p].x == flat_[q].x && flat_[p].y == flat_[q].y;
}

} // namespace kxcontour
