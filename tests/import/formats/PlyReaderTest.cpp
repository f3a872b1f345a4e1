// What PLY files hold, in text and in bytes of both orders, whole and cut.
#include "import/formats/PlyReader.h"

#include "ModelText.h"
#include "ShapeBuilders.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using kxcontour::FileModel;
using kxcontour::FilePoint;
using kxcontour::kNoIndex;
using tool_test::FailureOf;
using tool_test::Holds;
using tool_test::MeshData;

using Indices = std::vector<std::uint32_t>;

MeshData Cube() {
    return test_support::Box({-1, -1, -1}, {1, 1, 1});
}

FileModel Read(const std::string& bytes) {
    return kxcontour::ReadPly(bytes, tool_test::FileRequest("a.ply")).value();
}

std::string Refusal(const std::string& bytes) {
    return FailureOf<kxdrawing::CannotRead>([&] { Read(bytes); });
}

const std::string kVertices = "element vertex 4\nproperty float x\nproperty double y\n"
                              "property int z\n";
const std::string kFaces = "element face 1\nproperty list uchar int vertex_indices\n";
const std::string kPlaces = "0 0 0\n1 0 0\n1 1.25 0\n0 1 0\n";

std::string Text(const std::string& elements, const std::string& body) {
    return "ply\nformat ascii 1.0\ncomment C:\\parts\\\n" + elements + "end_header\n" + body;
}

TEST(ReadPly, IsForFilesThatBeginAsOne) {
    const auto read = [](const std::string& bytes) {
        return kxcontour::ReadPly(bytes, tool_test::FileRequest("a")).has_value();
    };
    EXPECT_FALSE(read("plyable"));
    EXPECT_FALSE(read(""));
    EXPECT_TRUE(read(Text(kVertices + kFaces, kPlaces + "3 0 1 2\n")));
}

TEST(ReadPly, ReadsTheSameOfAllEncodings) {
    const std::string text = tool_test::PlyText(Cube());
    const FileModel model = Read(text);
    for (const std::string& bytes :
         {tool_test::PlyBytes(Cube(), false), tool_test::PlyBytes(Cube(), true)}) {
        const FileModel other = Read(bytes);
        EXPECT_EQ(other.positions, model.positions);
        EXPECT_EQ(other.objects.at(0).corners, model.objects.at(0).corners);
        EXPECT_TRUE(other.fromFloats);
    }
    EXPECT_FALSE(model.fromFloats) << "text may have more digits than a float";
    EXPECT_EQ(model.objects[0].corners.size(), 36U);
}

TEST(ReadPly, SeesEveryCutInABinaryFile) {
    for (const bool bigEndian : {false, true}) {
        const std::string bytes = tool_test::PlyBytes(Cube(), bigEndian);
        EXPECT_NO_THROW(Read(bytes + "more"));
        for (std::size_t size = 4; size < bytes.size(); ++size) {
            ASSERT_EQ(Refusal(bytes.substr(0, size)),
                      "a.ply: is truncated or damaged: its end is missing")
                << size << " of " << bytes.size();
        }
    }
}

TEST(ReadPly, SeesEveryCutBeforeTheLastWordOfATextFile) {
    const std::string bytes = tool_test::PlyText(Cube());
    const std::size_t body = bytes.find("end_header\n") + 11;
    const std::size_t lastWord = bytes.find_last_of(' ');
    for (std::size_t size = body; size <= lastWord; ++size) {
        // A cut behind "-" leaves a word that is no number.
        const std::string refusal = Refusal(bytes.substr(0, size));
        ASSERT_TRUE(refusal.find("truncated") != std::string::npos ||
                    refusal.find("'-' is not a number") != std::string::npos)
            << size << " of " << bytes.size() << ": " << refusal;
    }
    for (std::size_t size = 4; size < body; ++size) {
        ASSERT_FALSE(Refusal(bytes.substr(0, size)).empty()) << size;
    }
}

TEST(ReadPly, ReadsTextInDoublesWhateverTheTypeSays) {
    const FileModel model =
        Read(Text(kVertices + kFaces, "691000.123456789 1 2\n1 0 0\n1 1 0\n0 1 0\n3 0 1 2\n"));
    EXPECT_EQ(model.positions.at(0), (FilePoint{691000.123456789, 1, 2}));
}

TEST(ReadPly, PassesOverWhatItDoesNotNeed) {
    const std::string header = "ply\r\nformat binary_little_endian 1.0\r\nobj_info none\r\n"
                               "element thing 2\r\nproperty uchar a\r\n"
                               "property list ushort double b\r\nproperty int16 c\r\n"
                               "element none 5\r\nelement vertex 1\r\nproperty uchar red\r\n"
                               "property uint8 x\r\nproperty char y\r\nproperty list uchar uchar "
                               "more\r\nproperty uchar z\r\nend_header\r\n";
    const std::string row = std::string("a") + std::string("\2\0", 2) + std::string(16, 'b') + "cc";
    const std::string vertex = "r\x09\xFF\2mm\x07";
    EXPECT_EQ(Read(header + row + row + vertex).positions.at(0), (FilePoint{9, -1, 7}));
    EXPECT_TRUE(Holds(Refusal(header + row + row.substr(1)), "truncated"));
}

