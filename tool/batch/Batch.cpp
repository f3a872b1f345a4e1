// Jobs run in waves of as many scenes as there are threads. The models of a wave are read first,
// since importers run in child processes, which must be started before any thread; then all jobs of
// the wave are drawn by a pool of threads.
#include "tool/batch/Batch.h"

#include "import/SceneReader.h"
#include "tool/batch/BatchTable.h"
#include "tool/batch/DrawingFile.h"
#include "tool/batch/FinishedJobs.h"
#include "tool/common/Progress.h"
#include "tool/common/RunFiles.h"
#include "tool/jobs/DrawingJob.h"
#include "tool/jobs/Summary.h"
#include "tool/options/OptionReader.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <new>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kxcontour {
namespace {

/// The progress bar over all jobs. Thread-safe.
class SharedProgress {
public:
    SharedProgress(std::ostream& log, bool shown, std::size_t jobs) : bar_(log, shown) {
        const std::string name = "batch of " + std::to_string(jobs);
        bar_.expect({{name, 1.0}});
        bar_.enter(name.c_str());
        bar_.setTotal(static_cast<double>(jobs));
    }

    /// In jobs.
    void advance(double share) {
        const std::lock_guard lock(mutex_);
        bar_.advance(share);
    }

    void finish() { bar_.finish(); }

private:
    std::mutex mutex_;
    Progress bar_;
};

/// Converts the progress of one job to its share of the bar. For one thread at a time.
class JobObserver : public DrawingObserver {
public:
    /// reported: the share of the job that the bar has counted already.
    JobObserver(SharedProgress& progress, double reported)
        : progress_(progress), reported_(reported) {}

    /// Reports the rest of the job.
    ~JobObserver() override { progress_.advance(1.0 - reported_); }
    JobObserver(const JobObserver&) = delete;
    JobObserver& operator=(const JobObserver&) = delete;

    void enter(const char* stage) override {
        DrawingObserver::enter(stage);
        report();
    }
    void advance(double steps) override {
        DrawingObserver::advance(steps);
        report();
    }

private:
    /// At most a hundred times per job.
    void report() {
        if (share() - reported_ >= 0.01) {
            progress_.advance(share() - reported_);
            reported_ = share();
        }
    }

    SharedProgress& progress_;
    double reported_;
};

/// A scene, or the failure to read it.
struct LoadedScene {
    std::string inputs; ///< FinishedJobs::InputsOf() before it was read.
    Scene scene;
    std::exception_ptr failure;
};

/// A job by its number, with what it draws.
struct Task {
    std::size_t number;
    const LoadedScene* scene;
};

/// Jobs by their numbers, in order.
using JobNumbers = std::vector<std::size_t>;

/// The jobs of each scene, so that no scene has to be read twice; scenes in the order of their
/// first jobs.
std::vector<JobNumbers> GroupByScene(const std::vector<BatchJob>& jobs) {
    std::map<std::string, std::size_t> sceneOf;
    std::vector<JobNumbers> groups;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        const auto [scene, isNew] =
            sceneOf.try_emplace(SceneSignatureOf(jobs[i].options), groups.size());
        if (isNew) {
            groups.emplace_back();
        }
        groups[scene->second].push_back(i);
    }
    return groups;
}

RunFiles FilesOf(const BatchCommand& command) {
    RunFiles files(command.optionFiles);
    for (const BatchJob& job : command.jobs) {
        files.read(job.options.input);
    }
    for (const BatchJob& job : command.jobs) {
        files.writeDrawing(job.options.output.path);
    }
    if (!command.statePath.empty()) {
        files.writeState(command.statePath);
    }
    if (command.messages.printsResults()) {
        files.print();
    }
    return files;
}

