// Batches from end to end: the same drawings as single runs make, only what is needed on a second
// run, and what is left when something fails or is cancelled.
#include "DrawingRuns.h"
#include "import/process/SanitizedBuild.h"
#include "support/Scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using tool_test::ReadBytes;
using tool_test::RunIn;
using tool_test::RunResult;
using tool_test::Surroundings;
using tool_test::TemporaryFolder;
using tool_test::Words;

using Json = nlohmann::json;
/// What became of each output: "drawn", "up to date" or "failed".
using Results = std::map<std::string, std::string>;

const char* const kJobs = R"({
    "defaults": {"page": "A5", "margin": "5mm"},
    "jobs": [
        {"name": "balls", "model": ["ball.stl", "cube.obj"], "output": "balls-{view}.svg",
         "views": ["front", "top", "iso"]},
        {"model": "cube.obj", "output": "cube.pdf", "hidden": true},
        {"model": "cube.obj", "output": "layers.svg", "layers": "type", "hidden": true,
         "azimuth": 20, "elevation": 30},
        {"model": "ball.stl", "output": "ball.dxf", "style": {"all": {"width": "0.3mm"}}},
        {"model": "ball.stl", "output": "ball.json", "view": "left"}
    ]
})";

/// The single runs that make the same, one for each output.
const std::map<std::string, std::string> kSingleRuns{
    {"balls-front.svg", "ball.stl cube.obj --view front"},
    {"balls-top.svg", "ball.stl cube.obj --view top"},
    {"balls-iso.svg", "ball.stl cube.obj --view iso"},
    {"cube.pdf", "cube.obj --hidden"},
    {"layers.svg", "cube.obj --layers type --hidden --azimuth 20 --elevation 30"},
    {"ball.dxf", "ball.stl --style all.width=0.3mm"},
    {"ball.json", "ball.stl --view left"}};

/// A folder with two models and a job file of seven drawings.
class Batch : public testing::Test {
protected:
    Batch() {
        folder_.write("cube.obj", tool_test::ObjText(test_support::Box({-1, -1, -1}, {1, 1, 1})));
        folder_.write("ball.stl",
                      tool_test::StlBytes(test_support::Sphere({3, 0, 0}, 1.0F, 24, 12)));
        folder_.write("jobs.json", kJobs);
    }

    /// Runs the batch; the table as it is given to programs.
    Results run(const std::string& more = "", int code = 0) const {
        const RunResult run = RunIn(folder_, "batch jobs.json --json " + more);
        EXPECT_EQ(run.exitCode, code) << run.err;
        Results results;
        for (const Json& row : Json::parse(run.out)) {
            results[row["output"].get<std::string>()] = row["result"].get<std::string>();
        }
        return results;
    }

    /// The outputs that are drawn by a run, in the order of their names.
    std::vector<std::string> drawnBy(const std::string& more = "") const {
        std::vector<std::string> drawn;
        for (const auto& [output, result] : run(more)) {
            EXPECT_TRUE(result == "drawn" || result == "up to date") << output << ": " << result;
            if (result == "drawn") {
                drawn.push_back(output);
            }
        }
        return drawn;
    }

    void expectTheSameAsSingleRuns() const {
        for (const auto& [output, arguments] : kSingleRuns) {
            const RunResult single =
                RunIn(folder_, arguments + " --page A5 --margin 5mm -o single" +
                                   fs::path(output).extension().string());
            EXPECT_EQ(single.exitCode, 0) << single.err;
            EXPECT_EQ(ReadBytes(folder_.path(output)),
                      ReadBytes(folder_.path("single" + fs::path(output).extension().string())))
                << output;
        }
    }

    std::string path(const std::string& name) const { return folder_.path(name); }

    TemporaryFolder folder_;
};

std::vector<std::string> AllOutputs() {
    std::vector<std::string> names;
    names.reserve(kSingleRuns.size());
    for (const auto& [output, arguments] : kSingleRuns) {
        names.push_back(output);
    }
    return names;
}

