// Models from child processes, and importers that die or do harm.
#include "import/process/ImportProcess.h"

#include "ModelText.h"
#include "ShapeBuilders.h"
#include "import/ModelReader.h"
#include "import/process/ModelMessage.h"
#include "import/process/SanitizedBuild.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <functional>
#include <sstream>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using kxcontour::ImportModel;
using kxcontour::Model;
using tool_test::FailureOf;
using tool_test::FileRequest;
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

void ExpectSameFacts(const Model& a, const Model& b) {
    EXPECT_EQ(a.objects, b.objects);
    EXPECT_EQ(a.format, b.format);
    EXPECT_EQ(a.millimetresPerUnit, b.millimetresPerUnit);
    EXPECT_EQ(a.unitStated, b.unitStated);
    EXPECT_TRUE(a.fileToWorld == b.fileToWorld);
    EXPECT_EQ(a.cutPolygons, b.cutPolygons);
    EXPECT_EQ(a.leftOutPolygons, b.leftOutPolygons);
}

TEST(ImportModel, GivesTheModelThatReadingGives) {
    for (const char* name :
         {"/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb", "/STL/Spider_binary.stl",
          "/FBX/box_orphant_embedded_texture.fbx", "/OFF/Cube.off", "/OBJ/testmixed.obj"}) {
        const std::string path = std::string(ASSIMP_MODELS) + name;
        const Model read = kxcontour::ReadModel(FileRequest(path));
        const Model imported = ImportModel(FileRequest(path));
        ASSERT_EQ(imported.shapes.size(), read.shapes.size());
        for (std::size_t i = 0; i < read.shapes.size(); ++i) {
            ExpectSameShape(imported.shapes[i], read.shapes[i]);
        }
        ASSERT_EQ(imported.placements.size(), read.placements.size());
        for (std::size_t i = 0; i < read.placements.size(); ++i) {
            EXPECT_EQ(imported.placements[i].shape, read.placements[i].shape);
            EXPECT_EQ(imported.placements[i].object, read.placements[i].object);
            EXPECT_TRUE(imported.placements[i].world == read.placements[i].world);
        }
        ExpectSameFacts(imported, read);
    }
}

TEST(ImportModel, GivesTheFailureThatReadingGives) {
    const TemporaryFolder folder;
    for (const std::string& path :
         {folder.path("none.obj"), folder.write("a.glb", "glTF"), folder.write("empty.ply", "")}) {
        const std::string read =
            FailureOf<kxdrawing::CannotRead>([&] { kxcontour::ReadModel(FileRequest(path)); });
        EXPECT_EQ(FailureOf<kxdrawing::CannotRead>([&] { ImportModel(FileRequest(path)); }), read);
    }
}

TEST(ImportModel, SurvivesImportersThatCrash) {
    // A file on which the packaged importer crashes; one that reads it would make a model of it.
    const std::string path = ASSIMP_MODELS "/RAW/WithColor.raw";
    try {
        EXPECT_FALSE(ImportModel(FileRequest(path)).placements.empty());
    } catch (const kxdrawing::CannotRead& failure) {
        EXPECT_TRUE(Holds(failure.what(), path + ": cannot read the model: ")) << failure.what();
    }
}

/// A file that is short to read, whatever the child makes of it.
std::string SmallFile(const TemporaryFolder& folder) {
    return folder.write("small.off", tool_test::OffText(test_support::Box({0, 0, 0}, {1, 1, 1})));
}

/// Why a model is refused when the child does other work than to read it.
std::string RefusalOfWork(const kxcontour::ModelRequest& request,
                          const std::function<void()>& work) {
    const auto other = [&](const kxcontour::ModelRequest&, kxcontour::ModelFiles&) {
        work();
        return Model();
    };
    const std::string message =
        FailureOf<kxdrawing::CannotRead>([&] { kxcontour::ImportModelBy(other, request); });
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
    const std::string start = request.path + ": cannot read the model: ";
    EXPECT_EQ(message.rfind(start, 0), 0U) << message;
    return message.substr(std::min(start.size(), message.size()));
}

TEST(ImportModel, EndsImportersThatWait) {
    const TemporaryFolder folder;
    kxcontour::ModelRequest request = FileRequest(SmallFile(folder));
    request.rules.time = std::chrono::milliseconds(250);
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(RefusalOfWork(request, [] { ::raise(SIGSTOP); }),
              "the importer took longer than 0.25 seconds; --read-limit SECONDS allows more");
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30));
}

