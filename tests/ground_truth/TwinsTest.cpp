// Worn models beside their sound twins: files as people have them are drawn as the shape is.
//
//   build/release/tests/ground_truth/ground_truth_tests --gtest_filter='*Twins*'
//     prints for each pair how many paths both have, and over what length either draws what the
//     other does not. CTR_KEEP_DRAWINGS=FOLDER keeps files, and drawings of the last view.
#include "FileDrawing.h"
#include "WornModel.h"
#include "tool/ModelText.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string>
#include <tuple>

namespace {

using ground_truth::FileDrawing;
using ground_truth::Shape;
using ground_truth::Solid;

constexpr double kLargestDistance = 0.4;
constexpr double kMorePaths = 1.3;

enum class Wear : std::uint8_t {
    CrackedAt7,
    CrackedAt6,
    CrackedAt5,
    FlatShaded,
    FarAway,
    TJunctions,
    CrackedTJunctions,
    FarTJunctions,
    Doubled,
    DoubledTurnedOver,
};
constexpr std::array<const char*, 10> kWearNames{
    "cracked_at_1e7", "cracked_at_1e6",     "cracked_at_1e5",      "flat_shaded",
    "far_away",       "t_junctions",        "cracked_t_junctions", "far_t_junctions",
    "doubled",        "doubled_turned_over"};

constexpr std::array<const char*, 3> kViews{"--azimuth 33 --elevation 21",
                                            "--azimuth 127 --elevation -35",
                                            "--azimuth 200 --elevation 8 --projection perspective"};

struct File {
    std::string name;
    std::string bytes;
};

File WornFile(const Solid& sound, Wear wear) {
    constexpr std::uint64_t kSeed = 14;
    const Wm4::Vector3<double> kFar(691000, 5335000, 520);
    switch (wear) {
    case Wear::CrackedAt7:
        return {"worn.stl", StlBytes(Cracked(sound, 1e-7, kSeed))};
    case Wear::CrackedAt6:
        return {"worn.stl", StlBytes(Cracked(sound, 1e-6, kSeed))};
    case Wear::CrackedAt5:
        return {"worn.stl", StlBytes(Cracked(sound, 1e-5, kSeed))};
    case Wear::FlatShaded:
        return {"worn.obj", FlatObjText(sound)};
    case Wear::FarAway:
        return {"worn.obj", ObjText(Moved(sound, kFar))};
    case Wear::TJunctions:
        return {"worn.obj", ObjText(WithTJunctions(sound, kSeed))};
    case Wear::CrackedTJunctions:
        return {"worn.stl", StlBytes(Cracked(WithTJunctions(sound, kSeed), 1e-6, kSeed))};
    case Wear::FarTJunctions:
        return {"worn.obj", ObjText(Moved(WithTJunctions(sound, kSeed), kFar))};
    case Wear::Doubled:
        return {"worn.obj", ObjText(Doubled(sound, false))};
    case Wear::DoubledTurnedOver:
        break;
    }
    return {"worn.obj", ObjText(Doubled(sound, true))};
}

class Twins : public testing::TestWithParam<std::tuple<std::size_t, std::size_t>> {};

std::string NameOfTwins(const testing::TestParamInfo<std::tuple<std::size_t, std::size_t>>& info) {
    return std::string(NameOf(static_cast<Shape>(std::get<0>(info.param)))) + "_" +
           kWearNames[std::get<1>(info.param)];
}

TEST_P(Twins, AreDrawnAlike) {
    const auto [shape, wear] = GetParam();
    const Solid sound = Make(static_cast<Shape>(shape));
    const tool_test::TemporaryFolder folder;
    const File worn = WornFile(sound, static_cast<Wear>(wear));
    folder.write("sound.obj", ObjText(sound));
    folder.write(worn.name, worn.bytes);
    const std::string name =
        std::string(NameOf(static_cast<Shape>(shape))) + "_" + kWearNames[wear];
    for (const std::string view : kViews) {
        const FileDrawing soundDrawing(folder, "sound.obj", "--up z " + view);
        const FileDrawing wornDrawing(folder, worn.name, "--up z " + view);
        const ground_truth::Difference difference(soundDrawing, wornDrawing, kLargestDistance);
        PrintRow(name, soundDrawing, wornDrawing, difference);
        EXPECT_EQ(difference.missing, 0.0) << view << "\n" << difference.text;
        EXPECT_EQ(difference.extra, 0.0) << view << "\n" << difference.text;
        EXPECT_LE(static_cast<double>(wornDrawing.paths()),
                  kMorePaths * static_cast<double>(soundDrawing.paths()))
            << view;
    }
    ground_truth::KeepFiles(folder, name);
}

INSTANTIATE_TEST_SUITE_P(OfEveryShape,
                         Twins,
                         testing::Combine(testing::Range(std::size_t{0}, ground_truth::kShapes),
                                          testing::Range(std::size_t{0}, kWearNames.size())),
                         NameOfTwins);

} // namespace
