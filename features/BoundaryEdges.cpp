// One pass over the edges, which HalfEdges has grouped: linear while few faces meet at an edge.
// Classes are exact, since only indices of points are compared. Boundary edges alone are measured,
// in doubles.
#include "features/BoundaryEdges.h"

#include "features/Bounds.h"
#include "features/Tolerances.h"

#include <algorithm>
#include <cmath>

namespace ctr {
namespace {

class EdgeClassifier {
public:
    explicit EdgeClassifier(const HalfEdges& halfEdges) : halfEdges_(halfEdges) {}

    EdgeClasses run() {
        halfEdges_.forEachEdge(
            [this](const HalfEdge* first, const HalfEdge* end) { classify(first, end); });
        std::sort(classes_.boundary.begin(), classes_.boundary.end());
        std::sort(classes_.duplicates.begin(), classes_.duplicates.end());
        classes_.duplicates.erase(
            std::unique(classes_.duplicates.begin(), classes_.duplicates.end()),
            classes_.duplicates.end());
        return std::move(classes_);
    }

private:
    void classify(const HalfEdge* first, const HalfEdge* end) {
        ++classes_.edges;
        if (end - first == 2 &&
            halfEdges_.oppositePoint(first[0]) != halfEdges_.oppositePoint(first[1])) {
            return;
        }
        const std::size_t faces = end - first == 1 ? 1 : countFaces(first, end);
        if (faces == 1) {
            classes_.boundary.push_back(first->corner);
        } else if (faces > 2) {
            ++classes_.nonManifold;
        }
    }

    /// The number of different faces at an edge; records the duplicates.
    std::size_t countFaces(const HalfEdge* first, const HalfEdge* end) {
        faces_.clear();
        for (const HalfEdge* side = first; side != end; ++side) {
            faces_.push_back({halfEdges_.oppositePoint(*side), side->corner / 3});
        }
        std::sort(faces_.begin(), faces_.end());
        std::size_t count = 1;
        for (std::size_t i = 1; i < faces_.size(); ++i) {
            if (faces_[i].opposite == faces_[i - 1].opposite) {
                classes_.duplicates.push_back(faces_[i].triangle);
            } else {
                ++count;
            }
        }
        return count;
    }

    struct Face {
        std::uint32_t opposite;
        std::uint32_t triangle;

        bool operator<(const Face& other) const {
            return opposite != other.opposite ? opposite < other.opposite
                                              : triangle < other.triangle;
        }
    };

    const HalfEdges& halfEdges_;
    EdgeClasses classes_;
    std::vector<Face> faces_; ///< Scratch memory, reused.
};

Wm4::Vector3<double> PositionOf(const kx::kxVertexBuffer& vertices, unsigned int vertex) {
    return InDoubles(vertices.Position3(static_cast<int>(vertex)));
}

BoundaryEdge MeasureEdge(std::uint32_t corner,
                         const HalfEdges& halfEdges,
                         const kx::kxVertexBuffer& vertices,
                         const unsigned int* indices) {
    const std::uint32_t next = NextCorner(corner);
    BoundaryEdge edge{};
    edge.corner = corner;
    edge.from = halfEdges.pointAt(corner);
    edge.to = halfEdges.pointAt(next);
    edge.start = PositionOf(vertices, indices[corner]);
    edge.end = PositionOf(vertices, indices[next]);
    const Wm4::Vector3<double> along = edge.end - edge.start;
    const Wm4::Vector3<double> aside = PositionOf(vertices, indices[NextCorner(next)]) - edge.start;
    edge.length = std::sqrt(along.Dot(along));
    const Wm4::Vector3<double> inward = aside - along * (aside.Dot(along) / along.Dot(along));
    edge.height = std::sqrt(inward.Dot(inward));
    edge.inward = edge.height > 0.0 ? inward / edge.height : Wm4::Vector3<double>(0.0, 0.0, 0.0);
    return edge;
}

} // namespace

EdgeClasses ClassifyEdges(const HalfEdges& halfEdges) {
    return EdgeClassifier(halfEdges).run();
}

std::vector<BoundaryEdge> MeasureBoundaryEdges(const EdgeClasses& classes,
                                               const HalfEdges& halfEdges,
                                               const kx::kxVertexBuffer& vertices,
                                               const kx::kxIndexBuffer& triangles) {
    std::vector<BoundaryEdge> edges;
    edges.reserve(classes.boundary.size());
    for (const std::uint32_t corner : classes.boundary) {
        edges.push_back(MeasureEdge(corner, halfEdges, vertices, triangles.GetData()));
    }
    return edges;
}

bool FoldsBack(const BoundaryEdge& a, const BoundaryEdge& b) {
    return a.inward.Dot(b.inward) > surface_tolerances::kFoldedCosine;
}

} // namespace ctr
