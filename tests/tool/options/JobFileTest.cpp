// Job files: what becomes a job, what is wrong with them, and who wins.
#include "options/Parsing.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::BatchCommand;
using kxdrawing::Direction;
using tool_test::Arguments;
using tool_test::Holds;
using tool_test::ParseAs;
using tool_test::RefusalOf;

class JobFile : public tool_test::OptionFiles {
protected:
    BatchCommand batch(const std::string& text, const Arguments& more = {}) const {
        Arguments arguments{"batch", write("jobs.json", text)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return ParseAs<BatchCommand>(arguments);
    }

    /// The message behind the name of the file, "job 1: ..." and so on.
    std::string refusal(const std::string& text, const Arguments& more = {}) const {
        Arguments arguments{"batch", write("jobs.json", text)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const std::string message = RefusalOf(arguments);
        const std::string start = path("jobs.json") + ": ";
        EXPECT_EQ(message.rfind(start, 0), 0U) << message;
        return message.substr(std::min(start.size(), message.size()));
    }
};

const char* const kTwoJobs = R"({
    "defaults": {"page": "A3", "hidden": true, "dpi": 600, "style": "crease.width=1"},
    "jobs": [
        {"name": "cover", "model": "x.glb", "output": "a.svg", "hidden": false,
         "style": {"crease": {"color": "red"}}},
        {"model": ["a.stl", "/b.stl"], "views": ["front", "top"], "output": "o-{view}.png"}
    ]
})";

TEST_F(JobFile, MakesOneJobOfEachView) {
    const BatchCommand command = batch(kTwoJobs);
    ASSERT_EQ(command.jobs.size(), 3U);
    EXPECT_EQ(command.jobs[0].name, "cover");
    EXPECT_EQ(command.jobs[0].options.input.models, Arguments{path("x.glb")});
    EXPECT_EQ(command.jobs[0].options.output.path, path("a.svg"));
    EXPECT_EQ(command.jobs[1].options.input.models, (Arguments{path("a.stl"), "/b.stl"}));
    EXPECT_EQ(command.jobs[1].options.output.path, path("o-front.png"));
    EXPECT_EQ(command.jobs[1].options.camera.direction, Direction::Front);
    EXPECT_EQ(command.jobs[2].name, path("o-top.png"));
    EXPECT_EQ(command.jobs[2].options.camera.direction, Direction::Top);
    EXPECT_EQ(command.statePath, path("jobs.json.state"));
    EXPECT_NE(command.jobs[1].signature, command.jobs[2].signature);
}

TEST_F(JobFile, NamesJobsOfSeveralViews) {
    const BatchCommand command = batch(
        R"({"jobs": [{"name": "n", "model": "m", "views": "iso,top", "output": "{view}.svg"}]})");
    ASSERT_EQ(command.jobs.size(), 2U);
    EXPECT_EQ(command.jobs[0].name, "n (iso)");
    EXPECT_EQ(command.jobs[1].name, "n (top)");
}

TEST_F(JobFile, HasDefaultsBelowEveryJob) {
    const BatchCommand command = batch(kTwoJobs);
    EXPECT_FALSE(command.jobs[0].options.lines.hidden);
    EXPECT_TRUE(command.jobs[1].options.lines.hidden);
    EXPECT_EQ(command.jobs[0].options.page.size.width, 297.0);
    EXPECT_EQ(command.jobs[0].options.lines.styles.crease.width, 1.0);
    EXPECT_EQ(command.jobs[0].options.lines.styles.crease.color[0], 255);
    EXPECT_EQ(command.jobs[1].options.output.dotsPerInch, 600.0);
}

TEST_F(JobFile, GivesWayToTheCommandLineAndWinsOverTheConfiguration) {
    const std::string config = write("c.toml", "page = 'A5'\nmargin = 3\njobs = 7\nforce = true");
    const BatchCommand command =
        batch(kTwoJobs, {"--hidden", "--roll", "5", "--config", config, "--jobs", "2", "-q"});
    EXPECT_EQ(command.threads, 2U);
    EXPECT_TRUE(command.force);
    EXPECT_TRUE(command.messages.quiet);
    EXPECT_TRUE(command.jobs[0].options.lines.hidden);
    EXPECT_EQ(command.jobs[1].options.camera.roll, 5.0);
    EXPECT_EQ(command.jobs[1].options.page.size.width, 297.0);
    EXPECT_EQ(command.jobs[1].options.page.margin, 3.0);
}

