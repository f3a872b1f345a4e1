// Jobs are expanded and checked one by one, then against each other.
#include "tool/options/BatchReader.h"

#include "tool/common/Failure.h"
#include "tool/options/OptionReader.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <thread>

namespace kxcontour {
namespace {

void RequireMark(const GivenOptions& given) {
    if (given.has("sheet")) {
        RefuseUsage("--views and --sheet cannot be combined");
    }
    const GivenText* output = given.find("output");
    if (output == nullptr) {
        RefuseUsage("no output given; use -o OUT-{view}.svg");
    }
    if (output->text.find(kViewMark) == std::string::npos) {
        RefuseUsage("output '" + output->text + "' must contain {view}, for one file per view");
    }
}

void RefuseStreams(const DrawingOptions& options) {
    const auto isStream = [](const std::string& path) { return path == "-"; };
    const InputOptions& input = options.input;
    if (std::any_of(input.models.begin(), input.models.end(), isStream) ||
        std::any_of(input.occluders.begin(), input.occluders.end(), isStream)) {
        RefuseUsage("a batch cannot read standard input");
    }
    if (isStream(options.output.path)) {
        RefuseUsage("a batch cannot write to standard output");
    }
}

BatchJob ReadJob(const GivenOptions& given, const std::string& name) {
    BatchJob job;
    job.options = ReadDrawingOptions(given);
    RefuseStreams(job.options);
    job.name = name.empty() ? job.options.output.path : name;
    job.signature = SignatureOf(job.options);
    return job;
}

std::vector<BatchJob> ReadViewsOf(const GivenJob& given) {
    const std::vector<View> views = ReadBatchOptions(given.options).views;
    if (views.empty()) {
        return {ReadJob(given.options, given.name)};
    }
    RequireMark(given.options);
    std::vector<BatchJob> jobs;
    for (const View view : views) {
        const std::string& viewName = ViewNames()[static_cast<std::size_t>(view)];
        GivenOptions one = given.options;
        one.remove("views");
        one.add("view", viewName);
        jobs.push_back(ReadJob(one, given.name.empty() ? "" : given.name + " (" + viewName + ")"));
    }
    return jobs;
}

/// Equal for two names of one file, as far as the names alone tell.
std::string FileKey(const std::string& path) {
    return std::filesystem::absolute(path).lexically_normal().string();
}

/// The number of the job that writes each file.
using Writers = std::map<std::string, std::size_t>;

void Note(Writers& writers, const BatchJob& job, std::size_t number) {
    const auto [other, isNew] = writers.emplace(FileKey(job.options.output.path), number);
    if (!isNew) {
        const std::string path = "output '" + job.options.output.path + "'";
        RefuseUsage(other->second == number
                        ? path + " is written twice"
                        : path + " is also written by job " + std::to_string(other->second));
    }
}

void RequireOwnState(const BatchCommand& batch,
                     const Writers& writers,
                     const std::string& jobFile) {
    if (batch.statePath.empty()) {
        return;
    }
    const std::string key = FileKey(batch.statePath);
    if (writers.count(key) > 0 || (!jobFile.empty() && key == FileKey(jobFile))) {
        RefuseUsage("state '" + batch.statePath + "' is already a file of the batch");
    }
}

} // namespace

BatchCommand ReadBatch(const std::vector<GivenJob>& jobs,
                       const GivenOptions& batch,
                       const std::string& jobFile) {
    const BatchOptions options = ReadBatchOptions(batch);
    BatchCommand command;
    command.threads = options.threads > 0
                          ? options.threads
                          : std::clamp(std::thread::hardware_concurrency(), 1U, kMostThreads);
    command.force = options.force;
    command.messages = ReadMessageOptions(batch);
    command.statePath =
        options.statePath.empty() && !jobFile.empty() ? jobFile + ".state" : options.statePath;
    Writers writers;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        try {
            for (BatchJob& job : ReadViewsOf(jobs[i])) {
                Note(writers, job, i + 1);
                command.jobs.push_back(std::move(job));
            }
        } catch (const kxdrawing::InvalidArgument& refusal) {
            RefuseUsage(jobs[i].where + refusal.what());
        }
    }
    RequireOwnState(command, writers, jobFile);
    return command;
}

} // namespace kxcontour