TEST_F(Batch, DrawsTheSameBytesAsSingleRunsOverAnyNumberOfThreads) {
    EXPECT_EQ(drawnBy("--jobs 1"), AllOutputs());
    expectTheSameAsSingleRuns();
    EXPECT_EQ(drawnBy("--jobs 4 --force"), AllOutputs());
    expectTheSameAsSingleRuns();
}

TEST_F(Batch, EndsWithATableOnStandardOutput) {
    const RunResult first = RunIn(folder_, "batch jobs.json --jobs 1");
    EXPECT_EQ(first.err, "");
    EXPECT_TRUE(tool_test::Matches(first.out, "job * result * lines *seconds\n"
                                              "balls (front) * drawn *\nballs (top) * drawn *\n"
                                              "balls (iso) * drawn *\ncube.pdf * drawn *\n"
                                              "layers.svg * drawn *\nball.dxf * drawn *\n"
                                              "ball.json * drawn *\n"
                                              "7 drawn, 0 up to date, 0 failed\n"))
        << first.out;
    const RunResult second = RunIn(folder_, "batch jobs.json --jobs 1");
    EXPECT_NE(second.out.find("0 drawn, 7 up to date, 0 failed\n"), std::string::npos);
    EXPECT_EQ(RunIn(folder_, "batch jobs.json --force --quiet").out, "");
}

TEST_F(Batch, DrawsNothingTwice) {
    EXPECT_EQ(drawnBy(), AllOutputs());
    const auto before = tool_test::FilesIn(folder_);
    EXPECT_EQ(drawnBy(), std::vector<std::string>());
    EXPECT_EQ(tool_test::FilesIn(folder_), before);
}

TEST_F(Batch, DrawsAgainWhatAChangedModelIsIn) {
    drawnBy();
    folder_.write("ball.stl", tool_test::StlBytes(test_support::Sphere({3, 0, 0}, 1.5F, 24, 12)));
    EXPECT_EQ(drawnBy(), (std::vector<std::string>{"ball.dxf", "ball.json", "balls-front.svg",
                                                   "balls-iso.svg", "balls-top.svg"}));
    expectTheSameAsSingleRuns();
    // Only its time is another.
    fs::last_write_time(path("cube.obj"), fs::file_time_type::clock::now() + std::chrono::hours(1));
    EXPECT_EQ(drawnBy(), (std::vector<std::string>{"balls-front.svg", "balls-iso.svg",
                                                   "balls-top.svg", "cube.pdf", "layers.svg"}));
}

TEST_F(Batch, DrawsAgainWhatHasOtherOptions) {
    drawnBy();
    folder_.write("jobs.json", tool_test::Replaced(kJobs, "0.3mm", "0.4mm"));
    EXPECT_EQ(drawnBy(), std::vector<std::string>{"ball.dxf"});
    EXPECT_EQ(drawnBy(), std::vector<std::string>());
    // Looks and threads of the run do not matter, options of drawings on the command line do.
    EXPECT_EQ(drawnBy("--jobs 1 --timing"), std::vector<std::string>());
    EXPECT_EQ(drawnBy("--page A6"), AllOutputs());
}

TEST_F(Batch, DrawsAgainWhatIsGoneOrWasChanged) {
    drawnBy();
    fs::remove(path("cube.pdf"));
    folder_.write("layers.svg", "changed by hand");
    EXPECT_EQ(drawnBy(), (std::vector<std::string>{"cube.pdf", "layers.svg"}));
    expectTheSameAsSingleRuns();
    fs::remove(path("jobs.json.state"));
    EXPECT_EQ(drawnBy(), AllOutputs());
    folder_.write("jobs.json.state", "no notes at all");
    EXPECT_EQ(drawnBy(), AllOutputs());
    EXPECT_EQ(drawnBy("--force"), AllOutputs());
}

TEST_F(Batch, KeepsItsNotesWhereItIsTold) {
    EXPECT_EQ(drawnBy("--state notes"), AllOutputs());
    EXPECT_EQ(drawnBy("--state notes"), std::vector<std::string>());
    EXPECT_FALSE(fs::exists(path("jobs.json.state")));
    EXPECT_EQ(drawnBy(), AllOutputs());
}