TEST_F(JobFile, MayHaveOneViewForAllFromTheCommandLine) {
    const BatchCommand command = batch(kTwoJobs, {"--view", "left"});
    ASSERT_EQ(command.jobs.size(), 2U);
    EXPECT_EQ(command.jobs[1].options.output.path, path("o-left.png"));
}

TEST_F(JobFile, TellsSheetsApart) {
    const BatchCommand command = batch(R"({"jobs": [
        {"model": "m", "output": "a.svg", "sheet": ["front", "top"]},
        {"model": "m", "output": "b.svg", "sheet": ["front", "top"], "arrangement": "third-angle"},
        {"model": "m", "output": "c.svg", "sheet": "front,left"}]})");
    ASSERT_EQ(command.jobs.size(), 3U);
    const auto rest = [&](std::size_t i) {
        const std::string& text = command.jobs[i].signature;
        return text.substr(0, text.find(" output="));
    };
    EXPECT_NE(rest(0), rest(1));
    EXPECT_NE(rest(0), rest(2));
}

TEST_F(JobFile, KeepsItsStateWhereItIsTold) {
    EXPECT_EQ(batch(kTwoJobs, {"--state", "s"}).statePath, "s");
    EXPECT_TRUE(Holds(RefusalOf({"batch", write("j.json", kTwoJobs), "--state", path("a.svg")}),
                      "is already a file of the batch"));
    EXPECT_TRUE(Holds(RefusalOf({"batch", path("j.json"), "--state", path("j.json")}),
                      "is already a file of the batch"));
    EXPECT_TRUE(Holds(RefusalOf({"batch", path("j.json"), "--state", ""}), "--state must name"));
}

TEST_F(JobFile, IsRefusedWithoutItsFrame) {
    EXPECT_EQ(refusal("[]"), "must be an object with an array 'jobs', not an array");
    EXPECT_EQ(refusal("{}"), "has no array 'jobs'");
    EXPECT_EQ(refusal(R"({"jobs": []})"), "has no jobs");
    EXPECT_EQ(refusal(R"({"jobs": {}})"), "'jobs' must be an array, not an object");
    EXPECT_EQ(refusal(R"({"jobs": [3]})"), "job 1: must be an object, not a number");
    EXPECT_EQ(refusal(R"({"job": []})"), "unknown key 'job'; did you mean 'jobs'?");
    EXPECT_EQ(refusal(R"({"x": 1, "jobs": [{}]})"),
              "unknown key 'x'; there are 'defaults' and 'jobs'");
    EXPECT_EQ(refusal("{\"" + std::string(8'000'000, 'x') + "\": 1}"),
              "unknown key '" + std::string(60, 'x') + "...'; there are 'defaults' and 'jobs'");
    EXPECT_EQ(refusal(R"({"defaults": [], "jobs": [{}]})"),
              "'defaults' must be an object, not an array");
}

TEST_F(JobFile, SaysWhichJobIsWrong) {
    const auto second = [&](const std::string& members) {
        return refusal(R"({"jobs": [{"model": "m", "output": "a.svg"}, {)" + members + "}]}");
    };
    EXPECT_EQ(second(""), "job 2: no model given; see --help");
    EXPECT_TRUE(Holds(second(R"("model": "m")"), "job 2: no output given"));
    EXPECT_EQ(second(R"("model": "m", "output": "b.svg", "pgae": "A3")"),
              "job 2: unknown key 'pgae'; did you mean 'page'?");
    EXPECT_TRUE(Holds(second(R"("model": "m", "output": "b.svg", "nmae": "A3")"), "'name'?"));
    EXPECT_EQ(second(R"("model": "m", "output": "b.svg", "hidden": "yes")"),
              "job 2: hidden must be true or false, not a string");
    EXPECT_EQ(second(R"("model": "m", "output": "b.svg", "name": 3)"),
              "job 2: name must be a string, not a number");
    EXPECT_TRUE(Holds(second(R"("model": "m", "output": "b.svg", "view": "frnt")"),
                      "job 2: unknown view 'frnt'; did you mean 'front'?"));
    EXPECT_EQ(second(R"("model": "m", "output": "b.svg", "zoom": 2, "scale": "1:2")"),
              "job 2: --scale and --zoom cannot be combined");
    EXPECT_EQ(second(R"("model": "m", "output": "b.svg", "jobs": 2)"),
              "job 2: 'jobs' is for the command line only");
    EXPECT_TRUE(Holds(second(R"("model": "m", "output": "b.svg", "views": ["top"])"),
                      "job 2: output '" + path("b.svg") + "' must contain {view}"));
    EXPECT_EQ(second(R"("model": "-", "format": "stl", "output": "b.svg")"),
              "job 2: a batch cannot read standard input");
    EXPECT_EQ(second(R"("model": "m", "output": "-")"),
              "job 2: a batch cannot write to standard output");
}

