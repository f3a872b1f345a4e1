// Waves of jobs, those of one scene in a row: the models of a wave are read first, since importers
// run in child processes that must be started before any thread; then all jobs of the wave are
// drawn by a pool of threads.
#include "batch/Batch.h"

#include "batch/BatchTable.h"
#include "batch/DoneWork.h"
#include "batch/DrawingFile.h"
#include "common/Progress.h"
#include "common/Summary.h"
#include "drawing/common/Failure.h"
#include "import/SceneReader.h"
#include "jobs/DrawingJob.h"
#include "options/CommandFiles.h"
#include "options/OptionReader.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace kxcontour {
namespace {

/// The bar over all jobs; any thread may move it on.
class SharedProgress {
public:
    SharedProgress(std::ostream& log, bool shown, std::size_t jobs) : bar_(log, shown) {
        const std::string name = "batch of " + std::to_string(jobs);
        bar_.expect({{name, 1.0}});
        bar_.enter(name);
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

/// Turns the steps of one job into its share of the bar. One thread at a time.
class JobObserver : public DrawingObserver {
public:
    /// told: what the bar has been told of the job before.
    JobObserver(SharedProgress& progress, double told) : progress_(progress), told_(told) {}

    /// Whatever was not told of in steps.
    ~JobObserver() override { progress_.advance(1.0 - told_); }
    JobObserver(const JobObserver&) = delete;
    JobObserver& operator=(const JobObserver&) = delete;

    void expect(std::vector<PlannedStage> stages) override { plan_.expect(std::move(stages)); }
    void enter(const char* stage) override {
        plan_.enter(stage);
        tell();
    }
    bool isCanceled() const override { return false; }
    void setTotal(double steps) override { plan_.setTotal(steps); }
    void getRange(double& start, double& end) const override {
        start = plan_.done();
        end = plan_.total();
    }
    void advance(double steps) override {
        plan_.advance(steps);
        tell();
    }

private:
    /// A hundred messages per job.
    void tell() {
        const double share = plan_.share();
        if (share - told_ >= 0.01) {
            progress_.advance(share - told_);
            told_ = share;
        }
    }

    SharedProgress& progress_;
    StagePlan plan_;
    double told_;
};

/// A scene, or why there is none.
struct LoadedScene {
    std::string inputs; ///< DoneWork::InputsOf() when it was read.
    Scene scene;
    std::exception_ptr failure;
};

/// By what they are read from, SceneSignatureOf().
using Scenes = std::map<std::string, LoadedScene>;

/// A job by its number, with what it draws.
struct Task {
    std::size_t number;
    const LoadedScene* scene;
};

/// The numbers of all jobs, those of one scene in a row, so that no scene has to be read twice.
/// Scenes, and the jobs of one, stay in their order.
std::vector<std::size_t> OrderByScene(const std::vector<BatchJob>& jobs) {
    std::map<std::string, std::size_t> firstJobs;
    std::vector<std::size_t> firstOf;
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        firstOf.push_back(firstJobs.emplace(SceneSignatureOf(jobs[i].options), i).first->second);
        order.push_back(i);
    }
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return firstOf[a] < firstOf[b]; });
    return order;
}

/// Runs the jobs of one batch.
class BatchRun {
public:
    BatchRun(const BatchCommand& command, const Messages& messages, std::ostream& log)
        : command_(command), messages_(messages), files_(FilesOf(command)),
          done_(command.statePath),
          progress_(
              log, !command.messages.quiet && ::isatty(STDERR_FILENO) == 1, command.jobs.size()),
          order_(OrderByScene(command.jobs)), results_(command.jobs.size()),
          starved_(command.jobs.size()) {}

    std::vector<JobResult> run() {
        learnSideFiles();
        for (std::size_t first = 0; first < order_.size();) {
            first = runWave(first);
        }
        progress_.finish();
        return std::move(results_);
    }

    /// Whether finished work could be noted.
    bool areNotesKept() const { return notesKept_; }

private:
    /// A drawing that is made stays, whether or not the note on it can be written.
    void note(const BatchJob& job, const std::string& inputs) {
        if (!notesKept_) {
            return;
        }
        try {
            done_.note(job, inputs);
        } catch (const Failure& failure) {
            if (notesKept_.exchange(false)) {
                const std::lock_guard lock(speaking_);
                messages_.error(failure.what());
            }
        }
    }

    /// Runs jobs from a place in the order on, until more scenes than threads are needed; returns
    /// the next place.
    std::size_t runWave(std::size_t first) {
        Scenes scenes;
        std::vector<Task> wave;
        std::size_t next = first;
        for (; next < order_.size(); ++next) {
            const std::size_t number = order_[next];
            const BatchJob& job = command_.jobs[number];
            if (isDone(job)) {
                results_[number].state = JobState::UpToDate;
                progress_.advance(1.0);
                continue;
            }
            const std::string key = SceneSignatureOf(job.options);
            auto scene = scenes.find(key);
            if (scene == scenes.end()) {
                if (scenes.size() >= command_.threads) {
                    break;
                }
                scene = scenes.emplace(key, load(job.options)).first;
            }
            wave.push_back({number, &scene->second});
        }
        draw(wave);
        return next;
    }

