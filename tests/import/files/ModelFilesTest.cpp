// Which files a model may bring along.
#include "import/files/ModelFiles.h"

#include "ModelText.h"
#include "ShapeBuilders.h"
#include "import/ModelReader.h"
#include "import/importer/ImporterFiles.h"
#include "import/process/ImportProcess.h"

#include <assimp/IOStream.hpp>
#include <gtest/gtest.h>

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using kxcontour::ModelFiles;
using kxcontour::ModelRequest;
using tool_test::FailureOf;
using tool_test::FileRequest;
using tool_test::Holds;
using tool_test::TemporaryFolder;

const char* const kOutside =
    "it is outside the model's folder; --side-files FOLDER allows another folder";

/// A folder models/ with a model and some side files, beside a folder others/.
class SideFiles : public testing::Test {
protected:
    SideFiles() {
        fs::create_directories(folder_.path("models/parts"));
        fs::create_directories(folder_.path("others"));
        request_ = FileRequest(folder_.write("models/m.gltf", "model"));
        folder_.write("models/own.bin", "own");
        folder_.write("models/parts/part.bin", "part");
        folder_.write("others/other.bin", "other");
    }

    /// The bytes of a file by its path from the folder, or why there are none.
    std::string open(const std::string& path) const {
        ModelFiles files(request_, "");
        const std::optional<std::string_view> bytes = files.open(folder_.path(path));
        const std::string refusal = files.refusal();
        EXPECT_TRUE(!bytes || refusal.empty()) << refusal;
        const std::string start = "it refers to '" + folder_.path(path) + "', which is not read: ";
        EXPECT_TRUE(refusal.empty() || refusal.rfind(start, 0) == 0) << refusal;
        return bytes             ? std::string(*bytes)
               : refusal.empty() ? "none"
                                 : refusal.substr(std::min(start.size(), refusal.size()));
    }

    TemporaryFolder folder_;
    ModelRequest request_;
};

TEST_F(SideFiles, LieInTheFolderOfTheModelAndBelow) {
    EXPECT_EQ(open("models/own.bin"), "own");
    EXPECT_EQ(open("models/parts/part.bin"), "part");
    EXPECT_EQ(open("models/parts/../own.bin"), "own");
    EXPECT_EQ(open("models/../models/own.bin"), "own");
    EXPECT_EQ(open("models/m.gltf"), "model");
}

TEST_F(SideFiles, ElsewhereAreRefused) {
    EXPECT_EQ(open("others/other.bin"), kOutside);
    EXPECT_EQ(open("models/../others/other.bin"), kOutside);
    ModelFiles files(request_, "");
    EXPECT_FALSE(files.open("/etc/passwd").has_value());
    EXPECT_TRUE(Holds(files.refusal(), kOutside));
}

TEST_F(SideFiles, AreNotRefusedWhereThereAreNone) {
    EXPECT_EQ(open("models/none.bin"), "none");
    EXPECT_EQ(open("others/none.bin"), "none");
    EXPECT_EQ(open("others"), "none") << "a folder";
}

TEST_F(SideFiles, BehindLinksLieWhereTheLinksLead) {
    fs::create_symlink("own.bin", folder_.path("models/inside"));
    fs::create_symlink("../others/other.bin", folder_.path("models/outside"));
    fs::create_symlink("../others", folder_.path("models/folder"));
    fs::create_symlink("../models/own.bin", folder_.path("others/back"));
    EXPECT_EQ(open("models/inside"), "own");
    EXPECT_EQ(open("models/outside"), kOutside);
    EXPECT_EQ(open("models/folder/other.bin"), kOutside);
    EXPECT_EQ(open("others/back"), "own");
}

TEST_F(SideFiles, OfALinkedModelLieBesideTheLinkOrBesideTheModel) {
    fs::create_directories(folder_.path("links"));
    fs::create_symlink("../models/m.gltf", folder_.path("links/m.gltf"));
    folder_.write("links/own.bin", "of the link");
    request_ = FileRequest(folder_.path("links/m.gltf"));
    EXPECT_EQ(open("links/own.bin"), "of the link");
    EXPECT_EQ(open("models/own.bin"), "own");
    EXPECT_EQ(open("others/other.bin"), kOutside);
}

TEST_F(SideFiles, NextToAFolderWhoseNameBeginsAlikeAreRefused) {
    fs::create_directories(folder_.path("models2"));
    folder_.write("models2/a.bin", "a");
    EXPECT_EQ(open("models2/a.bin"), kOutside);
}

TEST_F(SideFiles, MayLieInOneFolderMore) {
    request_.rules.sideFiles = folder_.path("others");
    EXPECT_EQ(open("others/other.bin"), "other");
    EXPECT_EQ(open("models/own.bin"), "own");
    request_.rules.sideFiles = folder_.path("none");
    EXPECT_EQ(FailureOf<kxdrawing::CannotRead>([&] { open("models/own.bin"); }),
              folder_.path("none") + ": No such file or directory");
}

