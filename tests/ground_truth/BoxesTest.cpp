// Drawings of boxes, compared with what they have to show by definition; see BoxLines.h for it.
//
//   build/release/tests/ground_truth/ground_truth_tests --gtest_filter='*Boxes*'
//     prints a table for each kind of scene, and the worst scenes with what is wrong where;
//     CTR_TEST_SCALE=20 tries twenty times as many.
//
// show_boxes writes one of the scenes for somebody to look at.
#include "BoxDrawing.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace {

using ground_truth::BoxCase;
using ground_truth::BoxDrawing;
using ground_truth::SceneKind;
using ground_truth::ViewKind;

/// Of the length that has to be drawn.
constexpr double kAllowedShare = 0.0005;
constexpr std::size_t kReported = 2; ///< Scenes, for each kind of view.

/// For each kind of scene; over a thousand in all.
int SceneCount() {
    return test_support::Scaled(114);
}

struct Tally {
    int scenes = 0;
    int wrongScenes = 0;
    double length = 0.0;
    double missing = 0.0;
    double invented = 0.0;

    void add(const BoxDrawing& drawing) {
        constexpr double kWrong = 0.1;
        ++scenes;
        wrongScenes += drawing.wrongLength() > kWrong ? 1 : 0;
        length += drawing.length();
        missing += LengthOf(drawing.missing());
        invented += LengthOf(drawing.invented());
    }
};

/// The scenes that are wrong over the greatest length, with their reports.
class Worst {
public:
    void add(const BoxDrawing& drawing) {
        if (drawing.wrongLength() == 0.0) {
            return;
        }
        const auto shorter = [&](const auto& entry) { return entry.first < drawing.wrongLength(); };
        const auto place = std::find_if(reports_.begin(), reports_.end(), shorter);
        reports_.emplace(place, drawing.wrongLength(), drawing.report());
        reports_.resize(std::min(reports_.size(), kReported));
    }

    std::string text() const {
        std::string text;
        for (const auto& [length, report] : reports_) {
            text += report;
        }
        return text;
    }

private:
    std::vector<std::pair<double, std::string>> reports_;
};

void PrintRow(const std::string& name, const Tally& tally) {
    std::printf("%-32s %6d scenes %5d wrong %12.1f mm %10.3f missing %10.3f invented\n",
                name.c_str(), tally.scenes, tally.wrongScenes, tally.length, tally.missing,
                tally.invented);
}

class Boxes : public testing::TestWithParam<SceneKind> {};

/// Compares scenes of a kind, each in the next kind of view, and prints a table.
Tally Compare(SceneKind kind, bool cracked) {
    std::array<Tally, ground_truth::kViewKinds> byView;
    std::array<Worst, ground_truth::kViewKinds> worst;
    Tally all;
    for (int i = 0; i < SceneCount(); ++i) {
        const auto view = static_cast<std::size_t>(i) % ground_truth::kViewKinds;
        const BoxDrawing drawing(
            BoxCase{kind, static_cast<ViewKind>(view), static_cast<std::uint64_t>(i), cracked});
        byView[view].add(drawing);
        worst[view].add(drawing);
        all.add(drawing);
    }
    const std::string name = std::string(cracked ? "cracked " : "") + NameOf(kind);
    for (std::size_t view = 0; view < ground_truth::kViewKinds; ++view) {
        PrintRow(name + " " + NameOf(static_cast<ViewKind>(view)), byView[view]);
    }
    PrintRow(name, all);
    for (const Worst& reports : worst) {
        std::cout << reports.text();
    }
    return all;
}

TEST_P(Boxes, AreDrawnAsTheDefinitionSays) {
    const Tally all = Compare(GetParam(), false);
    EXPECT_LE(all.missing, kAllowedShare * all.length);
    EXPECT_LE(all.invented, kAllowedShare * all.length);
}

TEST_P(Boxes, AreDrawnSoWithCracks) {
    const Tally all = Compare(GetParam(), true);
    EXPECT_LE(all.missing, kAllowedShare * all.length);
    EXPECT_LE(all.invented, kAllowedShare * all.length);
}

INSTANTIATE_TEST_SUITE_P(OfEveryKind,
                         Boxes,
                         testing::Values(SceneKind::Apart,
                                         SceneKind::Touching,
                                         SceneKind::Overlapping,
                                         SceneKind::Flush,
                                         SceneKind::Nested,
                                         SceneKind::Frames,
                                         SceneKind::Rooms,
                                         SceneKind::Stairs,
                                         SceneKind::Rafters),
                         [](const auto& info) { return std::string(NameOf(info.param)); });

} // namespace