    bool isDone(const BatchJob& job) const { return !command_.force && done_.covers(job); }

    /// The files that a model refers to are known when it has been read, which may be after a
    /// drawing of another one took the place of such a file. So where there is something that might
    /// be one, all models are read once before.
    void learnSideFiles() {
        if (!replacesOthers()) {
            return;
        }
        std::set<std::string> known;
        for (const BatchJob& job : command_.jobs) {
            if (!isDone(job) && known.insert(SceneSignatureOf(job.options)).second) {
                load(job.options);
            }
        }
    }

    /// Whether the batch would replace a file that is neither a drawing nor holds notes.
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
        loaded.inputs = DoneWork::InputsOf(options.input);
        try {
            loaded.scene = LoadScene(options.input, options.lines.creaseAngle);
        } catch (...) {
            loaded.failure = std::current_exception();
        }
        files_.readSideFiles(loaded.scene.sideFiles);
        return loaded;
    }

    void draw(const std::vector<Task>& wave) {
        std::atomic<std::size_t> next = 0;
        const auto work = [&] {
            for (std::size_t i = next++; i < wave.size(); i = next++) {
                drawBesideOthers(wave[i]);
            }
        };
        const std::size_t threads = workTogether(work, wave.size());
        for (const Task& task : wave) {
            if (starved_[task.number] == 0) {
                continue;
            }
            if (threads > 1) {
                drawAlone(task);
            } else {
                failForMemory(task.number);
            }
        }
    }

    /// Does work of so many jobs on many threads, and returns on how many.
    template <class Work> std::size_t workTogether(const Work& work, std::size_t jobs) {
        const std::size_t count = std::min<std::size_t>(command_.threads, jobs);
        const std::vector<std::jthread> others = startOthers(count, work);
        work();
        return others.size() + 1;
    }

    /// Threads for the work, so many with this one or as many as the system lets start.
    template <class Work>
    std::vector<std::jthread> startOthers(std::size_t count, const Work& work) {
        std::vector<std::jthread> others;
        try {
            while (others.size() + 1 < count) {
                others.emplace_back(work);
            }
        } catch (const std::system_error&) {
            tellOfThreads(others.size() + 1, count);
        } catch (const std::bad_alloc&) {
            tellOfThreads(others.size() + 1, count);
        }
        return others;
    }

    /// Once: each wave would find the same.
    void tellOfThreads(std::size_t started, std::size_t wanted) {
        if (toldOfThreads_) {
            return;
        }
        toldOfThreads_ = true;
        const std::lock_guard lock(speaking_);
        messages_.warn("only " + std::to_string(started) + " of " + std::to_string(wanted) +
                       " threads could be started; the batch goes on with these");
    }

    /// A job that finds no memory is left for later. Nothing here allocates but the job itself.
    void drawBesideOthers(const Task& task) {
        try {
            drawJob(task, 0.0);
        } catch (const std::bad_alloc&) {
            starved_[task.number] = 1;
        }
    }

    /// Tries a job again that found no memory beside the others.
    void drawAlone(const Task& task) {
        try {
            drawJob(task, 1.0);
        } catch (const std::bad_alloc&) {
            failForMemory(task.number);
        }
    }

    void failForMemory(std::size_t number) {
        fail(number, ExitCode::Internal, "internal error: out of memory");
    }

    /// Throws bad_alloc; any other failure is told of.
    void drawJob(const Task& task, double told) {
        const auto started = std::chrono::steady_clock::now();
        JobObserver observer(progress_, told);
        try {
            drawTo(task, observer);
        } catch (const Failure& failure) {
            fail(task.number, failure.code(), failure.what());
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            fail(task.number, ExitCode::Internal, std::string("internal error: ") + error.what());
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
        note(job, loaded.inputs);
        const std::lock_guard lock(speaking_);
        TellAbout(loaded.scene, job.options, result.report, messages_);
    }

    void fail(std::size_t number, ExitCode code, const std::string& what) {
        JobResult& result = results_[number];
        result.state = JobState::Failed;
        result.code = code;
        result.failure = what;
        // Jobs without a name are named after their output, which many messages begin with.
        const std::string name = command_.jobs[number].name + ": ";
        const std::lock_guard lock(speaking_);
        messages_.error((what.rfind(name, 0) == 0 ? "" : name) + what);
    }

    const BatchCommand& command_;
    const Messages& messages_;
    RunFiles files_; ///< Changes only while no thread draws.
    DoneWork done_;
    SharedProgress progress_;
    std::vector<std::size_t> order_;
    std::vector<JobResult> results_;    ///< Each is written by the thread that has the job.
    std::vector<std::uint8_t> starved_; ///< Whether a job found no memory; written as results are.
    std::atomic<bool> notesKept_ = true;
    bool toldOfThreads_ = false;
    std::mutex speaking_;
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
        return static_cast<int>(failed->code);
    }
    return static_cast<int>(run.areNotesKept() ? ExitCode::Drawn : ExitCode::CannotWrite);
}

} // namespace kxcontour