/// Runs the jobs of one batch.
class BatchRun {
public:
    BatchRun(const BatchCommand& command, const Messages& messages, std::ostream& log)
        : command_(command), messages_(messages), files_(FilesOf(command)),
          done_(command.statePath),
          progress_(
              log, !command.messages.quiet && ::isatty(STDERR_FILENO) == 1, command.jobs.size()),
          groups_(GroupByScene(command.jobs)), results_(command.jobs.size()) {}

    std::vector<JobResult> run() {
        learnSideFiles();
        for (std::size_t group = 0; group < groups_.size();) {
            group = runWave(group);
        }
        progress_.finish();
        return std::move(results_);
    }

    /// Whether all finished jobs could be noted.
    bool areNotesKept() const { return notesKept_; }

private:
    /// A drawing is kept whether or not the note on it can be written.
    void note(const BatchJob& job, const std::string& inputs) {
        try {
            if (notesKept_) {
                done_.note(job, inputs);
            }
        } catch (const kxdrawing::CannotWrite& failure) {
            notesKept_ = false;
            messages_.error(failure.what());
        }
    }

    /// Reads as many scenes as there are threads, and draws them; returns the number of the group
    /// behind theirs.
    std::size_t runWave(std::size_t group) {
        std::deque<LoadedScene> scenes;
        std::vector<Task> wave;
        for (; group < groups_.size() && scenes.size() < command_.threads; ++group) {
            const JobNumbers jobs = passOverDone(groups_[group]);
            if (!jobs.empty()) {
                scenes.push_back(load(command_.jobs[jobs.front()].options));
            }
            for (const std::size_t number : jobs) {
                wave.push_back({number, &scenes.back()});
            }
        }
        draw(wave);
        return group;
    }

    /// Returns the jobs that have to be drawn; the results of all others are noted.
    JobNumbers passOverDone(const JobNumbers& jobs) {
        JobNumbers left;
        for (const std::size_t number : jobs) {
            if (isDone(command_.jobs[number])) {
                results_[number].state = JobState::UpToDate;
                progress_.advance(1.0);
            } else {
                left.push_back(number);
            }
        }
        return left;
    }

    bool isDone(const BatchJob& job) const { return !command_.force && done_.covers(job); }

    /// The files that a model refers to are known only when it has been read, which may be after a
    /// drawing of another model replaced such a file. So where the batch could replace one, all
    /// models are read once before.
    void learnSideFiles() {
        if (!replacesOthers()) {
            return;
        }
        for (const JobNumbers& group : groups_) {
            const auto job = std::find_if(group.begin(), group.end(), [&](std::size_t number) {
                return !isDone(command_.jobs[number]);
            });
            if (job != group.end()) {
                load(command_.jobs[*job].options);
            }
        }
    }

    /// Whether the batch would replace a file that is neither a drawing nor a state file.
    bool replacesOthers() const {
        const auto exists = [](const std::string& path) {
            return ::access(path.c_str(), F_OK) == 0;
        };
        return (done_.isEmpty() && exists(command_.statePath)) ||
               std::any_of(command_.jobs.begin(), command_.jobs.end(), [&](const BatchJob& job) {
                   const std::string& output = job.options.output.path;
                   return exists(output) && !IsDrawing(output);
               });
    }

    LoadedScene load(const DrawingOptions& options) {
        LoadedScene loaded;
        loaded.inputs = FinishedJobs::InputsOf(options.input);
        try {
            loaded.scene = LoadScene(options.input);
        } catch (...) {
            loaded.failure = std::current_exception();
        }
        files_.readSideFiles(loaded.scene.sideFiles);
        return loaded;
    }

    /// Jobs that find no memory beside others are tried again alone.
    void draw(const std::vector<Task>& wave) {
        std::vector<std::uint8_t> starved(wave.size());
        std::atomic<std::size_t> next = 0;
        const auto work = [&] {
            for (std::size_t i = next++; i < wave.size(); i = next++) {
                starved[i] = drawJob(wave[i], 0.0) ? 0 : 1;
            }
        };
        const bool alone = workTogether(work, wave.size()) == 1;
        for (std::size_t i = 0; i < wave.size(); ++i) {
            if (starved[i] != 0 && (alone || !drawJob(wave[i], 1.0))) {
                fail(wave[i].number, std::bad_alloc());
            }
        }
    }

