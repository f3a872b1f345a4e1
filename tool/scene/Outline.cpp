// Ranks the positions, then gathers the sides of all triangles at the lower rank of their ends and
// sorts them there by the higher one, so that those at one place stand side by side. Ranking is a
// radix sort, gathering a counting sort: with a few sides at each place, all of it is linear.
#include "scene/Outline.h"

#include "common/Angles.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <tuple>
#include <vector>

namespace kxcontour {
namespace {

/// The positions of a file are rounded, so faces that were meant to bend by exactly the angle (a
/// prism of twelve sides, at 30 degrees) bend by a little more or less. All of them count as less.
constexpr double kAngleTolerance = 0.01;

/// A float as an unsigned integer of the same order; both zeros give the same.
std::uint32_t OrderedBits(float value) {
    const auto bits = std::bit_cast<std::uint32_t>(value + 0.0F);
    return (bits & 0x80000000U) != 0 ? ~bits : bits | 0x80000000U;
}

/// A position, most significant word last, and a vertex that lies there.
struct PositionKey {
    std::array<std::uint32_t, 3> words;
    std::uint32_t vertex;

    bool operator<(const PositionKey& other) const {
        return std::tie(words[2], words[1], words[0]) <
               std::tie(other.words[2], other.words[1], other.words[0]);
    }
};

std::vector<PositionKey> PositionKeys(const kx::kxVertexBuffer& vertices) {
    std::vector<PositionKey> keys(static_cast<std::size_t>(vertices.GetVertexQuantity()));
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const Wm4::Vector3<float>& p = vertices.Position3(static_cast<int>(i));
        keys[i] = {{OrderedBits(p[2]), OrderedBits(p[1]), OrderedBits(p[0])},
                   static_cast<std::uint32_t>(i)};
    }
    return keys;
}

constexpr unsigned int kDigitBits = 11;
constexpr std::size_t kDigits = std::size_t{1} << kDigitBits;

/// One pass of a radix sort: moves the keys into the order of one digit of one word, stably.
void SortByDigit(std::vector<PositionKey>& keys,
                 std::vector<PositionKey>& scratch,
                 std::size_t word,
                 unsigned int shift) {
    const auto digit = [=](const PositionKey& key) {
        return (key.words[word] >> shift) & (kDigits - 1);
    };
    std::array<std::size_t, kDigits> next{};
    for (const PositionKey& key : keys) {
        ++next[digit(key)];
    }
    if (next[digit(keys.front())] == keys.size()) {
        return;
    }
    std::exclusive_scan(next.begin(), next.end(), next.begin(), std::size_t{0});
    for (const PositionKey& key : keys) {
        scratch[next[digit(key)]++] = key;
    }
    keys.swap(scratch);
}

/// Sorts by position. Keys at one place may end in any order: they all get one rank.
void SortKeys(std::vector<PositionKey>& keys) {
    // Below this, the tables of the radix sort cost more than they save.
    constexpr std::size_t kFewKeys = 4096;
    if (keys.size() < kFewKeys) {
        std::sort(keys.begin(), keys.end());
        return;
    }
    std::vector<PositionKey> scratch(keys.size());
    for (std::size_t word = 0; word < 3; ++word) {
        for (unsigned int shift = 0; shift < 32; shift += kDigitBits) {
            SortByDigit(keys, scratch, word, shift);
        }
    }
}

/// The rank of every vertex's position among all different positions, in the order x, y, z.
struct PositionRanks {
    std::vector<std::uint32_t> ofVertex;
    std::size_t count = 0; ///< Different positions.
};

PositionRanks RankPositions(const kx::kxVertexBuffer& vertices) {
    std::vector<PositionKey> keys = PositionKeys(vertices);
    SortKeys(keys);
    PositionRanks ranks;
    ranks.ofVertex.resize(keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        ranks.count += i == 0 || keys[i].words != keys[i - 1].words ? 1 : 0;
        ranks.ofVertex[keys[i].vertex] = static_cast<std::uint32_t>(ranks.count - 1);
    }
    return ranks;
}

/// One side of a triangle: the higher rank of its ends, and the corner it starts from, counted
/// through the index buffer.
struct Side {
    std::uint32_t farRank;
    std::uint32_t corner;

    bool operator<(const Side& other) const {
        return farRank != other.farRank ? farRank < other.farRank : corner < other.corner;
    }
};

/// The corners that come after a corner in its triangle.
std::uint32_t Next(std::uint32_t corner) {
    return corner % 3 == 2 ? corner - 2 : corner + 1;
}

class OutlineFinder {
public:
    OutlineFinder(const kx::kxVertexBuffer& vertices,
                  const kx::kxIndexBuffer& triangles,
                  double angleInDegrees,
                  const Wm4::Matrix4<double>& toWorld)
        : vertices_(vertices), indices_(triangles.GetData()), toWorld_(toWorld),
          cosLimit_(std::cos(std::min(angleInDegrees + kAngleTolerance, 180.0) * kDegree)),
          ranks_(RankPositions(vertices)) {
        gatherSides(static_cast<std::uint32_t>(triangles.GetIndexQuantity() / 3 * 3));
    }

    kx::kxPointer<kx::kxIndexBuffer> run() {
        for (std::size_t rank = 0; rank < ranks_.count; ++rank) {
            findEdgesAt(rank);
        }
        kx::kxPointer<kx::kxIndexBuffer> outline(
            new kx::kxIndexBuffer(static_cast<int>(lines_.size()), kx::IBT_LINES));
        std::copy(lines_.begin(), lines_.end(), outline->GetData());
        return outline;
    }

private:
    using Vector = Wm4::Vector3<double>;

    std::uint32_t rankAt(std::uint32_t corner) const { return ranks_.ofVertex[indices_[corner]]; }

