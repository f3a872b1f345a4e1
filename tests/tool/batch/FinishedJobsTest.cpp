// Notes on finished drawings, and what is left of them whenever a run ends.
#include "tool/batch/FinishedJobs.h"

#include <kxDrawing/Errors.h>

#include "ModelText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using kxcontour::BatchJob;
using kxcontour::FinishedJobs;
using tool_test::ReadBytes;
using tool_test::TemporaryFolder;

/// A folder with a model, drawings of it and notes.
class FinishedJobsTest : public testing::Test {
protected:
    FinishedJobsTest() { folder_.write("m.obj", "model"); }

    /// A job whose drawing is there.
    BatchJob drawn(const std::string& name) const {
        BatchJob job;
        job.name = name;
        job.signature = "options of " + name;
        job.options.input.models = {folder_.path("m.obj")};
        job.options.output.path = folder_.write(name, "drawing");
        return job;
    }

    static void note(FinishedJobs& done, const BatchJob& job) {
        done.note(job, FinishedJobs::InputsOf(job.options.input));
    }

    bool isNoted(const BatchJob& job) const { return FinishedJobs(notes_).covers(job); }

    TemporaryFolder folder_;
    std::string notes_ = folder_.path("notes");
};

TEST_F(FinishedJobsTest, IsNotedAtOnce) {
    const BatchJob a = drawn("a.svg");
    const BatchJob b = drawn("b.svg");
    FinishedJobs done(notes_);
    EXPECT_FALSE(std::filesystem::exists(notes_)) << "nothing to note yet";
    note(done, a);
    EXPECT_TRUE(isNoted(a));
    EXPECT_FALSE(isNoted(b));
    note(done, b);
    EXPECT_TRUE(isNoted(a) && isNoted(b));
}

TEST_F(FinishedJobsTest, KeepsTheNotesOfRunsBefore) {
    const BatchJob a = drawn("a.svg");
    const BatchJob b = drawn("b.svg");
    {
        FinishedJobs first(notes_);
        note(first, a);
    }
    {
        FinishedJobs second(notes_);
        note(second, b);
    }
    EXPECT_TRUE(isNoted(a) && isNoted(b));
    const std::string before = ReadBytes(notes_);
    for (int run = 0; run < 3; ++run) {
        FinishedJobs again(notes_);
        note(again, b);
        note(again, a);
    }
    const std::string after = ReadBytes(notes_);
    EXPECT_LE(std::count(after.begin(), after.end(), '\n'), 3) << "it does not grow by each run";
    EXPECT_TRUE(isNoted(a) && isNoted(b)) << before << after;
}

TEST_F(FinishedJobsTest, ReadsWhatIsBeforeALineThatWasCutShort) {
    const BatchJob a = drawn("a.svg");
    const BatchJob b = drawn("b.svg");
    const BatchJob c = drawn("c.svg");
    {
        FinishedJobs done(notes_);
        note(done, a);
        note(done, b);
    }
    const std::string whole = ReadBytes(notes_);
    for (std::size_t size = whole.find('\n') + 1; size + 1 < whole.size(); ++size) {
        folder_.write("notes", whole.substr(0, size));
        EXPECT_TRUE(isNoted(a)) << size;
        EXPECT_FALSE(isNoted(b)) << size;
    }
    {
        FinishedJobs done(notes_);
        note(done, c);
    }
    EXPECT_TRUE(isNoted(a) && isNoted(c)) << ReadBytes(notes_);
}

TEST_F(FinishedJobsTest, ReadsOneObjectOfAllNotesToo) {
    const BatchJob a = drawn("a.svg");
    const BatchJob b = drawn("b.svg");
    {
        FinishedJobs done(notes_);
        note(done, a);
        note(done, b);
    }
    const std::string lines = ReadBytes(notes_);
    const std::size_t end = lines.find("}\n{");
    ASSERT_NE(end, std::string::npos);
    folder_.write("notes", lines.substr(0, end) + ",\n" + lines.substr(end + 3));
    EXPECT_TRUE(isNoted(a) && isNoted(b)) << ReadBytes(notes_);
}

TEST_F(FinishedJobsTest, HoldsNothingInFilesOfOtherKinds) {
    const BatchJob a = drawn("a.svg");
    for (const char* text : {"", "no notes", "[1, 2]", "7", "{", "{\"a.svg\": 3}\n"}) {
        folder_.write("notes", text);
        EXPECT_FALSE(isNoted(a)) << text;
    }
}

TEST_F(FinishedJobsTest, IsAsBeforeWhenANoteDoesNotFit) {
    const BatchJob a = drawn("a.svg");
    const BatchJob b = drawn("b.svg");
    const pid_t child = ::fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        FinishedJobs done(notes_);
        note(done, a);
        const auto size = static_cast<rlim_t>(ReadBytes(notes_).size());
        const rlimit most{size + 10, size + 10};
        ::setrlimit(RLIMIT_FSIZE, &most);
        try {
            note(done, b);
        } catch (const kxdrawing::CannotWrite& failure) {
            const std::string said = failure.what();
            ::_exit(said.find("notes: cannot write: File too large") != std::string::npos ? 0 : 2);
        }
        ::_exit(1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    const std::string left = ReadBytes(notes_);
    EXPECT_EQ(left.find('\n'), left.size() - 1) << left;
    EXPECT_TRUE(isNoted(a));
}

TEST_F(FinishedJobsTest, IsNotedInNoFileWithoutAPath) {
    const BatchJob a = drawn("a.svg");
    FinishedJobs done("");
    note(done, a);
    EXPECT_FALSE(done.covers(a));
    EXPECT_EQ(folder_.entryCount(), 2U);
}

} // namespace
