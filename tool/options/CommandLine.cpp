// The first word selects the command. Options are merged by precedence: the command line over jobs,
// jobs over their defaults, and all of these over the configuration file.
#include "tool/options/CommandLine.h"

#include <ctr/Version.h>

#include "tool/common/Failure.h"
#include "tool/options/Arguments.h"
#include "tool/options/BatchReader.h"
#include "tool/options/Completions.h"
#include "tool/options/Help.h"
#include "tool/options/ManPage.h"
#include "tool/options/OptionReader.h"

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

/// The configuration file that is named, if any.
std::vector<std::string> ConfigFilesOf(const GivenOptions& given) {
    const GivenText* path = given.find("config");
    return path == nullptr ? std::vector<std::string>() : std::vector<std::string>{path->text};
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
