// Messages between the importing process and the tool: whole, spoiled and made up.
#include "import/ModelMessage.h"

#include "ModelText.h"
#include "ShapeBuilders.h"
#include "import/Confinement.h"
#include "import/ModelInfo.h"
#include "import/SanitizedBuild.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

using kxcontour::ExitCode;
using kxcontour::Failure;
using kxcontour::Model;
using kxcontour::PipeEnded;
using kxcontour::PipeReader;
using kxcontour::PipeSpoiled;
using kxcontour::PipeWriter;
using test_support::Random;

/// The bytes that a sender writes.
std::string MessageOf(const std::function<void(PipeWriter&)>& send) {
    const int file = ::memfd_create("message", MFD_CLOEXEC);
    EXPECT_GE(file, 0);
    {
        PipeWriter pipe(::dup(file));
        send(pipe);
        EXPECT_TRUE(pipe.flush());
    }
    std::string bytes(static_cast<std::size_t>(::lseek(file, 0, SEEK_END)), '\0');
    EXPECT_EQ(::pread(file, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    ::close(file);
    return bytes;
}

std::string MessageOf(const Model& model) {
    return MessageOf([&](PipeWriter& pipe) { kxcontour::SendModel(pipe, model); });
}

/// What is received of a message.
Model Receive(const std::string& message) {
    const int file = ::memfd_create("message", MFD_CLOEXEC);
    EXPECT_EQ(::write(file, message.data(), message.size()), static_cast<ssize_t>(message.size()));
    ::lseek(file, 0, SEEK_SET);
    PipeReader pipe(file);
    return kxcontour::ReceiveModel(pipe, [](std::uint64_t) {});
}

/// Two shapes, with and without normals, in three places.
Model SampleModel() {
    const test_support::MeshData box = test_support::Box({0, 0, 0}, {1, 2, 3});
    const test_support::MeshData ball = test_support::Sphere({0, 0, 0}, 1.0F, 6, 4);
    Model model = tool_test::MakeModel(
        {tool_test::MakeShape(box),
         tool_test::MakeShape(
             ball, std::vector<test_support::Point>(ball.positions.size(), {0.0F, 0.0F, 1.0F}))});
    model.placements.push_back({0, 1, tool_test::ScaleAndMove(1, 1, 1, 5, 0, 0)});
    model.format = "a format";
    model.refusedFile = "why";
    model.millimetresPerUnit = 25.4;
    model.unitStated = true;
    model.floatStep = 0.5;
    model.cutPolygons = 7;
    return model;
}

TEST(ModelMessage, HoldsTheWholeModel) {
    const Model model = SampleModel();
    const Model received = Receive(MessageOf(model));
    EXPECT_EQ(received.objects, model.objects);
    EXPECT_EQ(received.format, model.format);
    EXPECT_EQ(received.refusedFile, model.refusedFile);
    EXPECT_EQ(received.floatStep, model.floatStep);
    EXPECT_EQ(MessageOf(received), MessageOf(model));
}

TEST(ModelMessage, TellsOfFilesBeforeTheModel) {
    const std::string message = MessageOf([](PipeWriter& pipe) {
        kxcontour::SendOpened(pipe, 12);
        kxcontour::SendOpened(pipe, 30);
        kxcontour::SendModel(pipe, SampleModel());
    });
    const int file = ::memfd_create("message", MFD_CLOEXEC);
    ASSERT_EQ(::write(file, message.data(), message.size()), static_cast<ssize_t>(message.size()));
    ::lseek(file, 0, SEEK_SET);
    PipeReader pipe(file);
    std::vector<std::uint64_t> sizes;
    const Model model =
        kxcontour::ReceiveModel(pipe, [&](std::uint64_t size) { sizes.push_back(size); });
    EXPECT_EQ(sizes, (std::vector<std::uint64_t>{12, 30}));
    EXPECT_EQ(model.placements.size(), 3U);
}

TEST(ModelMessage, HoldsAFailure) {
    const std::string message = MessageOf([](PipeWriter& pipe) {
        kxcontour::SendFailure(pipe, Failure(ExitCode::Unreadable, "what is wrong"));
    });
    EXPECT_EQ(tool_test::FailureOf(ExitCode::Unreadable, [&] { Receive(message); }),
              "what is wrong");
}

TEST(ModelMessage, HasNoOtherFailures) {
    for (const ExitCode code : {ExitCode::Drawn, ExitCode::Internal, static_cast<ExitCode>(77)}) {
        const std::string message = MessageOf(
            [&](PipeWriter& pipe) { kxcontour::SendFailure(pipe, Failure(code, "wrong")); });
        EXPECT_THROW(Receive(message), PipeSpoiled) << static_cast<int>(code);
    }
    EXPECT_THROW(Receive("\x17"), PipeSpoiled) << "an outcome that there is not";
}

/// A sample model with one thing about it that no importer sends.
struct WrongModel {
    const char* what;
    std::function<void(Model&)> spoil;
};

TEST(ModelMessage, IsRefusedForNumbersThatCannotBe) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::nan("");
    const std::vector<WrongModel> wrong{
        {"shape", [](Model& m) { m.placements[1].shape = 2; }},
        {"object", [](Model& m) { m.placements[2].object = 2; }},
        {"far shape", [](Model& m) { m.placements[0].shape = std::size_t{1} << 63U; }},
        {"unit 0", [](Model& m) { m.millimetresPerUnit = 0.0; }},
        {"unit nan", [&](Model& m) { m.millimetresPerUnit = nan; }},
        {"unit inf", [&](Model& m) { m.millimetresPerUnit = infinity; }},
        {"step", [](Model& m) { m.floatStep = -1.0; }},
        {"step nan", [&](Model& m) { m.coordinateStep = nan; }},
        {"axes", [&](Model& m) { m.fileToWorld[1][2] = nan; }},
        {"half a triangle", [](Model& m) { m.shapes[0].triangles->SetIndexQuantity(35); }},
        {"format", [](Model& m) { m.format.assign(70000, 'x'); }},
        {"reason", [](Model& m) { m.refusedFile.assign(70000, 'x'); }}};
    for (const WrongModel& one : wrong) {
        Model model = SampleModel();
        one.spoil(model);
        EXPECT_THROW(Receive(MessageOf(model)), PipeSpoiled) << one.what;
    }
}

/// Allows this process so many bytes more of address space while it lives.
class MemoryToSpare {
public:
    explicit MemoryToSpare(rlim_t bytes) {
        ::getrlimit(RLIMIT_AS, &before_);
        std::FILE* const file = std::fopen("/proc/self/statm", "re");
        unsigned long pages = 0;
        EXPECT_EQ(std::fscanf(file, "%lu", &pages), 1);
        std::fclose(file);
        rlimit less = before_;
        less.rlim_cur = rlim_t{pages} * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + bytes;
        ::setrlimit(RLIMIT_AS, &less);
    }
    ~MemoryToSpare() { ::setrlimit(RLIMIT_AS, &before_); }
    MemoryToSpare(const MemoryToSpare&) = delete;
    MemoryToSpare& operator=(const MemoryToSpare&) = delete;

private:
    rlimit before_{};
};

TEST(ModelMessage, TakesNoMemoryForWhatDoesNotCome) {
    if (kxcontour::kIsSanitized) {
        GTEST_SKIP() << "no limit of memory under sanitizers";
    }
    constexpr int kMany = std::numeric_limits<int>::max() - 1; // A multiple of three.
    const auto header = [](PipeWriter& pipe, int vertices, bool normals) {
        pipe.value(std::uint8_t{1});
        pipe.value(std::size_t{1});
        pipe.value(vertices);
        pipe.value(normals);
    };
    const std::vector<std::function<void(PipeWriter&)>> promises{
        [&](PipeWriter& pipe) { header(pipe, kMany, true); },
        [&](PipeWriter& pipe) {
            header(pipe, 0, false);
            pipe.value(kMany);
        },
        [&](PipeWriter& pipe) {
            pipe.value(std::uint8_t{1});
            pipe.value(std::size_t{0});
            pipe.value(~std::size_t{0});
        },
        [&](PipeWriter& pipe) {
            pipe.value(std::uint8_t{1});
            pipe.value(std::size_t{0});
            pipe.value(std::size_t{0});
            pipe.value(std::size_t{1});
            pipe.value(std::size_t{1} << 40U);
        }};
    for (const auto& promise : promises) {
        const std::string message = MessageOf(promise);
        const MemoryToSpare memory(rlim_t{256} << 20U);
        EXPECT_THROW(Receive(message), PipeEnded);
    }
}

TEST(ModelMessage, HasNoNegativeCounts) {
    for (const int count : {-1, std::numeric_limits<int>::min()}) {
        EXPECT_THROW(Receive(MessageOf([&](PipeWriter& pipe) {
                         pipe.value(std::uint8_t{1});
                         pipe.value(std::size_t{1});
                         pipe.value(count);
                         pipe.value(false);
                     })),
                     PipeSpoiled);
    }
}

/// A message with a few bytes that are others: any, or those of numbers that break sums and sizes.
std::string Spoiled(std::string message, Random& random) {
    constexpr std::uint64_t kStrange[] = {0,
                                          1,
                                          0x7fffffff,
                                          0x80000000,
                                          0xffffffff,
                                          ~std::uint64_t{0},
                                          std::uint64_t{1} << 40U,
                                          0x7ff0000000000000};
    const auto size = static_cast<int>(message.size());
    for (int changes = random.between(1, 4); changes > 0; --changes) {
        const auto at = static_cast<std::size_t>(random.below(size));
        const std::uint64_t value = random.percent(50) ? kStrange[random.below(8)] : random.next();
        const std::size_t bytes = std::size_t{1} << static_cast<unsigned int>(random.below(4));
        std::memcpy(message.data() + at, &value, std::min(bytes, message.size() - at));
    }
    if (random.percent(10)) {
        message.resize(static_cast<std::size_t>(random.below(size)));
    }
    return message;
}

TEST(ModelMessage, IsAModelOrRefusedHoweverItIsSpoiled) {
    const std::string message = MessageOf(SampleModel());
    int models = 0;
    int refused = 0;
    constexpr std::uint64_t kTrials = 4000;
    for (std::uint64_t trial = 0; trial < kTrials; ++trial) {
        Random random(trial);
        try {
            Model model = Receive(Spoiled(message, random));
            ++models;
            // The rest of the tool has to get along with it.
            kxcontour::Inspect("model", model);
        } catch (const PipeSpoiled&) {
            ++refused;
        } catch (const PipeEnded&) {
            ++refused;
        }
    }
    EXPECT_GT(models, 100);
    EXPECT_GT(refused, 1000);
}

} // namespace