TEST_F(Batch, GoesOnWhenADrawingFails) {
    folder_.write("jobs.json", R"({"jobs": [
        {"model": "cube.obj", "output": "first.svg"},
        {"name": "lost", "model": "none.obj", "output": "lost.svg"},
        {"model": "cube.obj", "output": "none/nowhere.svg"},
        {"model": "ball.stl", "output": "last.svg"}]})");
    const RunResult run = RunIn(folder_, "batch jobs.json --jobs 2");
    EXPECT_EQ(run.exitCode, 3) << "of the first that failed";
    // Two threads may tell of them in any order.
    for (const char* line :
         {"kxcontour: lost: none.obj: No such file or directory\n",
          "kxcontour: none/nowhere.svg: cannot write: there is no folder 'none'\n"}) {
        EXPECT_NE(run.err.find(line), std::string::npos) << run.err;
    }
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 2) << run.err;
    EXPECT_TRUE(tool_test::Matches(run.out, "job *\nfirst.svg * drawn *\nlost * failed *\n"
                                            "none/nowhere.svg * failed *\nlast.svg * drawn *\n"
                                            "2 drawn, 0 up to date, 2 failed\n"))
        << run.out;
    EXPECT_TRUE(fs::exists(path("first.svg")) && fs::exists(path("last.svg")));
    EXPECT_FALSE(fs::exists(path("lost.svg")));
    fs::create_directory(path("none"));
    const Results results = this->run("", 3);
    EXPECT_EQ(results, (Results{{"first.svg", "up to date"},
                                {"lost.svg", "failed"},
                                {"none/nowhere.svg", "drawn"},
                                {"last.svg", "up to date"}}));
}

/// How often anything is done to a file while the action runs: opened or closed.
template <class Action> std::size_t Visits(const std::string& path, const Action& action) {
    const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    EXPECT_GE(::inotify_add_watch(watch, path.c_str(), IN_OPEN | IN_CLOSE), 0);
    action();
    std::size_t events = 0;
    std::array<char, 65536> buffer{};
    for (ssize_t count = 0; (count = ::read(watch, buffer.data(), buffer.size())) > 0;) {
        events += static_cast<std::size_t>(count) / sizeof(inotify_event);
    }
    ::close(watch);
    return events;
}

TEST_F(Batch, ReadsEachModelOnceWhateverTheOrderOfItsJobs) {
    const auto visits = [&](const std::string& jobs) {
        folder_.write("jobs.json", R"({"jobs": [)" + jobs + "]}");
        return Visits(path("ball.stl"), [&] {
            EXPECT_EQ(RunIn(folder_, "batch jobs.json --jobs 1 --force").exitCode, 0);
        });
    };
    const auto job = [](const std::string& model, const std::string& output) {
        return R"({"model": ")" + model + R"(", "output": ")" + output + R"("})";
    };
    const std::size_t once = visits(job("ball.stl", "a.svg"));
    EXPECT_GT(once, 0U);
    EXPECT_EQ(visits(job("ball.stl", "a.svg") + "," + job("cube.obj", "b.svg") + "," +
                     job("ball.stl", "c.svg") + "," + job("cube.obj", "d.svg") + "," +
                     job("ball.stl", "e.pdf")),
              once);
    EXPECT_EQ(ReadBytes(path("c.svg")), ReadBytes(path("a.svg")));
}

TEST_F(Batch, OfViewsNeedsNoJobFile) {
    const RunResult run =
        RunIn(folder_, "cube.obj --views front,iso --hidden -o cube-{view}.svg --jobs 2");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    for (const char* view : {"front", "iso"}) {
        const std::string name = std::string("single-") + view + ".svg";
        RunIn(folder_, std::string("cube.obj --hidden --view ") + view + " -o " + name);
        EXPECT_EQ(ReadBytes(path(std::string("cube-") + view + ".svg")), ReadBytes(path(name)));
    }
    EXPECT_FALSE(fs::exists(path("cube-{view}.svg")));
    const std::string again = "cube.obj --views front,iso -o cube-{view}.svg --state notes";
    EXPECT_NE(RunIn(folder_, again).out.find("2 drawn, 0 up to date"), std::string::npos);
    EXPECT_NE(RunIn(folder_, again).out.find("0 drawn, 2 up to date"), std::string::npos);
}

