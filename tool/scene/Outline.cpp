// Looks at the sides of every edge. Only the lines that are drawn are brought into the order of
// their positions.
#include "scene/Outline.h"

#include "common/Angles.h"
#include "scene/Sides.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

namespace kxcontour {
namespace {

/// The positions of a file are rounded, so faces that were meant to bend by exactly the angle (a
/// prism of twelve sides, at 30 degrees) bend by a little more or less. All of them count as less.
constexpr double kAngleTolerance = 0.01;

/// The sine of the angle up to which faces on the same side of an edge are one sheet: a tenth of a
/// degree, for what rounding does to narrow faces.
constexpr double kSheetSine = 1.7e-3;

/// The bits of a float, never a negative zero, as a number of the same order.
std::uint32_t InOrder(std::uint32_t bits) {
    return (bits & 0x80000000U) != 0 ? ~bits : bits | 0x80000000U;
}

/// A number with what it is sorted by, the most significant word last.
template <std::size_t kWords> struct Key {
    std::array<std::uint32_t, kWords> words;
    std::uint32_t number;

    bool operator<(const Key& other) const {
        return std::lexicographical_compare(words.rbegin(), words.rend(), other.words.rbegin(),
                                            other.words.rend());
    }
};

constexpr unsigned int kDigitBits = 11;
constexpr std::size_t kDigits = std::size_t{1} << kDigitBits;

/// One pass of a radix sort: moves the keys into the order of one digit of one word, stably.
template <class tKey>
void SortByDigit(std::vector<tKey>& keys,
                 std::vector<tKey>& scratch,
                 std::size_t word,
                 unsigned int shift) {
    const auto digit = [=](const tKey& key) { return (key.words[word] >> shift) & (kDigits - 1); };
    std::array<std::size_t, kDigits> next{};
    for (const tKey& key : keys) {
        ++next[digit(key)];
    }
    if (next[digit(keys.front())] == keys.size()) {
        return;
    }
    std::exclusive_scan(next.begin(), next.end(), next.begin(), std::size_t{0});
    for (const tKey& key : keys) {
        scratch[next[digit(key)]++] = key;
    }
    keys.swap(scratch);
}

/// Sorts keys that are all different.
template <std::size_t kWords> void SortKeys(std::vector<Key<kWords>>& keys) {
    // Below this, the tables of the radix sort cost more than they save.
    constexpr std::size_t kFewKeys = 4096;
    if (keys.size() < kFewKeys) {
        std::sort(keys.begin(), keys.end());
        return;
    }
    std::vector<Key<kWords>> scratch(keys.size());
    for (std::size_t word = 0; word < kWords; ++word) {
        for (unsigned int shift = 0; shift < 32; shift += kDigitBits) {
            SortByDigit(keys, scratch, word, shift);
        }
    }
}

class OutlineFinder {
public:
    OutlineFinder(const kx::kxVertexBuffer& vertices,
                  const kx::kxIndexBuffer& triangles,
                  const Sides& sides,
                  double angleInDegrees,
                  const Wm4::Matrix4<double>& toWorld)
        : vertices_(vertices), indices_(triangles.GetData()), toWorld_(toWorld),
          cosLimit_(std::cos(std::min(angleInDegrees + kAngleTolerance, 180.0) * kDegree)),
          sides_(sides) {
        findNormals();
    }

    kx::kxPointer<kx::kxIndexBuffer> run() {
        sides_.forEachEdge([this](const Side* first, const Side* end) {
            if (isDrawn(first, end)) {
                lines_.push_back({{}, first->corner});
            }
        });
        sortLines();
        kx::kxPointer<kx::kxIndexBuffer> outline(
            new kx::kxIndexBuffer(static_cast<int>(2 * lines_.size()), kx::IBT_LINES));
        unsigned int* next = outline->GetData();
        for (const Key<2>& line : lines_) {
            *next++ = indices_[line.number];
            *next++ = indices_[NextCorner(line.number)];
        }
        return outline;
    }

private:
    using Vector = Wm4::Vector3<double>;

    struct Normal {
        Vector vector; ///< In the world, as long as twice the triangle's area.
        double length;
    };

    std::uint32_t placeAt(std::uint32_t corner) const { return sides_.placeAt(corner); }

    /// Brings the lines into the order of their ends: first the smaller one, then the larger one.
    void sortLines() {
        const std::vector<std::uint32_t> ranks = rankEnds();
        for (Key<2>& line : lines_) {
            const std::uint32_t from = ranks[placeAt(line.number)];
            const std::uint32_t to = ranks[placeAt(NextCorner(line.number))];
            line.words = {std::max(from, to), std::min(from, to)};
        }
        SortKeys(lines_);
    }

