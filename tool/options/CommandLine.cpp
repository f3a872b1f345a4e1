// The first word selects the command. Options are merged by precedence: the command line over jobs,
// jobs over their defaults, and all of these over the configuration file.
#include "tool/options/CommandLine.h"

#include <ctr/Version.h>

#include "tool/common/Failure.h"
#include "tool/options/Arguments.h"
#include "tool/options/Completions.h"
#include "tool/options/Help.h"
#include "tool/options/ManPage.h"
#include "tool/options/OptionFiles.h"
#include "tool/options/OptionReader.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <thread>
#include <utility>

namespace kxcontour {
namespace {

using Arguments = std::vector<std::string>;

/// Writes help, the manual page or completions if the first word asks for one of them.
bool WroteText(const Arguments& arguments, std::ostream& out) {
    const std::string command = arguments.empty() ? "" : arguments.front();
    const std::string word = arguments.size() > 1 ? arguments[1] : "";
    if (command != "help" && command != "man" && command != "completions") {
        return false;
    }
    const std::size_t most = command == "man" ? 1 : 2;
    if (word == "--help" || word == "-h") {
        out << ShortHelp();
    } else if (arguments.size() > most) {
        RefuseUsage("unexpected argument '" + arguments[most] + "' of " + command);
    } else if (command == "man") {
        out << ManPage();
    } else if (command == "help") {
        out << (arguments.size() > 1 ? TopicHelp(word) : ShortHelp());
    } else if (word.empty()) {
        RefuseUsage("completions need a shell: bash, zsh or fish");
    } else {
        out << Completions(word);
    }
    return true;
}

/// @name Batches
/// Jobs are expanded and checked one by one, then against each other.
/// @{

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
    if (std::ranges::count(options.input.files(), "-") > 0) {
        RefuseUsage("a batch cannot read standard input");
    }
    if (options.output.path == "-") {
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
    const std::vector<Direction> views = ReadBatchOptions(given.options).views;
    if (views.empty()) {
        return {ReadJob(given.options, given.name)};
    }
    RequireMark(given.options);
    std::vector<BatchJob> jobs;
    for (const Direction view : views) {
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

/// Reads the options of every job and expands it into one job per view.
///
/// batch holds the options of the whole batch: jobs, force, state and messages; jobFile is the file
/// that the jobs come from, or empty. Throws InvalidArgument, with the position of the job first,
/// for a mistake in a job, for standard streams, and for two jobs that write the same file.
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
/// @}

/// The configuration file that is named, if any.
std::vector<std::string> ConfigFilesOf(const GivenOptions& given) {
    return given.has("config") ? std::vector{given.find("config")->text}
                               : std::vector<std::string>();
}

GivenOptions ConfigOf(const GivenOptions& given) {
    return given.has("config") ? ReadConfigFile(given.find("config")->text) : GivenOptions();
}

std::vector<GivenJob>
TakeJobs(const std::string& jobFile, const GivenOptions& given, const GivenOptions& config) {
    std::vector<GivenJob> jobs = ReadJobFile(jobFile);
    for (GivenJob& job : jobs) {
        GivenOptions options = given;
        options.putBelow(std::move(job.options));
        options.putBelow(config);
        job.options = std::move(options);
    }
    return jobs;
}

/// kxcontour batch JOBS.json
BatchCommand ReadBatchCommand(GivenOptions given) {
    const std::vector<GivenText> files = given.all("model");
    if (files.empty() || files.front().text.empty()) {
        RefuseUsage("no job file given; use kxcontour batch JOBS.json");
    }
    if (files.size() > 1) {
        RefuseUsage("unexpected argument '" + files[1].text + "'; a batch has one job file");
    }
    if (files.front().text == "-") {
        RefuseUsage("a batch cannot read its jobs from standard input");
    }
    for (const char* name : {"output", "views", "info"}) {
        if (given.has(name)) {
            RefuseUsage(std::string("--") + name +
                        " cannot be used with 'batch'; see kxcontour help batch");
        }
    }
    given.remove("model");
    GivenOptions config = ConfigOf(given);
    GivenOptions batch = given;
    batch.putBelow(config);
    // The views of a configuration file apply to each job.
    batch.remove("views");
    BatchCommand command =
        ReadBatch(TakeJobs(files.front().text, given, config), batch, files.front().text);
    command.optionFiles = ConfigFilesOf(given);
    command.optionFiles.push_back(files.front().text);
    return command;
}

/// Options of batches do not apply to a single drawing; a configuration file may hold them.
void RefuseBatchOptions(const GivenOptions& given) {
    for (const char* name : {"jobs", "force", "state"}) {
        const GivenText* text = given.find(name);
        if (text != nullptr && text->where.empty()) {
            RefuseUsage(std::string("--") + name +
                        " is for batches only; see kxcontour help batch");
        }
    }
}

/// kxcontour MODEL... with an output, --info or --views.
Command ReadModelCommand(const GivenOptions& given) {
    if (given.isSet("info")) {
        return InfoCommand{ReadInputOptions(given), ReadMessageOptions(given),
                           ConfigFilesOf(given)};
    }
    if (given.has("views")) {
        BatchCommand command = ReadBatch({{"", "", given}}, given, "");
        command.optionFiles = ConfigFilesOf(given);
        return command;
    }
    RefuseBatchOptions(given);
    return DrawCommand{ReadDrawingOptions(given), ConfigFilesOf(given)};
}

} // namespace

std::optional<Command> ParseCommandLine(const Arguments& arguments, std::ostream& out) {
    if (WroteText(arguments, out)) {
        return std::nullopt;
    }
    const bool isBatch = !arguments.empty() && arguments.front() == "batch";
    GivenOptions given =
        ReadArguments(Arguments(arguments.begin() + (isBatch ? 1 : 0), arguments.end()));
    if (given.has("help")) {
        out << (isBatch ? TopicHelp("batch") : ShortHelp());
        return std::nullopt;
    }
    if (given.has("version")) {
        out << "kxcontour " << kxContouringLib::Version::GetDescStringMajorMinorRelease(true)
            << '\n';
        return std::nullopt;
    }
    if (isBatch) {
        return ReadBatchCommand(std::move(given));
    }
    given.putBelow(ConfigOf(given));
    return ReadModelCommand(given);
}

} // namespace kxcontour
