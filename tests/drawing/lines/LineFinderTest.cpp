// The lines of a scene by object, and their way to the paper.
#include "drawing/lines/LineFinder.h"

#include "ShapeBuilders.h"
#include "drawing/camera/Frame.h"
#include "drawing/lines/PaperMapping.h"
#include "drawing/scene/MeshBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

using ctr::FeatureChoice;
using kxcontour::AxesOf;
using kxcontour::LineGroup;
using kxcontour::LineKind;
using kxcontour::MeshList;
using kxcontour::PageLine;
using kxcontour::PageLines;
using kxcontour::PageSize;
using kxdrawing::Direction;

/// A hundred millimetres square, ten millimetres a unit, the origin in the middle.
const PageSize kPage{100.0, 100.0};

ctr::DiscreteProjectionSpace Camera(Direction view = Direction::Front) {
    return MakeCamera(kxcontour::Frame{{0, 0, 0}, {5, 5, 10}}, AxesOf(view));
}

/// A box with its twelve edges as outline, as the tool makes it.
kx::kxPointer<kx::kxTriMesh> BoxMesh(const test_support::Point& lowest,
                                     const test_support::Point& highest) {
    kxcontour::Model model =
        tool_test::MakeModel({tool_test::MakeShape(test_support::Box(lowest, highest))});
    return kxcontour::BuildMeshes(model, {}).meshes.front();
}

class Steps : public kxcontour::DrawingObserver {
public:
    void enter(const char*) override { EXPECT_EQ(done, total) << "of the stage before"; }
    void setTotal(double steps) override { done = 0.0, total = steps; }
    void advance(double steps) override { done += steps; }

    double total = 0.0;
    double done = 0.0;
};

struct Found {
    ctr::FeaturesByMesh lines;
    Steps steps;
};

Found Find(const MeshList& meshes,
           const MeshList& occluders = {},
           const FeatureChoice& choice = {},
           Direction view = Direction::Front) {
    Found found;
    found.lines = kxcontour::FindLines(Camera(view), meshes, occluders, choice, found.steps);
    return found;
}

PageLines OnPaper(const Found& found, bool withHidden, Direction view = Direction::Front) {
    const ctr::DiscreteProjectionSpace camera = Camera(view);
    std::vector<std::size_t> objects(found.lines.meshes.size());
    for (std::size_t i = 0; i < objects.size(); ++i) {
        objects[i] = i;
    }
    return kxcontour::MapToPaper(found.lines, {camera, kPage, objects, Wm4::Matrix4<double>(false)},
                                 withHidden);
}

double LengthOf(const PageLine& line) {
    return std::hypot(line.b.x - line.a.x, line.b.y - line.a.y);
}

/// Millimetres of lines that a predicate on groups picks.
template <class Predicate> double Length(const PageLines& lines, const Predicate& picks) {
    double length = 0.0;
    for (const LineGroup& group : lines.groups) {
        for (const PageLine& line : group.lines) {
            length += picks(group) ? LengthOf(line) : 0.0;
        }
    }
    return length;
}

double VisibleLength(const PageLines& lines) {
    return Length(lines, [](const LineGroup& group) { return !group.hidden; });
}
double HiddenLength(const PageLines& lines) {
    return Length(lines, [](const LineGroup& group) { return group.hidden; });
}

TEST(LinesFound, BelongToTheirObject) {
    const MeshList meshes{BoxMesh({-4, -1, -1}, {-2, 1, 1}), BoxMesh({2, -1, -1}, {4, 1, 1})};
    const PageLines lines = OnPaper(Find(meshes), false);
    for (const LineGroup& group : lines.groups) {
        ASSERT_LT(group.object, 2U);
        for (const PageLine& line : group.lines) {
            EXPECT_EQ(line.a.x > 50.0, group.object == 1);
        }
    }
    EXPECT_NEAR(VisibleLength(lines), 2 * 80.0, 1e-3) << "two squares of 20 mm";
}

TEST(LinesFound, LieOnThePaperWhereTheyAreSeen) {
    const PageLines lines = OnPaper(Find({BoxMesh({0, 0, 0}, {3, 2, 1})}), false);
    double left = 1e9;
    double top = 1e9;
    double right = -1e9;
    double bottom = -1e9;
    for (const LineGroup& group : lines.groups) {
        for (const PageLine& line : group.lines) {
            left = std::min({left, line.a.x, line.b.x});
            right = std::max({right, line.a.x, line.b.x});
            top = std::min({top, line.a.y, line.b.y});
            bottom = std::max({bottom, line.a.y, line.b.y});
        }
    }
    EXPECT_NEAR(left, 50.0, 1e-4);
    EXPECT_NEAR(right, 80.0, 1e-4);
    EXPECT_NEAR(bottom, 50.0, 1e-4) << "y points down";
    EXPECT_NEAR(top, 30.0, 1e-4);
}

