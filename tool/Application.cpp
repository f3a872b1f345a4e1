// One function for each command.
#include "tool/Application.h"

#include <ctr/detail/Statistics.h>

#include "import/ModelReader.h"
#include "import/SceneReader.h"
#include "tool/batch/Batch.h"
#include "tool/common/Failure.h"
#include "tool/common/Messages.h"
#include "tool/common/Progress.h"
#include "tool/common/RunFiles.h"
#include "tool/common/Timing.h"
#include "tool/info/ModelReport.h"
#include "tool/jobs/DrawingJob.h"
#include "tool/jobs/RunPlan.h"
#include "tool/jobs/Summary.h"

#include <algorithm>
#include <fmt/format.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace kxcontour {
namespace {

Messages MessagesFor(const MessageOptions& options, std::ostream& log) {
    const auto loudness = options.quiet     ? Messages::Loudness::Quiet
                          : options.verbose ? Messages::Loudness::Verbose
                                            : Messages::Loudness::Normal;
    return {log, loudness, WantsColour()};
}

bool ShowsProgress(const MessageOptions& options) {
    return !options.quiet && ::isatty(STDERR_FILENO) == 1;
}

/// Keeps no folder open: the process that reads the model would have it, too.
void RequireWritable(const std::string& output) {
    const DrawingTarget writable(output);
}

/// A progress bar that times its stages.
class TimedProgress : public Progress {
public:
    using Progress::Progress;

    void enter(const char* stage) override {
        timing_.enter(stage);
        Progress::enter(stage);
    }

    Timing& timing() { return timing_; }

private:
    Timing timing_;
};

/// The library's counters that are not 0, one per line; none where they are not built in
/// (CTR_STATS).
std::string StatisticsText() {
    std::string text;
    for (const ctr::detail::StatisticsEntry& entry : ctr::detail::ReadStatistics()) {
        text += entry.count == 0 ? "" : fmt::format("{:>12} {}\n", entry.count, entry.name);
    }
    return text;
}

int Run(const DrawCommand& command, std::ostream& out, std::ostream& log) {
    const DrawingOptions& options = command.options;
    const Messages messages = MessagesFor(options.messages, log);
    RunFiles files(command.optionFiles);
    files.read(options.input);
    files.writeDrawing(options.output.path);
    // The drawing may occupy standard output.
    if (options.output.path != "-" && options.messages.printsResults()) {
        files.print();
    }
    RequireWritable(options.output.path);

    TimedProgress observer(log, ShowsProgress(options.messages));
    observer.expect(PlanOfRun(options));
    const Scene scene = LoadScene(options.input, [&](const char* stage) { observer.enter(stage); });
    files.readSideFiles(scene.sideFiles);
    files.requireNoSideFile(options.output.path);
    const DrawingReport report = DrawToFile(scene, options, observer);
    observer.finish();

    TellAbout(scene, options, report, messages);
    if (options.messages.timing) {
        observer.timing().report(log);
        if (options.messages.verbose) {
            log << StatisticsText() << std::flush;
        }
    }
    PrintSummary(report, options.messages, options.output.path == "-" ? log : out);
    return static_cast<int>(ExitCode::Drawn);
}

int Run(const InfoCommand& command, std::ostream& out, std::ostream& log) {
    RunFiles files(command.optionFiles);
    files.read(command.input);
    files.print();
    std::vector<ModelInfo> infos;
    for (const std::string& path : command.input.models) {
        const ModelRequest request = RequestFor(command.input, path);
        Model model = ImportModel(request);
        files.readSideFiles(model.sideFiles);
        if (!model.refusedFile.empty()) {
            MessagesFor(command.messages, log).warn(NameOf(request) + ": " + model.refusedFile);
        }
        infos.push_back(Inspect(NameOf(request), model, command.input.surface.weld));
    }
    if (command.messages.json) {
        WriteJson(infos, out);
    } else {
        std::ranges::for_each(infos, [&](const ModelInfo& info) { WriteText(info, out); });
    }
    return static_cast<int>(ExitCode::Drawn);
}

int Run(const BatchCommand& command, std::ostream& out, std::ostream& log) {
    return RunBatch(command, MessagesFor(command.messages, log), out, log);
}

} // namespace

int Execute(const Command& command, std::ostream& out, std::ostream& log) {
    return std::visit([&](const auto& what) { return Run(what, out, log); }, command);
}

} // namespace kxcontour