TEST_F(SideFiles, AreRegularFiles) {
    ASSERT_EQ(::mkfifo(folder_.path("models/pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", folder_.path("others/zero"));
    EXPECT_EQ(open("models/pipe"), "it is not a regular file");
    EXPECT_EQ(open("others/zero"), kOutside);
    request_.rules.sideFiles = "/dev";
    EXPECT_EQ(open("others/zero"), "it is not a regular file");
}

TEST_F(SideFiles, CountAmongTheInput) {
    request_.rules.largestInput = 8;
    EXPECT_EQ(open("models/own.bin"), "own") << "with the model of five bytes";
    EXPECT_EQ(open("models/parts/part.bin"),
              "with it, the input is larger than 8 B; --max-input SIZE allows more");
    ModelFiles files(request_, "");
    EXPECT_TRUE(files.open(folder_.path("models/own.bin")).has_value());
    EXPECT_TRUE(files.open(folder_.path("models/own.bin")).has_value()) << "counts once";
    request_.rules.largestInput = 4;
    EXPECT_EQ(FailureOf<kxdrawing::CannotRead>([&] { open("models/own.bin"); }),
              request_.path + ": is larger than 4 B; --max-input SIZE allows more");
}

TEST_F(SideFiles, OfStandardInputAreRefused) {
    request_ = FileRequest("-");
    const std::string path = folder_.path("models/own.bin");
    ModelFiles files(request_, "bytes");
    EXPECT_EQ(files.bytes(), "bytes");
    EXPECT_FALSE(files.open(path).has_value());
    EXPECT_EQ(files.refusal(),
              "it refers to '" + path +
                  "', which is not read: a model from standard input cannot refer to files");
}

TEST_F(SideFiles, AreForReading) {
    ModelFiles files(request_, "");
    kxcontour::ImporterFiles importer(files);
    const std::string path = folder_.path("models/own.bin");
    for (const char* mode : {"w", "wb", "a", "r+", "rb+"}) {
        EXPECT_EQ(importer.Open(path.c_str(), mode), nullptr) << mode;
    }
    EXPECT_EQ(tool_test::ReadBytes(path), "own");
}

TEST_F(SideFiles, AreReadAsTheCLibraryReads) {
    const std::string path = folder_.write("models/letters", "abcdefghij");
    ModelFiles files(request_, "");
    kxcontour::ImporterFiles importer(files);
    Assimp::IOStream* const stream = importer.Open(path.c_str(), "rb");
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    ASSERT_TRUE(stream != nullptr && file != nullptr);
    const auto read = [&](std::size_t size, std::size_t count) {
        std::string a(16, ' ');
        std::string b = a;
        EXPECT_EQ(stream->Read(a.data(), size, count), std::fread(b.data(), size, count, file));
        EXPECT_EQ(a, b);
        EXPECT_EQ(stream->Tell(), static_cast<std::size_t>(std::ftell(file)));
    };
    const auto seek = [&](long offset, aiOrigin origin, int whence) {
        EXPECT_EQ(stream->Seek(static_cast<std::size_t>(offset), origin) == aiReturn_SUCCESS,
                  std::fseek(file, offset, whence) == 0);
        read(3, 2);
    };
    read(1, 4);
    read(4, 3);
    read(1, 1);
    for (const long offset : {0L, 3L, -2L, 9L, 12L, -12L}) {
        seek(offset, aiOrigin_SET, SEEK_SET);
        seek(offset, aiOrigin_CUR, SEEK_CUR);
        seek(offset, aiOrigin_END, SEEK_END);
    }
    EXPECT_EQ(stream->FileSize(), 10U);
    std::fclose(file);
    importer.Close(stream);
}

/// A glTF file of a box whose buffer has an address of its own.
std::string BoxWithBuffer(const std::string& address) {
    return tool_test::GltfText(
        test_support::Box({0, 0, 0}, {1, 1, 1}), R"([{"mesh":0}])",
        std::string(R"([{"primitives":[)") + tool_test::kGltfPrimitive + "]}]", address);
}

TEST_F(SideFiles, OfModelsAreReadByImportersWhereTheyMayBe) {
    const std::string bytes = tool_test::GltfBuffer(test_support::Box({0, 0, 0}, {1, 1, 1}));
    folder_.write("models/box.bin", bytes);
    folder_.write("others/far.bin", bytes);
    ASSERT_EQ(::mkfifo(folder_.path("models/pipe.bin").c_str(), 0600), 0);
    fs::create_symlink("../others/far.bin", folder_.path("models/link.bin"));
    const auto refusal = [&](const std::string& address) {
        request_ = FileRequest(folder_.write("models/box.gltf", BoxWithBuffer(address)));
        return FailureOf<kxdrawing::CannotRead>([&] { ImportModel(request_); });
    };
    request_ = FileRequest(folder_.write("models/box.gltf", BoxWithBuffer("box.bin")));
    EXPECT_EQ(ImportModel(request_).placements.size(), 1U);
    EXPECT_TRUE(Holds(refusal("../others/far.bin"), kOutside));
    EXPECT_TRUE(Holds(refusal("link.bin"), kOutside));
    EXPECT_TRUE(Holds(refusal("../../../../../../../../etc/passwd"), kOutside));
    EXPECT_TRUE(Holds(refusal("pipe.bin"), "it is not a regular file"));
    folder_.write("models/box.gltf", BoxWithBuffer("../others/far.bin"));
    request_.rules.sideFiles = folder_.path("others");
    EXPECT_EQ(ImportModel(request_).placements.size(), 1U);
}

TEST_F(SideFiles, ThatModelsCanDoWithoutAreToldOf) {
    // By a name of no format, which leaves it to an importer that looks for materials.
    folder_.write("others/a.mtl", "newmtl a\n");
    request_ = FileRequest(folder_.write(
        "models/box", "mtllib ../others/a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"));
    const kxcontour::Model model = ImportModel(request_);
    EXPECT_EQ(model.placements.size(), 1U);
    EXPECT_TRUE(Holds(model.refusedFile, kOutside)) << model.refusedFile;
}

} // namespace