TEST(ImportModel, EndsImportersThatWorkTooLong) {
    // One polygon of so many corners that cutting it into triangles takes minutes; by a name of no
    // format, which leaves it to the importers. Each megabyte of it has a second more.
    const TemporaryFolder folder;
    const std::string text = tool_test::CombObj(100000);
    kxcontour::ModelRequest request = FileRequest(folder.write("long", text));
    request.rules.time = std::chrono::milliseconds(100);
    const std::string message = FailureOf<kxdrawing::CannotRead>([&] { ImportModel(request); });
    const std::size_t milliseconds = 100 + text.size() / 1000;
    std::ostringstream limit;
    limit << static_cast<double>(milliseconds) / 1000.0;
    EXPECT_GT(text.size(), 1000000U);
    EXPECT_EQ(message, request.path + ": cannot read the model: the importer took longer than " +
                           limit.str() + " seconds; --read-limit SECONDS allows more");
}

TEST(ImportModel, TakesItsTimeWhereThereIsNoLimit) {
    const TemporaryFolder folder;
    kxcontour::ModelRequest request = FileRequest(SmallFile(folder));
    request.rules.time = std::chrono::milliseconds(0);
    EXPECT_EQ(ImportModel(request).placements.size(), 1U);
}

TEST(ImportModel, GivesSideFilesTimeAndMemoryAsItGivesTheModel) {
    // The limit of a few bytes is over long before the child has slept, that of the buffer is not.
    const TemporaryFolder folder;
    folder.write("large.bin", std::string(3000000, 'x'));
    kxcontour::ModelRequest request = FileRequest(SmallFile(folder));
    request.rules.time = std::chrono::milliseconds(300);
    const auto slow = [&](const kxcontour::ModelRequest&, kxcontour::ModelFiles& files) {
        EXPECT_TRUE(files.open(folder.path("large.bin")).has_value());
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1000);
        while (std::chrono::steady_clock::now() < end) {
        }
        return Model();
    };
    EXPECT_TRUE(kxcontour::ImportModelBy(slow, request).placements.empty());
}

TEST(ImportModel, StopsImportersThatTryWhatTheyMayNot) {
    const TemporaryFolder folder;
    const kxcontour::ModelRequest request = FileRequest(SmallFile(folder));
    if (RefusalOfWork(request, [] { ::_exit(::open("/", O_PATH | O_TMPFILE | O_RDWR)); }) !=
        "the importer ended without a message") {
        GTEST_SKIP() << "no filters of system calls here";
    }
    const std::string stopped = "the importer was stopped because it tried a forbidden operation; "
                                "the file may be malicious";
    EXPECT_EQ(RefusalOfWork(request, [] { ::socket(AF_INET, SOCK_STREAM, 0); }), stopped);
    EXPECT_EQ(RefusalOfWork(request, [] { ::kill(::getppid(), SIGTERM); }), stopped);
    EXPECT_EQ(RefusalOfWork(request, [] { ::unlink("none"); }), stopped);
    if (!kxcontour::kIsSanitized) {
        EXPECT_EQ(RefusalOfWork(request, [] { ::fork(); }), stopped);
    }
    EXPECT_EQ(RefusalOfWork(request,
                            [] {
                                const char* const none[] = {nullptr};
                                ::execve("/bin/true", const_cast<char* const*>(none),
                                         const_cast<char* const*>(none));
                            }),
              stopped);
}