TEST_F(Batch, ShowsItsProgressOnATerminalOnly) {
    Surroundings around;
    around.folder = path("");
    EXPECT_EQ(tool_test::RunTool(Words("batch jobs.json --force"), around).err, "");
    around.terminal = true;
    const RunResult run = tool_test::RunTool(Words("batch jobs.json --force"), around);
    EXPECT_NE(run.err.find("\r0 %, batch of 7"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("\r100 %, batch of 7"), std::string::npos) << run.err;
    EXPECT_NE(run.out.find("7 drawn"), std::string::npos);
    EXPECT_EQ(tool_test::RunTool(Words("batch jobs.json --force --quiet"), around).err, "");
}

pid_t StartBatch(const std::string& folder) {
    const pid_t child = ::fork();
    if (child == 0) {
        const int nowhere = ::open("/dev/null", O_RDWR);
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
        const std::string jobs = folder + "jobs.json";
        ::execl(KXCONTOUR_BINARY, KXCONTOUR_BINARY, "batch", jobs.c_str(), "--jobs", "2", "--force",
                static_cast<char*>(nullptr));
        ::_exit(127);
    }
    return child;
}

/// Many views of one model, so that all are drawn in one wave.
class ManyViews : public Batch {
protected:
    ManyViews() {
        std::string jobs;
        for (int i = 0; i < kViews; ++i) {
            jobs += (i > 0 ? "," : "") +
                    (R"({"model": "ball.stl", "hidden": true, "output": ")" + output(i) +
                     R"(", "azimuth": )" + std::to_string(i) + R"(, "elevation": 20})");
        }
        folder_.write("jobs.json", R"({"jobs": [)" + jobs + "]}");
    }

    static std::string output(int view) { return "ball-" + std::to_string(view) + ".svg"; }

    int outputsThere() const {
        int count = 0;
        for (int i = 0; i < kViews; ++i) {
            count += fs::exists(path(output(i))) ? 1 : 0;
        }
        return count;
    }

    /// How many are drawn by a run that names its files as StartBatch() does.
    int drawnNow() const {
        const RunResult run = tool_test::RunTool({"batch", path("jobs.json"), "--json"});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        const Json rows = Json::parse(run.out);
        return static_cast<int>(std::count_if(
            rows.begin(), rows.end(), [](const Json& row) { return row["result"] == "drawn"; }));
    }

    static constexpr int kViews = 60;
    static constexpr int kThreads = 2;
};

TEST_F(ManyViews, AreNotedAsTheyAreFinishedWhateverEndsTheRun) {
    for (const int signal : {SIGKILL, SIGINT}) {
        for (int i = 0; i < kViews; ++i) {
            fs::remove(path(output(i)));
        }
        fs::remove(path("jobs.json.state"));
        const pid_t child = StartBatch(path(""));
        while (outputsThere() < kViews / 2) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ::kill(child, signal);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        const int there = outputsThere();
        ASSERT_LT(there, kViews) << "too late to cancel anything";
        const int drawn = drawnNow();
        EXPECT_GE(drawn, kViews - there) << signal;
        EXPECT_LE(drawn, kViews - there + kThreads) << signal << ": " << there << " were there";
        EXPECT_EQ(drawnNow(), 0);
    }
}

/// A batch over threads whose stacks are as large as is said, in so much memory (both in KiB).
RunResult RunWithStacks(const TemporaryFolder& folder,
                        const char* stack,
                        const char* memory,
                        const char* threads) {
    Surroundings around;
    around.folder = folder.path("");
    return tool_test::Run("/bin/sh",
                          {"-c", "ulimit -s $1 && ulimit -v $2 && shift 2 && exec \"$0\" \"$@\"",
                           KXCONTOUR_BINARY, stack, memory, "batch", "jobs.json", "--jobs", threads,
                           "--force"},
                          {}, around);
}