TEST(ReadPly, IsNotFooledByHugeCounts) {
    const std::string start = "ply\nformat binary_little_endian 1.0\nelement vertex ";
    const std::string end = "\nproperty double x\nproperty double y\nend_header\n0123456789abcdef";
    EXPECT_NO_THROW(Read(start + "1" + end));
    EXPECT_TRUE(Holds(Refusal(start + "1152921504606846976" + end), "truncated"));
    EXPECT_TRUE(Holds(Refusal(start + "18446744073709551615" + end), "truncated"));
    EXPECT_TRUE(Holds(Refusal("ply\nformat ascii 1.0\nelement vertex 18446744073709551615\n"
                              "property float x\nend_header\n1 2 3\n"),
                      "truncated"));
    EXPECT_TRUE(Holds(Refusal(Text(kVertices + kFaces, kPlaces + "1e30 0 1 2\n")), "truncated"));
}

TEST(ReadPly, NamesTheLineOfAHeaderThatItDoesNotKnow) {
    EXPECT_EQ(Refusal("ply\nformat ascii 1.0\nelement vertex many\nend_header\n"),
              "a.ply: cannot read the model: line 3 of its header is invalid");
    EXPECT_TRUE(Holds(Refusal("ply\nformat ascii 1.0\nelement v 9\nproperty quad x\nend_header\n"),
                      "line 4"));
    EXPECT_TRUE(Holds(Refusal("ply\nformat ascii 1.0\nproperty float x\nend_header\n"), "line 3"));
    EXPECT_TRUE(Holds(Refusal("ply\nformat morse 1.0\nend_header\n"), "line 2"));
    EXPECT_TRUE(Holds(Refusal("ply\nformat ascii 1.0\nelement f 1\nproperty list float int i\n"
                              "end_header\n"),
                      "line 4"));
}

TEST(ReadPly, NamesAWordThatIsNoNumber) {
    EXPECT_EQ(Refusal(Text(kVertices + kFaces, "0 zero 0\n")),
              "a.ply: cannot read the model: line 11: 'zero' is not a number");
}

TEST(ReadPly, CutsPolygonsAndCountsWhatIsSmaller) {
    const FileModel model =
        Read(Text(kVertices + "element face 3\nproperty list uchar int vertex_index\n",
                  kPlaces + "4 0 1 2 3\n2 0 1\n0\n"));
    EXPECT_EQ(model.objects[0].corners, (Indices{0, 1, 2, 0, 2, 3}));
    EXPECT_EQ(model.cutPolygons, 1U);
    EXPECT_EQ(model.leftOutPolygons, 2U);
}

TEST(ReadPly, ReadsFacesBeforeTheirVertices) {
    const FileModel model = Read(Text(kFaces + kVertices, "4 0 1 2 3\n" + kPlaces));
    EXPECT_EQ(model.objects[0].corners, (Indices{0, 1, 2, 0, 2, 3}));
}

TEST(ReadPly, ReadsStripsWithTheirTurns) {
    const FileModel model =
        Read(Text(kVertices + "element tristrips 1\nproperty list int int vertex_indices\n",
                  kPlaces + "9 0 1 2 3 -1 0 2 3 -1\n"));
    EXPECT_EQ(model.objects[0].corners, (Indices{0, 1, 2, 2, 1, 3, 0, 2, 3}));
}

TEST(ReadPly, KeepsIndicesOfNoVertexAsSuch) {
    const FileModel model = Read(Text(kVertices + kFaces, kPlaces + "5 0 -1 9 1.5 1e12\n"));
    const Indices& corners = model.objects[0].corners;
    ASSERT_EQ(corners.size(), 9U);
    for (const std::uint32_t corner : corners) {
        EXPECT_TRUE(corner == 0 || corner == 9 || corner == kNoIndex) << corner;
    }
}

TEST(ReadPly, ReadsNormalsWhereAllThreeAreThere) {
    const std::string start = "element vertex 3\nproperty float x\nproperty float y\n"
                              "property float z\nproperty float nx\nproperty float ny\n";
    const std::string faces = "3 0 1 2\n";
    const FileModel with = Read(Text(start + "property float nz\n" + kFaces,
                                     "0 0 0 0 0 1\n1 0 0 0 0.5 1\n0 1 0 0 0 1\n" + faces));
    ASSERT_EQ(with.objects[0].normals, (Indices{0, 1, 2}));
    EXPECT_EQ(with.normals[1], Wm4::Vector3<float>(0, 0.5F, 1));
    const FileModel without =
        Read(Text(start + kFaces, "0 0 0 0 0\n1 0 0 0 0\n0 1 0 0 0\n" + faces));
    EXPECT_TRUE(without.objects[0].normals.empty());
}

} // namespace
