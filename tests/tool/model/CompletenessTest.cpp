// Files cut at every byte.
#include "model/Completeness.h"

#include "ModelText.h"
#include "ShapeBuilders.h"
#include "model/PlyCheck.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

using kxcontour::ExitCode;
using kxcontour::IsCompletePly;
using kxcontour::RequireCompleteFile;
using tool_test::FailureOf;
using tool_test::Holds;
using tool_test::MeshData;
using tool_test::TemporaryFolder;

MeshData Cube() {
    return test_support::Box({-1, -1, -1}, {1, 1, 1});
}

TEST(IsCompletePly, SeesEveryCutInABinaryFile) {
    for (const bool bigEndian : {false, true}) {
        const std::string bytes = tool_test::PlyBytes(Cube(), bigEndian);
        EXPECT_TRUE(IsCompletePly(bytes));
        EXPECT_TRUE(IsCompletePly(bytes + "more"));
        for (std::size_t size = 4; size < bytes.size(); ++size) {
            ASSERT_FALSE(IsCompletePly(bytes.substr(0, size))) << size << " of " << bytes.size();
        }
    }
}

TEST(IsCompletePly, SeesEveryCutBeforeTheLastWordOfATextFile) {
    const std::string bytes = tool_test::PlyText(Cube());
    EXPECT_TRUE(IsCompletePly(bytes));
    const std::size_t lastWord = bytes.find_last_of(' ');
    for (std::size_t size = 4; size <= lastWord; ++size) {
        ASSERT_FALSE(IsCompletePly(bytes.substr(0, size))) << size << " of " << bytes.size();
    }
}

TEST(IsCompletePly, WalksPropertiesOfAllKinds) {
    const std::string header = "ply\r\nformat binary_little_endian 1.0\r\nelement thing 2\r\n"
                               "property uchar a\r\nproperty list ushort double b\r\n"
                               "property int16 c\r\nelement none 5\r\nend_header\r\n";
    const std::string row = std::string("a") + std::string("\2\0", 2) + std::string(16, 'b') + "cc";
    EXPECT_TRUE(IsCompletePly(header + row + row));
    EXPECT_FALSE(IsCompletePly(header + row + row.substr(1)));
}

TEST(IsCompletePly, IsNotFooledByHugeCounts) {
    const std::string start = "ply\nformat binary_little_endian 1.0\nelement vertex ";
    const std::string end = "\nproperty double x\nproperty double y\nend_header\n0123456789abcdef";
    EXPECT_TRUE(IsCompletePly(start + "1" + end));
    EXPECT_FALSE(IsCompletePly(start + "1152921504606846976" + end)) << "16 times that is 2^64";
    EXPECT_FALSE(IsCompletePly(start + "18446744073709551615" + end));
    EXPECT_FALSE(IsCompletePly("ply\nformat ascii 1.0\nelement vertex 18446744073709551615\n"
                               "property float x\nend_header\n1 2 3\n"));
}

TEST(IsCompletePly, LeavesHeadersItDoesNotKnowToTheImporter) {
    EXPECT_TRUE(IsCompletePly("ply\nformat ascii 1.0\nelement vertex many\nend_header\n"));
    EXPECT_TRUE(IsCompletePly("ply\nformat ascii 1.0\nelement v 9\nproperty quad x\nend_header\n"));
    EXPECT_TRUE(IsCompletePly("ply\nformat ascii 1.0\nproperty float x\nend_header\n"));
}

void ExpectComplete(const TemporaryFolder& folder, const std::string& bytes) {
    EXPECT_NO_THROW(RequireCompleteFile(folder.write("model", bytes)));
}

std::string Refusal(const TemporaryFolder& folder, const std::string& bytes) {
    const std::string path = folder.write("model", bytes);
    return FailureOf(ExitCode::Unreadable, [&] { RequireCompleteFile(path); });
}

TEST(RequireCompleteFile, WantsTheEndOfStlText) {
    const TemporaryFolder folder;
    const std::string bytes = tool_test::StlText(Cube());
    ExpectComplete(folder, bytes);
    ExpectComplete(folder, bytes + "\r\n  \n");
    const std::size_t lastLine = bytes.rfind("endsolid");
    for (std::size_t size = 5; size < lastLine; size += 7) {
        EXPECT_TRUE(Holds(Refusal(folder, bytes.substr(0, size)), "cut short")) << size;
    }
}

TEST(RequireCompleteFile, TakesNoBinaryStlForText) {
    const TemporaryFolder folder;
    std::string bytes = tool_test::StlBytes(Cube());
    bytes.replace(0, 5, "solid");
    ExpectComplete(folder, bytes);
}

TEST(RequireCompleteFile, WantsTheEndOfStepFiles) {
    const TemporaryFolder folder;
    ExpectComplete(folder, "ISO-10303-21;\nHEADER;\nENDSEC;\nEND-ISO-10303-21;\r\n");
    EXPECT_TRUE(Holds(Refusal(folder, "ISO-10303-21;\nHEADER;\nENDSEC;\n"), "cut short"));
    EXPECT_TRUE(Holds(Refusal(folder, "ISO-10303-21;\nEND-ISO-10303-21"), "cut short"));
}

TEST(RequireCompleteFile, WantsAllOfAPlyFile) {
    const TemporaryFolder folder;
    const std::string bytes = tool_test::PlyBytes(Cube(), false);
    ExpectComplete(folder, bytes);
    EXPECT_TRUE(Holds(Refusal(folder, bytes.substr(0, bytes.size() - 1)), "cut short"));
}

TEST(RequireCompleteFile, LetsOtherFormatsPass) {
    const TemporaryFolder folder;
    ExpectComplete(folder, tool_test::ObjText(Cube()));
    ExpectComplete(folder, "any text");
    ExpectComplete(folder, "p");
}

TEST(RequireCompleteFile, SaysWhatIsWrongWithAPath) {
    const TemporaryFolder folder;
    const auto refusal = [](const std::string& path) {
        std::string message = FailureOf(ExitCode::Unreadable, [&] { RequireCompleteFile(path); });
        EXPECT_TRUE(Holds(message, path + ": ")) << message;
        return message;
    };
    EXPECT_TRUE(Holds(Refusal(folder, ""), "is empty"));
    EXPECT_TRUE(Holds(refusal(folder.path("nothing.obj")), "No such file"));
    EXPECT_TRUE(Holds(refusal(folder.path("")), "is a directory"));
    EXPECT_TRUE(Holds(refusal("/dev/null"), "is not a regular file"));
    std::filesystem::create_symlink("nowhere", folder.path("link.obj"));
    EXPECT_TRUE(Holds(refusal(folder.path("link.obj")), "No such file"));
}

} // namespace
