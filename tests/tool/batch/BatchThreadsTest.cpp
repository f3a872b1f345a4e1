// A batch over several threads, in one process so that the thread sanitizer sees all of it.
#include "ModelText.h"
#include "support/Scenes.h"
#include "tool/batch/Batch.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using kxcontour::BatchCommand;
using kxcontour::BatchJob;
using kxcontour::Messages;
using kxdrawing::Direction;
using test_support::Box;
using tool_test::ObjText;
using tool_test::ReadBytes;
using tool_test::TemporaryFolder;

constexpr Direction kViews[] = {Direction::Front, Direction::Right, Direction::Top, Direction::Iso};

/// Two models, four views of each, an output for each in a folder of its own.
BatchCommand EightJobs(const TemporaryFolder& folder, const std::string& prefix, unsigned threads) {
    BatchCommand command;
    command.threads = threads;
    command.statePath = folder.path(prefix + "notes");
    for (const std::string model : {"box", "pair"}) {
        for (const Direction view : kViews) {
            BatchJob job;
            job.name = prefix + model + std::to_string(static_cast<int>(view));
            job.options.input.models = {folder.path(model + ".obj")};
            job.options.camera.direction = view;
            job.options.lines.hidden = true;
            job.options.output.path = folder.path(job.name + ".svg");
            job.signature = job.name;
            command.jobs.push_back(job);
        }
    }
    return command;
}

TEST(BatchThreads, DrawTheSameOnManyThreadsAsOnOne) {
    const TemporaryFolder folder;
    folder.write("box.obj", ObjText(Box({0, 0, 0}, {3, 2, 1})));
    test_support::MeshData pair = Box({0, 0, 0}, {3, 2, 1});
    pair.append(Box({1, 1, -1}, {2, 4, 2}));
    folder.write("pair.obj", ObjText(pair));

    std::ostringstream out;
    std::ostringstream log;
    const Messages messages(log, Messages::Loudness::Normal, false);
    const BatchCommand one = EightJobs(folder, "one-", 1);
    const BatchCommand many = EightJobs(folder, "many-", 4);
    EXPECT_EQ(RunBatch(one, messages, out, log), 0) << log.str();
    EXPECT_EQ(RunBatch(many, messages, out, log), 0) << log.str();
    for (std::size_t i = 0; i < one.jobs.size(); ++i) {
        EXPECT_EQ(ReadBytes(many.jobs[i].options.output.path),
                  ReadBytes(one.jobs[i].options.output.path))
            << many.jobs[i].name;
    }
}

TEST(BatchThreads, GoOnAfterAFailureOnAnotherThread) {
    const TemporaryFolder folder;
    folder.write("box.obj", ObjText(Box({0, 0, 0}, {3, 2, 1})));
    folder.write("pair.obj", "no model");
    std::ostringstream out;
    std::ostringstream log;
    const Messages messages(log, Messages::Loudness::Normal, false);
    const BatchCommand command = EightJobs(folder, "", 4);
    EXPECT_EQ(RunBatch(command, messages, out, log), 3) << "pair.obj cannot be read";
    EXPECT_NE(out.str().find("4 drawn, 0 up to date, 4 failed"), std::string::npos) << out.str();
}

} // namespace