    /// By place: its rank among all where lines end, in the order x, y, z; any number elsewhere.
    std::vector<std::uint32_t> rankEnds() const {
        std::vector<std::uint32_t> ranks(sides_.places().count(), 0);
        std::vector<Key<3>> keys;
        for (const Key<2>& line : lines_) {
            for (const std::uint32_t corner : {line.number, NextCorner(line.number)}) {
                const std::uint32_t place = placeAt(corner);
                if (ranks[place]++ == 0) {
                    const PositionBits& bits = sides_.places().position(place);
                    keys.push_back({{InOrder(bits[2]), InOrder(bits[1]), InOrder(bits[0])}, place});
                }
            }
        }
        SortKeys(keys);
        for (std::uint32_t rank = 0; rank < keys.size(); ++rank) {
            ranks[keys[rank].number] = rank;
        }
        return ranks;
    }

    /// Whether the edge of the sides in [first, end) belongs to the outline.
    bool isDrawn(const Side* first, const Side* end) {
        if (end - first == 2 && !isSameFace(first[0], first[1])) {
            return bends(first[0], first[1]);
        }
        if (end - first <= 2) {
            return true;
        }
        gatherFaces(first, end);
        return !areOneSheet();
    }

    /// Whether the faces are one sheet that the edge runs through: at least one on either side, and
    /// on each side all in one plane, as where parts of one object overlap with flush faces.
    bool areOneSheet() const {
        const Side* across = nullptr;
        for (const Side& face : faces_) {
            if (areOnOneSide(faces_[0], face)) {
                continue;
            }
            if (across == nullptr && !bends(faces_[0], face)) {
                across = &face;
            } else if (across == nullptr || !areOnOneSide(*across, face)) {
                return false;
            }
        }
        return across != nullptr;
    }

    /// Two sides of one edge belong to the same face when the corners opposite are one place too.
    bool isSameFace(const Side& a, const Side& b) const {
        return sides_.oppositePlace(a) == sides_.oppositePlace(b);
    }

    /// One side for each different face among those in [first, end).
    void gatherFaces(const Side* first, const Side* end) {
        faces_.assign(first, end);
        std::stable_sort(faces_.begin(), faces_.end(), [this](const Side& a, const Side& b) {
            return sides_.oppositePlace(a) < sides_.oppositePlace(b);
        });
        const auto same = [this](const Side& a, const Side& b) { return isSameFace(a, b); };
        faces_.erase(std::unique(faces_.begin(), faces_.end(), same), faces_.end());
    }

    bool bends(const Side& a, const Side& b) const {
        const Normal& normalA = normals_[a.corner / 3];
        const Normal& normalB = normals_[b.corner / 3];
        const double product = normalA.vector.Dot(normalB.vector);
        // Faces that lie side by side run along their edge in opposite directions.
        const bool opposite = sides_.isForward(a) != sides_.isForward(b);
        return (opposite ? product : -product) < cosLimit_ * (normalA.length * normalB.length);
    }

    /// Whether two faces lie on each other beside their edge.
    bool areOnOneSide(const Side& a, const Side& b) const {
        const Vector& p = normals_[a.corner / 3].vector;
        const Vector& q = normals_[b.corner / 3].vector;
        const Vector cross = p.Cross(q);
        const double limit =
            kSheetSine * normals_[a.corner / 3].length * normals_[b.corner / 3].length;
        const bool isTurned = (p.Dot(q) < 0.0) != (sides_.isForward(a) != sides_.isForward(b));
        return !isTurned && cross.Dot(cross) <= limit * limit;
    }

    void findNormals() {
        const std::uint32_t cornerCount = sides_.cornerCount();
        normals_.reserve(cornerCount / 3);
        for (std::uint32_t corner = 0; corner < cornerCount; corner += 3) {
            const Wm4::Vector3<float>& origin = positionAt(corner);
            const Vector normal = toWorld(positionAt(corner + 1), origin)
                                      .Cross(toWorld(positionAt(corner + 2), origin));
            normals_.push_back({normal, std::sqrt(normal.Dot(normal))});
        }
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
    const Sides& sides_;
    std::vector<Normal> normals_; ///< Of all triangles.
    std::vector<Key<2>> lines_;   ///< By the corner that they start from.
    std::vector<Side> faces_;     ///< Scratch, kept for its memory.
};

} // namespace

kx::kxPointer<kx::kxIndexBuffer> FindOutline(const kx::kxVertexBuffer& vertices,
                                             const kx::kxIndexBuffer& triangles,
                                             double angleInDegrees,
                                             const Wm4::Matrix4<double>& toWorld) {
    const Sides sides(vertices, triangles);
    return FindOutline(vertices, triangles, sides, angleInDegrees, toWorld);
}

kx::kxPointer<kx::kxIndexBuffer> FindOutline(const kx::kxVertexBuffer& vertices,
                                             const kx::kxIndexBuffer& triangles,
                                             const Sides& sides,
                                             double angleInDegrees,
                                             const Wm4::Matrix4<double>& toWorld) {
    return OutlineFinder(vertices, triangles, sides, angleInDegrees, toWorld).run();
}

} // namespace kxcontour
