// What OBJ files hold, in all the ways of writing them.
#include "import/formats/ObjReader.h"

#include "ModelText.h"
#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>

namespace {

using kxcontour::FileModel;
using kxcontour::FilePoint;
using kxcontour::kNoIndex;
using tool_test::FailureOf;
using tool_test::Replaced;

using Indices = std::vector<std::uint32_t>;

FileModel Read(const std::string& text) {
    return kxcontour::ReadObj(text, tool_test::FileRequest("a.obj")).value();
}

std::string Refusal(const std::string& text) {
    return FailureOf<kxdrawing::CannotRead>([&] { Read(text); });
}

const std::string kSquare = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";

TEST(ReadObj, ReadsCoordinatesInDoubles) {
    const FileModel model =
        Read("v 691000.123456789 -5335000.987654321 +5.2e2\nv .5 1. -1E-3\nv nan inf -1.#IND\n");
    EXPECT_EQ(model.positions.at(0), (FilePoint{691000.123456789, -5335000.987654321, 520.0}));
    EXPECT_EQ(model.positions.at(1), (FilePoint{0.5, 1.0, -0.001}));
    EXPECT_TRUE(std::isnan(model.positions.at(2)[0]));
    EXPECT_TRUE(std::isinf(model.positions.at(2)[1]));
    EXPECT_TRUE(std::isnan(model.positions.at(2)[2]));
    EXPECT_FALSE(model.fromFloats);
}

TEST(ReadObj, DividesByAWeightAndPassesOverColours) {
    const FileModel model = Read("v 2 4 6 2\nv 2 4 6 0\nv 2 4 6 0.5 0.5 0.5\n");
    EXPECT_EQ(model.positions.at(0), (FilePoint{1, 2, 3}));
    EXPECT_EQ(model.positions.at(1), (FilePoint{2, 4, 6}));
    EXPECT_EQ(model.positions.at(2), (FilePoint{2, 4, 6}));
}

TEST(ReadObj, ReadsCornersInAllTheirForms) {
    const std::string start = kSquare + "vt 0 0\nvn 0 0 1\nvn 0 1 0\n";
    for (const char* face : {"f 1 2 3", "f 1/1 2/1 3/1", "f 1// 2// 3//", "f -4 -3 -2", "fo 1 2 3",
                             "  f  1\t2  3  ", "f 1 \\\n 2 3", "f 1 2\\\r\n3"}) {
        const FileModel model = Read(start + face + "\n");
        EXPECT_EQ(model.objects.at(0).corners, (Indices{0, 1, 2})) << face;
        EXPECT_TRUE(model.objects[0].normals.empty()) << face;
    }
    for (const char* face : {"f 1//1 2//2 3//1", "f 1/1/1 2/1/2 3/1/1", "f -4/-1/-2 2//-1 -2//1"}) {
        const FileModel model = Read(start + face);
        EXPECT_EQ(model.objects.at(0).corners, (Indices{0, 1, 2})) << face;
        EXPECT_EQ(model.objects[0].normals, (Indices{0, 1, 0})) << face;
    }
}

TEST(ReadObj, KnowsAllLineEnds) {
    const std::string text = kSquare + "# C:\\parts\\\nf 1 2 3\n\nf 1 3 4";
    for (const char* end : {"\n", "\r\n", "\r"}) {
        const FileModel model = Read(Replaced(text, "\n", end));
        EXPECT_EQ(model.objects.at(0).corners.size(), 6U) << static_cast<int>(end[0]);
    }
}

TEST(ReadObj, GivesCornersWithoutNormalsNone) {
    const FileModel model = Read(kSquare + "vn 0 0 1\nf 1 2 3\nf 1//1 3//1 4//1\nf 1 2 4\n");
    EXPECT_EQ(model.objects.at(0).normals,
              (Indices{kNoIndex, kNoIndex, kNoIndex, 0, 0, 0, kNoIndex, kNoIndex, kNoIndex}));
}

TEST(ReadObj, DividesFacesByObjectsAndGroupsAndNotByMaterials) {
    const FileModel model = Read(kSquare + "f 1 2 3\no left\nf 1 2 3\nusemtl red\nf 1 2 4\n"
                                           "g grip of it \nf 1 2 3\ng grip of it\nf 1 2 3\n"
                                           "o left\nf 2 3 4\ns off\nmtllib no.mtl\ng\nf 1 2 3\n");
    ASSERT_EQ(model.objects.size(), 4U);
    EXPECT_EQ(model.objects[0].name, "");
    EXPECT_EQ(model.objects[0].corners.size(), 3U);
    EXPECT_EQ(model.objects[1].name, "left");
    EXPECT_EQ(model.objects[1].corners.size(), 9U);
    EXPECT_EQ(model.objects[2].name, "grip of it");
    EXPECT_EQ(model.objects[2].corners.size(), 6U);
    EXPECT_EQ(model.objects[3].name, "");
}

TEST(ReadObj, CutsPolygonsAndCountsLinesAndPoints) {
    const FileModel model =
        Read(kSquare + "f 1 2 3 4\nl 1 2 3\np 1 2\nf 1 2\nf 1 2 3\ncurv 0 1 2\n");
    EXPECT_EQ(model.objects.at(0).corners, (Indices{0, 1, 2, 0, 2, 3, 0, 1, 2}));
    EXPECT_EQ(model.cutPolygons, 1U);
    EXPECT_EQ(model.leftOutPolygons, 5U);
}

TEST(ReadObj, CutsPolygonsWithTheirNormals) {
    const FileModel model =
        Read(kSquare + "vn 0 0 1\nvn 0 1 0\nvn 1 0 0\nvn 1 1 0\nf 1//1 2//2 3//3 4//4\n");
    EXPECT_EQ(model.objects.at(0).normals, (Indices{0, 1, 2, 0, 2, 3}));
}

TEST(ReadObj, ReadsFacesBeforeTheirVertices) {
    EXPECT_EQ(Read("f 1 2 3 4\n" + kSquare).objects.at(0).corners, (Indices{0, 1, 2, 0, 2, 3}));
}

TEST(ReadObj, NamesTheLineOfWhatItCannotRead) {
    const std::string start = "a.obj: cannot read the model: ";
    EXPECT_EQ(Refusal("v 1 2\n"), start + "line 1: '' is not a number");
    EXPECT_EQ(Refusal("\n\nv 1 2,5 3\n"), start + "line 3: '2,5' is not a number");
    EXPECT_EQ(Refusal("v 0 0 0\r\nvn 0 up 0\r\n"), start + "line 2: 'up' is not a number");
    EXPECT_EQ(Refusal(kSquare + "f 1 2 x\n"), start + "line 5: 'x' is not a corner of a face");
    EXPECT_EQ(Refusal(kSquare + "f 1 2 3,\n"), start + "line 5: '3,' is not a corner of a face");
    EXPECT_EQ(Refusal(kSquare + "f 1 2 3/1/1/1\n"),
              start + "line 5: '3/1/1/1' is not a corner of a face");
    EXPECT_EQ(Refusal(kSquare + "f 1 2 9\nf 1 2 5\n"), start + "line 5: index out of range: 9");
    EXPECT_EQ(Refusal(kSquare + "f 0 1 2\n"), start + "line 5: index out of range: 0");
    EXPECT_EQ(Refusal(kSquare + "f 1 2 -5\n"), start + "line 5: index out of range: -5");
    EXPECT_EQ(Refusal(kSquare + "f 1//1 2//1 3//1\n"), start + "line 5: index out of range: 1");
    EXPECT_EQ(Refusal(kSquare + "f 1 2 99999999999999999999999\n"),
              start + "line 5: index out of range: 1000000000000000000");
}

TEST(ReadObj, LeavesWhatIsNoObjToTheImporter) {
    const auto reads = [](const std::string& text) {
        return kxcontour::ReadObj(text, tool_test::FileRequest("a.obj")).has_value();
    };
    EXPECT_FALSE(reads("no model"));
    EXPECT_FALSE(reads("# nothing\n"));
    EXPECT_FALSE(reads(std::string("\xFE\xFF\0v", 4)));
    EXPECT_TRUE(reads("\xEF\xBB\xBFv 1 2 3\n"));
}

TEST(ReadObj, TakesLittleTimeForAPolygonOfManyCorners) {
    const std::string text = tool_test::CombObj(100000);
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(Read(text).objects.at(0).corners.size(), 3U * 99998U);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(20));
}

} // namespace
