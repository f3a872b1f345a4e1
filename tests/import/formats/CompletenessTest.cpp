// Files cut at every byte.
#include "import/formats/Completeness.h"

#include "ModelText.h"
#include "ShapeBuilders.h"
#include "import/files/MappedFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

using tool_test::FailureOf;
using tool_test::Holds;
using tool_test::MeshData;
using tool_test::TemporaryFolder;

MeshData Cube() {
    return test_support::Box({-1, -1, -1}, {1, 1, 1});
}

void RequireCompleteFile(const std::string& path) {
    kxcontour::RequireComplete(kxcontour::MappedFile(path).bytes(), path);
}

void ExpectComplete(const TemporaryFolder& folder, const std::string& bytes) {
    EXPECT_NO_THROW(RequireCompleteFile(folder.write("model", bytes)));
}

std::string Refusal(const TemporaryFolder& folder, const std::string& bytes) {
    const std::string path = folder.write("model", bytes);
    return FailureOf<kxdrawing::CannotRead>([&] { RequireCompleteFile(path); });
}

TEST(RequireComplete, WantsTheEndOfStlText) {
    const TemporaryFolder folder;
    const std::string bytes = tool_test::StlText(Cube());
    ExpectComplete(folder, bytes);
    ExpectComplete(folder, bytes + "\r\n  \n");
    const std::size_t lastLine = bytes.rfind("endsolid");
    for (std::size_t size = 5; size < lastLine; size += 7) {
        EXPECT_TRUE(Holds(Refusal(folder, bytes.substr(0, size)), "truncated")) << size;
    }
}

TEST(RequireComplete, TakesNoBinaryStlForText) {
    const TemporaryFolder folder;
    std::string bytes = tool_test::StlBytes(Cube());
    bytes.replace(0, 5, "solid");
    ExpectComplete(folder, bytes);
}

TEST(RequireComplete, WantsTheEndOfStepFiles) {
    const TemporaryFolder folder;
    ExpectComplete(folder, "ISO-10303-21;\nHEADER;\nENDSEC;\nEND-ISO-10303-21;\r\n");
    EXPECT_TRUE(Holds(Refusal(folder, "ISO-10303-21;\nHEADER;\nENDSEC;\n"), "truncated"));
    EXPECT_TRUE(Holds(Refusal(folder, "ISO-10303-21;\nEND-ISO-10303-21"), "truncated"));
}

TEST(RequireComplete, LetsOtherFormatsPass) {
    const TemporaryFolder folder;
    ExpectComplete(folder, tool_test::ObjText(Cube()));
    ExpectComplete(folder, "any text");
    ExpectComplete(folder, "p");
}

TEST(RequireComplete, SaysWhatIsWrongWithAPath) {
    const TemporaryFolder folder;
    const auto refusal = [](const std::string& path) {
        std::string message = FailureOf<kxdrawing::CannotRead>([&] { RequireCompleteFile(path); });
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