    /// Does work of this many jobs on several threads, this one included, or on as many as the
    /// system allows; returns their number.
    template <class Work> std::size_t workTogether(const Work& work, std::size_t jobs) {
        const std::size_t count = std::min<std::size_t>(command_.threads, jobs);
        std::vector<std::jthread> others;
        try {
            while (others.size() + 1 < count) {
                others.emplace_back(work);
            }
        } catch (const std::exception&) { // Of the system, or bad_alloc.
            warnOfThreads(others.size() + 1, count);
        }
        work();
        return others.size() + 1;
    }

    /// Once per batch, as each wave meets the same limit.
    void warnOfThreads(std::size_t started, std::size_t wanted) {
        if (std::exchange(warnedOfThreads_, true)) {
            return;
        }
        const std::lock_guard lock(speaking_);
        messages_.warn("only " + std::to_string(started) + " of " + std::to_string(wanted) +
                       " threads could be started; the batch continues with these");
    }

    /// False where the job finds no memory. Nothing here allocates but the job itself.
    bool drawJob(const Task& task, double reported) {
        try {
            drawOrFail(task, reported);
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

    /// Throws bad_alloc; any other failure is reported.
    void drawOrFail(const Task& task, double reported) {
        const auto started = std::chrono::steady_clock::now();
        JobObserver observer(progress_, reported);
        try {
            drawTo(task, observer);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            fail(task.number, error);
        }
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - started;
        results_[task.number].seconds = took.count();
    }

    void drawTo(const Task& task, JobObserver& observer) {
        const LoadedScene& loaded = *task.scene;
        if (loaded.failure) {
            std::rethrow_exception(loaded.failure);
        }
        const BatchJob& job = command_.jobs[task.number];
        files_.requireNoSideFile(job.options.output.path);
        JobResult& result = results_[task.number];
        result.report = DrawToFile(loaded.scene, job.options, observer);
        result.state = JobState::Drawn;
        const std::lock_guard lock(speaking_);
        note(job, loaded.inputs);
        TellAbout(loaded.scene, job.options, result.report, messages_);
    }

    void fail(std::size_t number, const std::exception& error) {
        JobResult& result = results_[number];
        result.state = JobState::Failed;
        result.failure = FailureOf(error);
        const std::string& what = result.failure.message;
        // Jobs without a name are named after their output, which many messages begin with.
        const std::string name = command_.jobs[number].name + ": ";
        const std::lock_guard lock(speaking_);
        messages_.error((what.starts_with(name) ? "" : name) + what);
    }

    const BatchCommand& command_;
    const Messages& messages_;
    RunFiles files_; ///< Changes only while no thread draws.
    FinishedJobs done_;
    SharedProgress progress_;
    std::vector<JobNumbers> groups_; ///< Of one scene each.
    std::vector<JobResult> results_; ///< Each is written by the thread that has the job.
    bool notesKept_ = true;
    bool warnedOfThreads_ = false;
    std::mutex speaking_; ///< Guards messages and notes while threads draw.
};

} // namespace

int RunBatch(const BatchCommand& command,
             const Messages& messages,
             std::ostream& out,
             std::ostream& log) {
    BatchRun run(command, messages, log);
    const std::vector<JobResult> results = run.run();
    PrintTable(command, results, out);
    const auto failed = std::find_if(results.begin(), results.end(), [](const JobResult& result) {
        return result.state == JobState::Failed;
    });
    if (failed != results.end()) {
        return static_cast<int>(failed->failure.code);
    }
    return static_cast<int>(run.areNotesKept() ? ExitCode::Drawn : ExitCode::CannotWrite);
}

} // namespace kxcontour
