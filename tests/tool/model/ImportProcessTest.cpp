// Models through a pipe, and importers that die.
#include "model/ImportProcess.h"

#include "ModelText.h"
#include "ShapeBuilders.h"
#include "model/ModelReader.h"
#include "model/Pipe.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using kxcontour::ExitCode;
using kxcontour::ImportModel;
using kxcontour::Model;
using kxcontour::PipeEnded;
using kxcontour::PipeReader;
using kxcontour::PipeWriter;
using tool_test::FailureOf;
using tool_test::Holds;
using tool_test::TemporaryFolder;

void ExpectSameShape(const kxcontour::Shape& a, const kxcontour::Shape& b) {
    ASSERT_EQ(a.vertices->GetVertexQuantity(), b.vertices->GetVertexQuantity());
    ASSERT_EQ(a.triangles->GetIndexQuantity(), b.triangles->GetIndexQuantity());
    EXPECT_EQ(a.vertices->GetAttributes().GetNormalChannels(),
              b.vertices->GetAttributes().GetNormalChannels());
    const kx::kxVertexBuffer& verticesOfA = *a.vertices;
    const kx::kxVertexBuffer& verticesOfB = *b.vertices;
    int different = 0;
    for (int i = 0; i < verticesOfA.GetVertexQuantity(); ++i) {
        different += verticesOfA.Position3(i) == verticesOfB.Position3(i) ? 0 : 1;
        different += verticesOfA.Normal3(i) == verticesOfB.Normal3(i) ? 0 : 1;
    }
    for (int i = 0; i < a.triangles->GetIndexQuantity(); ++i) {
        different += a.triangles->GetData()[i] == b.triangles->GetData()[i] ? 0 : 1;
    }
    EXPECT_EQ(different, 0);
}

TEST(ImportModel, GivesTheModelThatReadingGives) {
    for (const char* name :
         {"/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb", "/STL/Spider_binary.stl"}) {
        const std::string path = std::string(ASSIMP_MODELS) + name;
        const Model read = kxcontour::ReadModel(path);
        const Model imported = ImportModel(path);
        ASSERT_EQ(imported.shapes.size(), read.shapes.size());
        for (std::size_t i = 0; i < read.shapes.size(); ++i) {
            ExpectSameShape(imported.shapes[i], read.shapes[i]);
        }
        ASSERT_EQ(imported.placements.size(), read.placements.size());
        for (std::size_t i = 0; i < read.placements.size(); ++i) {
            EXPECT_EQ(imported.placements[i].shape, read.placements[i].shape);
            EXPECT_TRUE(imported.placements[i].world == read.placements[i].world);
        }
    }
}

TEST(ImportModel, GivesTheFailureThatReadingGives) {
    const TemporaryFolder folder;
    for (const std::string& path :
         {folder.path("none.obj"), folder.write("a.glb", "glTF"), folder.write("empty.ply", "")}) {
        const std::string read =
            FailureOf(ExitCode::Unreadable, [&] { kxcontour::ReadModel(path); });
        EXPECT_EQ(FailureOf(ExitCode::Unreadable, [&] { ImportModel(path); }), read);
    }
}

TEST(ImportModel, SurvivesImportersThatCrash) {
    // A file on which the packaged importer crashes; one that reads it would make a model of it.
    const std::string path = ASSIMP_MODELS "/RAW/WithColor.raw";
    try {
        EXPECT_FALSE(ImportModel(path).placements.empty());
    } catch (const kxcontour::Failure& failure) {
        EXPECT_EQ(failure.code(), ExitCode::Unreadable);
        EXPECT_TRUE(Holds(failure.what(), path + ": cannot read the model: ")) << failure.what();
    }
}

TEST(ImportModel, LeavesNoChildBehind) {
    const TemporaryFolder folder;
    const std::string path =
        folder.write("a.stl", tool_test::StlBytes(test_support::Box({0, 0, 0}, {1, 1, 1})));
    ImportModel(path);
    FailureOf(ExitCode::Unreadable, [&] { ImportModel(folder.path("none.obj")); });
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

TEST(Pipe, PassesValuesOfAnyLengthInOrder) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    std::vector<unsigned int> sent(1000000);
    for (std::size_t i = 0; i < sent.size(); ++i) {
        sent[i] = static_cast<unsigned int>(i * 2654435761U);
    }
    bool written = false;
    std::thread writer([&] {
        PipeWriter pipe(ends[1]);
        pipe.value(true);
        pipe.bytes(sent.data(), sent.size() * sizeof sent[0]);
        pipe.value(42.5);
        written = pipe.flush();
    });
    PipeReader pipe(ends[0]);
    std::vector<unsigned int> received(sent.size());
    EXPECT_TRUE(pipe.value<bool>());
    pipe.bytes(received.data(), received.size() * sizeof received[0]);
    EXPECT_EQ(pipe.value<double>(), 42.5);
    EXPECT_THROW(pipe.value<char>(), PipeEnded);
    writer.join();
    EXPECT_TRUE(written);
    EXPECT_EQ(received, sent);
}

TEST(Pipe, SaysWhenAMessageIsNotWhole) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    {
        PipeWriter pipe(ends[1]);
        pipe.value('x');
        EXPECT_TRUE(pipe.flush());
    }
    PipeReader pipe(ends[0]);
    EXPECT_THROW(pipe.value<int>(), PipeEnded);
}

} // namespace