    std::uint32_t nearRank(std::uint32_t corner) const {
        return std::min(rankAt(corner), rankAt(Next(corner)));
    }

    /// Puts every side among those that start at the same lower rank.
    void gatherSides(std::uint32_t cornerCount) {
        sides_.resize(cornerCount);
        sidesEnd_.assign(ranks_.count + 1, 0);
        for (std::uint32_t corner = 0; corner < cornerCount; ++corner) {
            ++sidesEnd_[nearRank(corner) + 1];
        }
        std::partial_sum(sidesEnd_.begin(), sidesEnd_.end(), sidesEnd_.begin());
        // Now each entry is where the sides of its rank begin; filling moves it to their end.
        for (std::uint32_t corner = 0; corner < cornerCount; ++corner) {
            const std::uint32_t farRank = std::max(rankAt(corner), rankAt(Next(corner)));
            sides_[sidesEnd_[nearRank(corner)]++] = {farRank, corner};
        }
    }

    /// Goes through the edges whose lower end has the rank, in the order of their higher ends.
    void findEdgesAt(std::size_t rank) {
        const std::size_t end = sidesEnd_[rank];
        std::size_t first = rank == 0 ? 0 : sidesEnd_[rank - 1];
        std::sort(sideAt(first), sideAt(end));
        while (first < end) {
            std::size_t next = first + 1;
            while (next < end && sides_[next].farRank == sides_[first].farRank) {
                ++next;
            }
            if (isDrawn(first, next)) {
                lines_.push_back(indices_[sides_[first].corner]);
                lines_.push_back(indices_[Next(sides_[first].corner)]);
            }
            first = next;
        }
    }

    std::vector<Side>::iterator sideAt(std::size_t number) {
        return sides_.begin() + static_cast<std::ptrdiff_t>(number);
    }

    /// Whether the edge of the sides in [first, end) belongs to the outline.
    bool isDrawn(std::size_t first, std::size_t end) {
        if (end - first == 2 && !isSameFace(sides_[first], sides_[first + 1])) {
            return bends(sides_[first], sides_[first + 1]);
        }
        if (end - first <= 2) {
            return true;
        }
        gatherFaces(first, end);
        return faces_.size() != 2 || bends(faces_[0], faces_[1]);
    }

    /// Two sides of one edge belong to the same face when the corners opposite are one place too.
    bool isSameFace(const Side& a, const Side& b) const {
        return oppositeRank(a) == oppositeRank(b);
    }
    std::uint32_t oppositeRank(const Side& side) const { return rankAt(Next(Next(side.corner))); }

    /// One side for each different face among those in [first, end).
    void gatherFaces(std::size_t first, std::size_t end) {
        faces_.assign(sideAt(first), sideAt(end));
        std::stable_sort(faces_.begin(), faces_.end(), [this](const Side& a, const Side& b) {
            return oppositeRank(a) < oppositeRank(b);
        });
        const auto same = [this](const Side& a, const Side& b) { return isSameFace(a, b); };
        faces_.erase(std::unique(faces_.begin(), faces_.end(), same), faces_.end());
    }

    bool bends(const Side& a, const Side& b) const {
        const Vector normalA = faceNormal(a);
        // Faces that lie side by side run along their edge in opposite directions.
        const Vector normalB = isForward(a) == isForward(b) ? -faceNormal(b) : faceNormal(b);
        const double lengths = std::sqrt(normalA.Dot(normalA)) * std::sqrt(normalB.Dot(normalB));
        return normalA.Dot(normalB) < cosLimit_ * lengths;
    }

    bool isForward(const Side& side) const {
        return rankAt(side.corner) < rankAt(Next(side.corner));
    }

    /// The normal of a side's triangle in the world, as long as twice its area.
    Vector faceNormal(const Side& side) const {
        const std::uint32_t corner = side.corner - side.corner % 3;
        const Wm4::Vector3<float>& origin = positionAt(corner);
        return toWorld(positionAt(corner + 1), origin)
            .Cross(toWorld(positionAt(corner + 2), origin));
    }

    const Wm4::Vector3<float>& positionAt(std::uint32_t corner) const {
        return vertices_.Position3(static_cast<int>(indices_[corner]));
    }

    /// The vector between two points, turned and stretched as in the world.
    Vector toWorld(const Wm4::Vector3<float>& point, const Wm4::Vector3<float>& origin) const {
        const double x = static_cast<double>(point[0]) - static_cast<double>(origin[0]);
        const double y = static_cast<double>(point[1]) - static_cast<double>(origin[1]);
        const double z = static_cast<double>(point[2]) - static_cast<double>(origin[2]);
        const auto along = [&](int axis) {
            return x * toWorld_[0][axis] + y * toWorld_[1][axis] + z * toWorld_[2][axis];
        };
        return {along(0), along(1), along(2)};
    }

    const kx::kxVertexBuffer& vertices_;
    const unsigned int* indices_;
    const Wm4::Matrix4<double>& toWorld_;
    double cosLimit_;
    PositionRanks ranks_;
    std::vector<Side> sides_;
    std::vector<std::uint32_t> sidesEnd_; ///< Where the sides of each lower rank end.
    std::vector<unsigned int> lines_;
    std::vector<Side> faces_; ///< Scratch, kept for its memory.
};

} // namespace

kx::kxPointer<kx::kxIndexBuffer> FindOutline(const kx::kxVertexBuffer& vertices,
                                             const kx::kxIndexBuffer& triangles,
                                             double angleInDegrees,
                                             const Wm4::Matrix4<double>& toWorld) {
    return OutlineFinder(vertices, triangles, angleInDegrees, toWorld).run();
}

} // namespace kxcontour