TEST_F(JobFile, SaysOfDefaultsWhatIsWrong) {
    const std::string jobs = R"("jobs": [{"model": "m", "output": "a.svg"}]})";
    EXPECT_EQ(refusal(R"({"defaults": {"pgae": "A3"}, )" + jobs),
              "defaults: unknown key 'pgae'; did you mean 'page'?");
    EXPECT_TRUE(Holds(refusal(R"({"defaults": {"view": "frnt"}, )" + jobs),
                      "job 1: defaults: unknown view 'frnt'"));
}

TEST_F(JobFile, RefusesTwoJobsThatWriteOneFile) {
    EXPECT_EQ(refusal(R"({"jobs": [{"model": "m", "output": "a.svg"},
                                   {"model": "m", "output": "x/../a.svg"}]})"),
              "job 2: output '" + path("x/../a.svg") + "' is also written by job 1");
    EXPECT_TRUE(Holds(refusal(R"({"jobs": [{"model": "m", "output": "a-{view}.svg",
                                            "views": ["top", "front"]},
                                           {"model": "m", "output": "a-front.svg"}]})"),
                      "is also written by job 1"));
}

TEST_F(JobFile, IsRefusedWhereItIsDamaged) {
    EXPECT_TRUE(Holds(RefusalOf<kxdrawing::CannotRead>({"batch", path("none.json")}),
                      "none.json: No such file or directory"));
    EXPECT_TRUE(
        Holds(RefusalOf<kxdrawing::CannotRead>({"batch", write("a.json", "{\n\n\"jobs\" [")}),
              "a.json:3: is not valid JSON"));
}

TEST_F(JobFile, IsRefusedWhereItIsNestedTooDeeply) {
    constexpr std::size_t kDepth = 100000;
    const std::string lists = std::string(kDepth, '[') + std::string(kDepth, ']');
    const auto refusalOfNesting = [this](const std::string& text) {
        return RefusalOf({"batch", write("jobs.json", text)});
    };
    EXPECT_EQ(refusalOfNesting("{\"jobs\":\n" + lists + "}"),
              path("jobs.json") + ":2: is nested too deeply");
    EXPECT_TRUE(Holds(refusalOfNesting(std::string(kDepth, '[')), ":1: is nested too deeply"));
    EXPECT_TRUE(Holds(refusalOfNesting(std::string(kDepth, '{')), ":1: is nested too deeply"));
    const std::string many = std::string(100, '.') + std::string(100, '[');
    EXPECT_EQ(
        batch(R"({"jobs": [{"model": ")" + many + R"(\".obj", "output": "o.svg"}]})").jobs.size(),
        1U)
        << "in a text";
}

TEST_F(JobFile, StandsAloneOnTheCommandLine) {
    EXPECT_TRUE(Holds(RefusalOf({"batch"}), "no job file given"));
    EXPECT_TRUE(Holds(RefusalOf({"batch", "a.json", "b.json"}), "unexpected argument 'b.json'"));
    EXPECT_TRUE(Holds(RefusalOf({"batch", "-"}), "cannot read its jobs"));
    EXPECT_TRUE(Holds(RefusalOf({"batch", "a.json", "-o", "o.svg"}),
                      "--output cannot be used with 'batch'"));
    EXPECT_TRUE(
        Holds(RefusalOf({"batch", "a.json", "--views", "top"}), "--views cannot be used with"));
    EXPECT_TRUE(Holds(RefusalOf({"batch", "a.json", "--info"}), "--info cannot be used with"));
    EXPECT_TRUE(Holds(RefusalOf({"batch", "a.json", "--froce"}), "'--force'?"));
}

} // namespace