TEST(HiddenLines, AreWhatVisibleOnesLeaveOut) {
    // A small box behind a plate that covers its left half.
    const kx::kxPointer<kx::kxTriMesh> box = BoxMesh({-1, -1, -3}, {1, 1, -2});
    const kx::kxPointer<kx::kxTriMesh> plate = BoxMesh({-4, -4, 1}, {0, 4, 1.5F});
    const double alone =
        VisibleLength(OnPaper(Find({box}, {}, {}, Direction::Iso), false, Direction::Iso));
    const PageLines both = OnPaper(Find({box}, {plate}), true);
    const double front = VisibleLength(OnPaper(Find({box}), false));
    EXPECT_NEAR(VisibleLength(both), 40.0, 1e-3) << "the right half of a square of 20 mm";
    EXPECT_NEAR(front, 80.0, 1e-3);
    EXPECT_GT(HiddenLength(both), 40.0 - 1e-3);
    EXPECT_GT(alone, 0.0);
}

TEST(HiddenLines, OfABoxAreItsThreeFarEdges) {
    const Found found = Find({BoxMesh({-1, -1, -1}, {1, 1, 1})}, {}, {}, Direction::Iso);
    const PageLines lines = OnPaper(found, true, Direction::Iso);
    // Edges of an isometric cube are all as long on paper: sqrt(2/3) of their length.
    const double edge = 20.0 * std::sqrt(2.0 / 3.0);
    EXPECT_NEAR(VisibleLength(lines), 9 * edge, 1e-3);
    EXPECT_NEAR(HiddenLength(lines), 3 * edge, 1e-3);
    EXPECT_EQ(HiddenLength(OnPaper(found, false, Direction::Iso)), 0.0) << "only when asked for";
}

TEST(HiddenLines, LeaveOutWhatIsOutsideTheView) {
    // Half of it is beyond the right edge of the sheet.
    const Found found = Find({BoxMesh({4, -1, -1}, {6, 1, 1})}, {}, {}, Direction::Front);
    const PageLines lines = OnPaper(found, true);
    for (const LineGroup& group : lines.groups) {
        for (const PageLine& line : group.lines) {
            EXPECT_LE(std::max(line.a.x, line.b.x), 100.001);
        }
    }
}

TEST(HiddenLines, OfCutsAreFoundWhenAskedFor) {
    // A bar through a box: the cut on the far side is hidden by both.
    const MeshList meshes{BoxMesh({-2, -2, -2}, {2, 2, 2}), BoxMesh({-1, -1, -4}, {1, 1, 4})};
    const auto cuts = [](const PageLines& lines, bool hidden) {
        return Length(lines, [hidden](const LineGroup& group) {
            return group.kind == LineKind::Intersection && group.hidden == hidden;
        });
    };
    FeatureChoice choice;
    choice.hiddenIntersections = true;
    const PageLines all = OnPaper(Find(meshes, {}, choice, Direction::Iso), true, Direction::Iso);
    const PageLines plain = OnPaper(Find(meshes, {}, {}, Direction::Iso), false, Direction::Iso);
    const double square = 4.0 * 20.0 * std::sqrt(2.0 / 3.0);
    EXPECT_NEAR(cuts(all, false) + cuts(all, true), 2.0 * square, 1e-2);
    EXPECT_GT(cuts(all, true), square - 1e-2);
    EXPECT_NEAR(cuts(plain, false), cuts(all, false), 1e-9);
    EXPECT_EQ(cuts(plain, true), 0.0);
}

