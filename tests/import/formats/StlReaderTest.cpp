// What STL files hold, in text and in bytes.
#include "import/formats/StlReader.h"

#include "ModelText.h"
#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using kxcontour::FileModel;
using kxcontour::FilePoint;
using tool_test::FailureOf;
using tool_test::MeshData;

MeshData Cube() {
    return test_support::Box({-1, -1, -1}, {1, 1, 1});
}

FileModel Read(const std::string& bytes) {
    return kxcontour::ReadStl(bytes, tool_test::FileRequest("a.stl")).value();
}

bool IsRead(const std::string& bytes) {
    return kxcontour::ReadStl(bytes, tool_test::FileRequest("a.stl")).has_value();
}

std::string Loop(const std::string& vertices) {
    return "facet normal 0 0 nan\nouter loop\n" + vertices + "endloop\nendfacet\n";
}

const std::string kTriangle = Loop("vertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n");

TEST(ReadStl, ReadsTheSameOfTextAndBytes) {
    const FileModel text = Read(tool_test::StlText(Cube()));
    const FileModel bytes = Read(tool_test::StlBytes(Cube()));
    EXPECT_EQ(text.positions, bytes.positions);
    EXPECT_EQ(text.positions.size(), 36U);
    EXPECT_EQ(text.objects.at(0).corners, bytes.objects.at(0).corners);
    EXPECT_FALSE(text.fromFloats);
    EXPECT_TRUE(bytes.fromFloats);
}

TEST(ReadStl, ReadsTextInDoubles) {
    const FileModel model = Read("solid\n" + Loop("vertex 691000.123456789 1 2\nvertex 1 0 0\n"
                                                  "vertex 0 1 0\n"));
    EXPECT_EQ(model.positions.at(0), (FilePoint{691000.123456789, 1, 2}));
}

TEST(ReadStl, TakesEachSolidWithFacetsForAnObject) {
    const FileModel model =
        Read("solid none\nendsolid none\nsolid  first of two\n" + kTriangle + kTriangle +
             "endsolid vertex\\\nsolid second\n" + kTriangle + "endsolid second\n");
    ASSERT_EQ(model.objects.size(), 2U);
    EXPECT_EQ(model.objects[0].name, "first");
    EXPECT_EQ(model.objects[0].corners.size(), 6U);
    EXPECT_EQ(model.objects[1].name, "second");
    EXPECT_EQ(model.objects[1].corners.size(), 3U);
}

TEST(ReadStl, ReadsKeywordsInLettersOfEitherSizeOnOneLine) {
    const FileModel model =
        Read("solid A\rFACET NORMAL 0 0 1 OUTER LOOP VERTEX 0 0 0 Vertex 1 0 0 VERTEX 0 1 0 "
             "ENDLOOP ENDFACET ENDSOLID");
    EXPECT_EQ(model.objects.at(0).corners.size(), 3U);
}

TEST(ReadStl, CutsLongerLoopsAndLeavesOutShorterOnes) {
    const FileModel model =
        Read("solid\n" + Loop("vertex 0 0 0\nvertex 1 0 0\nvertex 1 1 0\nvertex 0 1 0\n") +
             Loop("vertex 0 0 0\nvertex 1 0 0\n"));
    EXPECT_EQ(model.objects.at(0).corners.size(), 6U);
    EXPECT_EQ(model.cutPolygons, 1U);
    EXPECT_EQ(model.leftOutPolygons, 1U);
}

TEST(ReadStl, NamesTheLineOfABadVertex) {
    const std::string text = "solid\n" + Loop("vertex 0 0 0\nvertex 1 O 0\nvertex 0 1 0\n");
    EXPECT_EQ(FailureOf<kxdrawing::CannotRead>([&] { Read(text); }),
              "a.stl: cannot read the model: line 5: 'O' is not a coordinate");
}

TEST(ReadStl, TellsBytesThatBeginLikeTextByTheirLength) {
    std::string bytes = tool_test::StlBytes(Cube());
    bytes.replace(0, 5, "solid");
    EXPECT_EQ(Read(bytes).objects.at(0).corners.size(), 36U);
}

TEST(ReadStl, LeavesBytesOfAnotherLengthToTheImporter) {
    const std::string bytes = tool_test::StlBytes(Cube());
    EXPECT_FALSE(IsRead(bytes.substr(1)));
    EXPECT_FALSE(IsRead(bytes + " "));
    EXPECT_FALSE(IsRead(bytes.substr(0, 83)));
    EXPECT_FALSE(IsRead("To be, or not to be"));
    EXPECT_FALSE(IsRead(""));
}

} // namespace