TEST(ImportModel, LeavesImportersNoDescriptorOfTheParents) {
    const TemporaryFolder folder;
    const int secret = ::open(folder.write("secret", "secret").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(secret, 3);
    const auto look = [&](const kxcontour::ModelRequest&, kxcontour::ModelFiles&) {
        Model model;
        std::string text(6, ' ');
        for (int i = 3; i < 64; ++i) {
            if (::pread(i, text.data(), text.size(), 0) == 6 && text == "secret") {
                model.format = "has read it";
            }
        }
        return model;
    };
    const kxcontour::ModelRequest request = FileRequest(SmallFile(folder));
    EXPECT_EQ(kxcontour::ImportModelBy(look, request).format, "");
    ::close(secret);
}

TEST(ImportModel, RefusesWhatIsNoModel) {
    const TemporaryFolder folder;
    const kxcontour::ModelRequest request = FileRequest(SmallFile(folder));
    const std::string garbage(64, 'x');
    const auto spoil = [&] {
        for (int i = 3; i < 64; ++i) {
            if (::write(i, garbage.data(), garbage.size()) < 0) {
                continue;
            }
        }
    };
    EXPECT_EQ(RefusalOfWork(request, spoil),
              "the importer sent an invalid message; the file may be malicious");
}

TEST(ImportModel, EndsImportersThatSendNothingAndStay) {
    const TemporaryFolder folder;
    const kxcontour::ModelRequest request = FileRequest(SmallFile(folder));
    const auto closeAndStay = [] {
        for (int i = 0; i < 64; ++i) {
            ::close(i);
        }
        ::raise(SIGSTOP);
    };
    EXPECT_EQ(RefusalOfWork(request, closeAndStay),
              "the importer was killed, perhaps because memory ran out");
}

TEST(ImportModel, DoesNotCountWhatTheParentHasMapped) {
    if (kxcontour::kIsSanitized) {
        GTEST_SKIP() << "no limit of memory under sanitizers";
    }
    // As the arenas of many threads are: reserved, and not used.
    constexpr std::size_t kSize = std::size_t{64} << 30U;
    void* const reserved =
        ::mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(reserved, MAP_FAILED);
    const TemporaryFolder folder;
    EXPECT_EQ(ImportModel(FileRequest(SmallFile(folder))).placements.size(), 1U);
    ::munmap(reserved, kSize);
}

TEST(ImportModel, LimitsTheMemoryOfImporters) {
    if (kxcontour::kIsSanitized) {
        GTEST_SKIP() << "no limit of memory under sanitizers";
    }
    const TemporaryFolder folder;
    const kxcontour::ModelRequest request = FileRequest(SmallFile(folder));
    EXPECT_EQ(RefusalOfWork(request,
                            [] {
                                const std::vector<char> much(std::size_t{5} << 30U);
                                ::_exit(much[much.size() / 2]);
                            }),
              "it needs more memory than is available");
}

TEST(ImportModel, ReadsWhereStandardDescriptorsAreClosed) {
    const TemporaryFolder folder;
    const kxcontour::ModelRequest request = FileRequest(SmallFile(folder));
    const int input = ::dup(STDIN_FILENO);
    const int output = ::dup(STDOUT_FILENO);
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    std::size_t placements = 0;
    std::string failure;
    try {
        placements = ImportModel(request).placements.size();
    } catch (const std::exception& error) {
        failure = error.what();
    }
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::close(input);
    ::close(output);
    EXPECT_EQ(placements, 1U) << failure;
}

/// Has a file as standard input while it lives.
class StandardInput {
public:
    explicit StandardInput(const std::string& path) : before_(::dup(STDIN_FILENO)) {
        const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_GE(::dup2(file, STDIN_FILENO), 0);
        ::close(file);
    }
    ~StandardInput() {
        ::dup2(before_, STDIN_FILENO);
        ::close(before_);
    }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

private:
    int before_;
};

kxcontour::ModelRequest InputRequest(const std::string& format) {
    kxcontour::ModelRequest request = FileRequest("-");
    request.format = format;
    return request;
}

TEST(ImportModel, ReadsStandardInputAsItWouldReadTheFile) {
    const TemporaryFolder folder;
    const test_support::MeshData ball = test_support::Sphere({0, 0, 0}, 1.0F, 96, 64);
    const std::vector<std::pair<std::string, std::string>> files{
        {"stl", tool_test::StlBytes(ball)},
        {"STL", tool_test::StlText(ball)},
        {"ply", tool_test::PlyBytes(ball, true)},
        {"3mf", tool_test::Bytes3mf(tool_test::ModelOf3mf(ball, "unit=\"inch\""))},
        {"obj", tool_test::ObjText(ball)}};
    for (const auto& [format, bytes] : files) {
        const std::string path = folder.write("model." + format, bytes);
        const StandardInput input(path);
        const Model fromInput = ImportModel(InputRequest(format));
        const Model fromFile = ImportModel(FileRequest(path));
        ASSERT_EQ(fromInput.shapes.size(), 1U) << format;
        ExpectSameShape(fromInput.shapes[0], fromFile.shapes.at(0));
        ExpectSameFacts(fromInput, fromFile);
    }
}

TEST(ImportModel, SaysWhatIsWrongWithStandardInput) {
    const TemporaryFolder folder;
    const std::string ball = tool_test::StlText(test_support::Sphere({0, 0, 0}, 1.0F, 9, 9));
    const auto import = [&](const std::string& bytes, const std::string& format) {
        const StandardInput input(folder.write("input", bytes));
        ImportModel(InputRequest(format));
    };
    const auto bad = [&](const std::string& bytes, const std::string& format) {
        return FailureOf<kxdrawing::CannotRead>([&] { import(bytes, format); });
    };
    const auto unknown = [&](const std::string& format) {
        return FailureOf<kxdrawing::InvalidArgument>([&] { import(ball, format); });
    };
    EXPECT_EQ(bad("", "stl"), "standard input: is empty");
    EXPECT_EQ(bad(ball.substr(0, ball.size() / 2), "stl"),
              "standard input: is truncated or damaged: its end is missing");
    EXPECT_TRUE(Holds(bad("glTF", "glb"), "standard input: cannot read the model: "));
    const std::string misread = bad("<?xml version=\"1.0\"?><x>", "irrmesh");
    EXPECT_FALSE(Holds(misread, "$$$")) << misread;
    EXPECT_EQ(unknown("docx"), "standard input: --format docx is not a readable format");
    EXPECT_EQ(unknown(""), "standard input: needs --format, a file name ending such as stl");
    const StandardInput input(folder.path(""));
    EXPECT_EQ(FailureOf<kxdrawing::CannotRead>([&] { ImportModel(InputRequest("stl")); }),
              "standard input: Is a directory");
}

TEST(ImportModel, ReadsNoMoreOfStandardInputThanItMay) {
    const StandardInput input("/dev/zero");
    kxcontour::ModelRequest request = InputRequest("stl");
    request.rules.largestInput = 1000000;
    EXPECT_EQ(FailureOf<kxdrawing::CannotRead>([&] { ImportModel(request); }),
              "standard input: is larger than 1 MB; --max-input SIZE allows more");
}

TEST(ImportModel, ReadsStandardInputUpToItsLimit) {
    const TemporaryFolder folder;
    const std::string bytes = tool_test::StlBytes(test_support::Sphere({0, 0, 0}, 1.0F, 64, 64));
    kxcontour::ModelRequest request = InputRequest("stl");
    for (const std::size_t less : {0U, 1U}) {
        const StandardInput input(folder.write("ball.stl", bytes));
        request.rules.largestInput = bytes.size() - less;
        if (less == 0) {
            EXPECT_EQ(ImportModel(request).placements.size(), 1U);
        } else {
            FailureOf<kxdrawing::CannotRead>([&] { ImportModel(request); });
        }
    }
}

TEST(ImportModel, LeavesNoChildBehind) {
    const TemporaryFolder folder;
    const std::string path =
        folder.write("a.stl", tool_test::StlBytes(test_support::Box({0, 0, 0}, {1, 1, 1})));
    ImportModel(FileRequest(path));
    FailureOf<kxdrawing::CannotRead>([&] { ImportModel(FileRequest(folder.path("none.obj"))); });
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

/// Where a child finds the pipe to its parent: its only descriptor of a pipe.
int PipeToParent() {
    for (int i = 3; i < 64; ++i) {
        struct stat status {};
        if (::fstat(i, &status) == 0 && S_ISFIFO(status.st_mode)) {
            return i;
        }
    }
    return -1;
}

TEST(ImportModel, RefusesModelsThatAreCutShort) {
    const TemporaryFolder folder;
    const kxcontour::ModelRequest request = FileRequest(SmallFile(folder));
    const std::string half = kxcontour::PackModel(Model()).substr(0, 20);
    const auto sendHalf = [&](int status) {
        return [&half, status] {
            ::_exit(::write(PipeToParent(), half.data(), half.size()) < 0 ? 9 : status);
        };
    };
    EXPECT_EQ(RefusalOfWork(request, sendHalf(1)), "the importer ended without a message");
    EXPECT_EQ(RefusalOfWork(request, sendHalf(0)),
              "the importer sent an invalid message; the file may be malicious");
    EXPECT_EQ(RefusalOfWork(request,
                            [&] {
                                if (::write(PipeToParent(), half.data(), half.size()) < 0) {
                                    ::_exit(9);
                                }
                                std::signal(SIGSEGV, SIG_DFL);
                                ::raise(SIGSEGV);
                            }),
              "the importer crashed; the file may be damaged or truncated");
}

TEST(ImportModel, RefusesSizesThatNoInputHas) {
    const TemporaryFolder folder;
    kxcontour::ModelRequest request = FileRequest(SmallFile(folder));
    request.rules.largestInput = 1000000;
    const std::string opened = kxcontour::PackOpened(1000000);
    EXPECT_EQ(RefusalOfWork(request,
                            [&] {
                                if (::write(PipeToParent(), opened.data(), opened.size()) > 0) {
                                    ::raise(SIGSTOP);
                                }
                            }),
              "the importer sent an invalid message; the file may be malicious");
}

TEST(ImportModel, ReceivesLargeModelsInOrder) {
    const TemporaryFolder folder;
    const auto work = [](const kxcontour::ModelRequest&, kxcontour::ModelFiles&) {
        Model model;
        for (std::size_t i = 0; i < 400000; ++i) {
            model.objects.push_back(std::to_string(i * 2654435761U));
        }
        return model;
    };
    const Model model = kxcontour::ImportModelBy(work, FileRequest(SmallFile(folder)));
    ASSERT_EQ(model.objects.size(), 400000U);
    for (std::size_t i = 0; i < model.objects.size(); ++i) {
        ASSERT_EQ(model.objects[i], std::to_string(i * 2654435761U));
    }
}

} // namespace