TEST_F(ManyViews, AreDrawnByTheThreadsThatCouldBeStarted) {
    if (kxcontour::kIsSanitized) {
        GTEST_SKIP() << "sanitizers reserve more memory than the run is given";
    }
    ASSERT_EQ(RunIn(folder_, "batch jobs.json --jobs 1").exitCode, 0);
    auto expected = tool_test::FilesIn(folder_);
    const RunResult alone = RunWithStacks(folder_, "4000000", "3000000", "8");
    EXPECT_EQ(alone.exitCode, 0);
    EXPECT_EQ(alone.err, "kxcontour: warning: only 1 of 8 threads could be started; the batch "
                         "continues with these\n");
    auto found = tool_test::FilesIn(folder_);
    found["jobs.json.state"] = expected["jobs.json.state"];
    EXPECT_EQ(found, expected) << "the same drawings, and no file beside them";

    const RunResult some = RunWithStacks(folder_, "1000000", "3000000", "8");
    EXPECT_EQ(some.exitCode, 0);
    EXPECT_TRUE(tool_test::Matches(some.err, "kxcontour: warning: only 3 of 8 threads *\n"))
        << some.err;
    found = tool_test::FilesIn(folder_);
    found["jobs.json.state"] = expected["jobs.json.state"];
    EXPECT_EQ(found, expected);
}

TEST_F(ManyViews, AreDrawnWhereThreadsLeaveEachOtherLittleMemory) {
    if (kxcontour::kIsSanitized) {
        GTEST_SKIP() << "sanitizers reserve more memory than the run is given";
    }
    ASSERT_EQ(RunIn(folder_, "batch jobs.json --jobs 1").exitCode, 0);
    const auto expected = tool_test::FilesIn(folder_);
    for (const char* memory : {"150000", "200000", "300000", "400000", "600000"}) {
        const RunResult run = RunWithStacks(folder_, "8192", memory, "32");
        EXPECT_EQ(run.exitCode, 0) << memory << ": " << run.err;
        EXPECT_NE(run.out.find("60 drawn, 0 up to date, 0 failed\n"), std::string::npos) << memory;
        auto found = tool_test::FilesIn(folder_);
        found["jobs.json.state"] = expected.at("jobs.json.state");
        EXPECT_EQ(found, expected) << memory;
    }
}

TEST_F(Batch, LeavesWholeFilesOnlyWhenItIsCancelled) {
    folder_.write("ball.stl", tool_test::StlBytes(test_support::Sphere({0, 0, 0}, 1.0F, 200, 100)));
    folder_.write("jobs.json", R"({"jobs": [
        {"model": "ball.stl", "output": "ball-{view}.svg", "hidden": true,
         "views": ["front", "back", "left", "right", "top", "bottom", "iso"]}]})");
    ASSERT_EQ(RunIn(folder_, "batch jobs.json").exitCode, 0);
    const auto whole = tool_test::FilesIn(folder_);
    int cancelled = 0;
    for (int delay = 30; delay < 2000; delay += 10 + delay / 3) {
        const pid_t child = StartBatch(path(""));
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        ::kill(child, SIGINT);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
            break; // It was faster than the signal.
        }
        // Before the program has set up its handler the signal itself ends it.
        const bool tooEarly = WIFSIGNALED(status) && WTERMSIG(status) == SIGINT && delay < 200;
        EXPECT_TRUE(tooEarly || (WIFEXITED(status) && WEXITSTATUS(status) == 130)) << delay;
        std::map<std::string, std::string> left = tool_test::FilesIn(folder_);
        // Drawings that were finished are new files; their notes may be of before.
        left["jobs.json.state"] = whole.at("jobs.json.state");
        EXPECT_EQ(left, whole) << delay;
        cancelled += tooEarly ? 0 : 1;
    }
    EXPECT_GT(cancelled, 2);
}

} // namespace
