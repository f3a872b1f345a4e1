// Messages between the importing process and the tool: whole, spoiled and made up.
#include "import/process/ModelMessage.h"

#include "ModelText.h"
#include "ShapeBuilders.h"
#include "import/ModelInfo.h"
#include "import/process/SanitizedBuild.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

using kxcontour::BadMessage;
using kxcontour::Model;
using kxcontour::PackModel;
using kxcontour::UnpackModel;
using test_support::Random;

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
    const Model received = UnpackModel(PackModel(model));
    EXPECT_EQ(received.objects, model.objects);
    EXPECT_EQ(received.format, model.format);
    EXPECT_EQ(received.refusedFile, model.refusedFile);
    EXPECT_EQ(received.floatStep, model.floatStep);
    EXPECT_EQ(PackModel(received), PackModel(model));
}

TEST(ModelMessage, FollowsTheSizesOfOpenedFiles) {
    const std::string message =
        kxcontour::PackOpened(12) + kxcontour::PackOpened(30) + PackModel(SampleModel());
    std::string_view rest = message;
    EXPECT_EQ(kxcontour::TakeOpened(rest), 12U);
    EXPECT_EQ(kxcontour::TakeOpened(rest), 30U);
    EXPECT_EQ(kxcontour::TakeOpened(rest), std::nullopt);
    EXPECT_EQ(UnpackModel(rest).placements.size(), 3U);
}

TEST(ModelMessage, HasNoPartOfASize) {
    const std::string message = kxcontour::PackOpened(12);
    for (std::size_t size = 0; size < message.size(); ++size) {
        std::string_view part = std::string_view(message).substr(0, size);
        EXPECT_EQ(kxcontour::TakeOpened(part), std::nullopt);
        EXPECT_EQ(part.size(), size);
    }
}

TEST(ModelMessage, HoldsAFailure) {
    const std::string message = kxcontour::PackFailure("what is wrong");
    EXPECT_EQ(tool_test::FailureOf<kxdrawing::CannotRead>([&] { UnpackModel(message); }),
              "what is wrong");
}

TEST(ModelMessage, HasNoOtherOutcome) {
    EXPECT_THROW(UnpackModel(kxcontour::PackFailure("")), BadMessage);
    EXPECT_THROW(UnpackModel("\x17"), BadMessage) << "an outcome that there is not";
    EXPECT_THROW(UnpackModel(""), BadMessage);
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
        EXPECT_THROW(UnpackModel(PackModel(model)), BadMessage) << one.what;
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

template <class T> std::string BytesOf(T value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

TEST(ModelMessage, TakesNoMemoryForWhatDoesNotCome) {
    if (kxcontour::kIsSanitized) {
        GTEST_SKIP() << "no limit of memory under sanitizers";
    }
    constexpr int kMany = std::numeric_limits<int>::max() - 1; // A multiple of three.
    const std::string none = BytesOf(std::size_t{0});
    const std::string oneShape = BytesOf(std::uint8_t{1}) + BytesOf(std::size_t{1});
    const std::string promises[] = {oneShape + BytesOf(kMany) + BytesOf(true),
                                    oneShape + BytesOf(0) + BytesOf(false) + BytesOf(kMany),
                                    BytesOf(std::uint8_t{1}) + none + BytesOf(~std::size_t{0}),
                                    BytesOf(std::uint8_t{1}) + none + none +
                                        BytesOf(std::size_t{1}) + BytesOf(std::size_t{1} << 40U)};
    for (const std::string& promise : promises) {
        const MemoryToSpare memory(rlim_t{256} << 20U);
        EXPECT_THROW(UnpackModel(promise), BadMessage);
    }
}

TEST(ModelMessage, HasNoTextThatIsLongerThanItsMessage) {
    const std::string texts = BytesOf(std::uint8_t{1}) + BytesOf(std::size_t{0}) +
                              BytesOf(std::size_t{0}) + BytesOf(std::size_t{1});
    EXPECT_THROW(UnpackModel(texts + BytesOf(std::size_t{4}) + "abc"), BadMessage);
    EXPECT_THROW(UnpackModel(texts + BytesOf(std::string().max_size()) + "abc"), BadMessage);
}

TEST(ModelMessage, HasNoFlagsButZeroAndOne) {
    const std::string shape = BytesOf(std::uint8_t{1}) + BytesOf(std::size_t{1}) + BytesOf(0);
    const std::string rest = BytesOf(0) + PackModel(Model()).substr(1 + sizeof(std::size_t));
    EXPECT_EQ(UnpackModel(shape + BytesOf(false) + rest).shapes.size(), 1U);
    EXPECT_EQ(UnpackModel(shape + BytesOf(true) + rest).shapes.size(), 1U);
    EXPECT_THROW(UnpackModel(shape + BytesOf(std::uint8_t{2}) + rest), BadMessage);
}

TEST(ModelMessage, HasNoNegativeCounts) {
    for (const int count : {-1, std::numeric_limits<int>::min()}) {
        EXPECT_THROW(UnpackModel(BytesOf(std::uint8_t{1}) + BytesOf(std::size_t{1}) +
                                 BytesOf(count) + BytesOf(false)),
                     BadMessage);
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
    const std::string message = PackModel(SampleModel());
    int models = 0;
    int refused = 0;
    constexpr std::uint64_t kTrials = 4000;
    for (std::uint64_t trial = 0; trial < kTrials; ++trial) {
        Random random(trial);
        try {
            Model model = UnpackModel(Spoiled(message, random));
            ++models;
            // The rest of the tool has to get along with it.
            kxcontour::Inspect("model", model);
        } catch (const kxdrawing::CannotRead& refusal) {
            EXPECT_STRNE(refusal.what(), "");
            ++refused;
        } catch (const BadMessage&) {
            ++refused;
        }
    }
    EXPECT_GT(models, 100);
    EXPECT_GT(refused, 1000);
}

} // namespace