TEST(Cuts, AreHiddenByOccludersToo) {
    const MeshList meshes{BoxMesh({-2, -2, -2}, {2, 2, 2}), BoxMesh({-1, -1, -4}, {1, 1, 4})};
    // Between the eye and all of the cut on the near side.
    const MeshList plate{BoxMesh({-1, -1, 4.2F}, {4.5F, 4.5F, 4.3F})};
    const auto cuts = [](const PageLines& lines, bool hidden) {
        return Length(lines, [hidden](const LineGroup& group) {
            return group.kind == LineKind::Intersection && group.hidden == hidden;
        });
    };
    FeatureChoice choice;
    choice.hiddenIntersections = true;
    const PageLines open = OnPaper(Find(meshes, {}, choice, Direction::Iso), true, Direction::Iso);
    const PageLines covered =
        OnPaper(Find(meshes, plate, choice, Direction::Iso), true, Direction::Iso);
    const PageLines plain = OnPaper(Find(meshes, plate, {}, Direction::Iso), false, Direction::Iso);
    EXPECT_GT(cuts(open, false), 1.0);
    EXPECT_LT(cuts(covered, false), 0.5 * cuts(open, false));
    EXPECT_NEAR(cuts(covered, false) + cuts(covered, true), cuts(open, false) + cuts(open, true),
                1e-2);
    EXPECT_NEAR(cuts(plain, false), cuts(covered, false), 1e-9);
}

TEST(LineChoices, LeaveOutWholeFamilies) {
    const MeshList meshes{BoxMesh({-2, -2, -2}, {2, 2, 2}), BoxMesh({-1, -1, -4}, {1, 1, 4})};
    const auto has = [&](const FeatureChoice& choice, LineKind family) {
        const PageLines lines =
            OnPaper(Find(meshes, {}, choice, Direction::Iso), false, Direction::Iso);
        return std::any_of(lines.groups.begin(), lines.groups.end(),
                           [family](const LineGroup& group) { return group.kind == family; });
    };
    const FeatureChoice all;
    EXPECT_TRUE(has(all, LineKind::Silhouette));
    EXPECT_TRUE(has(all, LineKind::Crease));
    EXPECT_TRUE(has(all, LineKind::Intersection));
    EXPECT_FALSE(has({false, true, true, false}, LineKind::Silhouette));
    EXPECT_FALSE(has({true, false, true, false}, LineKind::Crease));
    EXPECT_FALSE(has({true, true, false, false}, LineKind::Intersection));
}

TEST(LineChoices, KeepCreasesThatAreSilhouettesWhenThoseAreNotDrawn) {
    const MeshList meshes{BoxMesh({-1, -1, -1}, {1, 1, 1})};
    const PageLines lines = OnPaper(Find(meshes, {}, {false, true, false, false}, Direction::Iso),
                                    false, Direction::Iso);
    EXPECT_NEAR(VisibleLength(lines), 9 * 20.0 * std::sqrt(2.0 / 3.0), 1e-3);
}

TEST(FindingLines, EndsExactlyAtItsTotal) {
    const MeshList meshes{BoxMesh({-2, -2, -2}, {2, 2, 2}), BoxMesh({-1, -1, -4}, {1, 1, 4})};
    const Found found = Find(meshes, {}, {}, Direction::Iso);
    EXPECT_GT(found.steps.total, 0.0);
    EXPECT_EQ(found.steps.done, found.steps.total);
}

TEST(Records, HoldEveryLineOnceWithItsHiddenRanges) {
    const Found found = Find({BoxMesh({-1, -1, -1}, {1, 1, 1})}, {}, {}, Direction::Iso);
    const ctr::DiscreteProjectionSpace camera = Camera(Direction::Iso);
    Wm4::Matrix4<double> toFile(false);
    toFile[3][0] = 100.0;
    const auto records = kxcontour::LinesOf(found.lines, {camera, kPage, {7}, toFile});
    ASSERT_EQ(records.size(), 12U);
    std::size_t hidden = 0;
    for (const kxdrawing::Line& record : records) {
        EXPECT_EQ(record.object, 7U);
        ASSERT_TRUE(record.onPage);
        EXPECT_EQ(std::abs(record.ends[0][0] - 100.0), 1.0) << "in the file's coordinates";
        hidden += record.hidden.empty() ? 0 : 1;
    }
    EXPECT_EQ(hidden, 3U);
}

TEST(Records, OfLinesOutsideTheViewHaveNoPlaceOnPaper) {
    const Found found = Find({BoxMesh({8, -1, -1}, {9, 1, 1})});
    const ctr::DiscreteProjectionSpace camera = Camera();
    for (const auto& record :
         kxcontour::LinesOf(found.lines, {camera, kPage, {0}, Wm4::Matrix4<double>(false)})) {
        EXPECT_FALSE(record.onPage);
    }
}

} // namespace
