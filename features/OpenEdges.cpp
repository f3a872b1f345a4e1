// One pass over the edges; only open ones are measured.
#include "features/OpenEdges.h"

#include "features/Bounds.h"

#include <algorithm>
#include <cmath>

namespace ctr {
namespace {

/// The cosine of 10 degrees: sharper wedges are taken for two sides of something thin.
constexpr double kFoldedCosine = 0.984807753012208;

class EdgeSurveyor {
public:
    explicit EdgeSurveyor(const Sides& sides) : sides_(sides) {}

    EdgeSurvey run() {
        sides_.forEachEdge([this](const Side* first, const Side* end) { look(first, end); });
        std::sort(survey_.open.begin(), survey_.open.end());
        std::sort(survey_.doubled.begin(), survey_.doubled.end());
        survey_.doubled.erase(std::unique(survey_.doubled.begin(), survey_.doubled.end()),
                              survey_.doubled.end());
        return std::move(survey_);
    }

private:
    void look(const Side* first, const Side* end) {
        ++survey_.edges;
        if (end - first == 2 && sides_.oppositePlace(first[0]) != sides_.oppositePlace(first[1])) {
            return;
        }
        const std::size_t faces = end - first == 1 ? 1 : countFaces(first, end);
        if (faces == 1) {
            survey_.open.push_back(first->corner);
        } else if (faces > 2) {
            ++survey_.crowded;
        }
    }

    /// The number of different faces at an edge; notes all others.
    std::size_t countFaces(const Side* first, const Side* end) {
        faces_.clear();
        for (const Side* side = first; side != end; ++side) {
            faces_.push_back({sides_.oppositePlace(*side), side->corner / 3});
        }
        std::sort(faces_.begin(), faces_.end());
        std::size_t count = 1;
        for (std::size_t i = 1; i < faces_.size(); ++i) {
            if (faces_[i].opposite == faces_[i - 1].opposite) {
                survey_.doubled.push_back(faces_[i].triangle);
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

    const Sides& sides_;
    EdgeSurvey survey_;
    std::vector<Face> faces_; ///< Scratch, kept for its memory.
};

Wm4::Vector3<double> PositionOf(const kx::kxVertexBuffer& vertices, unsigned int vertex) {
    return InDoubles(vertices.Position3(static_cast<int>(vertex)));
}

OpenEdge MeasureEdge(std::uint32_t corner,
                     const Sides& sides,
                     const kx::kxVertexBuffer& vertices,
                     const unsigned int* indices) {
    const std::uint32_t next = NextCorner(corner);
    OpenEdge edge{};
    edge.corner = corner;
    edge.from = sides.placeAt(corner);
    edge.to = sides.placeAt(next);
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

EdgeSurvey SurveyEdges(const Sides& sides) {
    return EdgeSurveyor(sides).run();
}

std::vector<OpenEdge> MeasureOpenEdges(const EdgeSurvey& survey,
                                       const Sides& sides,
                                       const kx::kxVertexBuffer& vertices,
                                       const kx::kxIndexBuffer& triangles) {
    std::vector<OpenEdge> edges;
    edges.reserve(survey.open.size());
    for (const std::uint32_t corner : survey.open) {
        edges.push_back(MeasureEdge(corner, sides, vertices, triangles.GetData()));
    }
    return edges;
}

bool FoldsBack(const OpenEdge& a, const OpenEdge& b) {
    return a.inward.Dot(b.inward) > kFoldedCosine;
}

} // namespace ctr
