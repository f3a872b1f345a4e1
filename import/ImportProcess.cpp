// The child process and the limits that it works within.
#include "import/ImportProcess.h"

#include "drawing/common/Failure.h"
#include "import/Confinement.h"
#include "import/ModelMessage.h"
#include "import/ModelReader.h"
#include "import/Pipe.h"
#include "import/SanitizedBuild.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <limits>
#include <locale>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace kxcontour {
namespace {

using std::chrono::milliseconds;

/// The memory that an importer may ask for: enough for any file of reason, and far from what a
/// damaged count in a header can ask for.
constexpr rlim_t kMemoryForAnyFile = rlim_t{4} << 30U;
constexpr rlim_t kMemoryPerByte = 64;

constexpr std::uint64_t kBytesPerMillisecond = 1000;

/// The memory for an input of so many bytes.
rlim_t MemoryFor(std::uint64_t size) {
    constexpr rlim_t kMost = std::numeric_limits<rlim_t>::max() / 2;
    return size > kMost / kMemoryPerByte ? kMost : kMemoryForAnyFile + kMemoryPerByte * size;
}

/// The time that an input of so many bytes is given beside what any has.
milliseconds TimeFor(std::uint64_t size) {
    return milliseconds(static_cast<milliseconds::rep>(size / kBytesPerMillisecond));
}

/// What is to be imported, as the child is given it.
struct Task {
    const ModelRequest& request;
    const std::string& standardInput;
    const ModelWork& work;
};

Failure UnreadableModel(const ModelRequest& request, const std::string& why) {
    return {ExitCode::Unreadable, NameOf(request) + ": cannot read the model: " + why};
}

/// @name The child
/// @{

/// Lowers a limit; one that is lower already stays.
void Limit(decltype(RLIMIT_AS) resource, rlim_t most) {
    rlimit now{};
    ::getrlimit(resource, &now);
    now.rlim_cur = std::min(now.rlim_cur, most);
    ::setrlimit(resource, &now);
}

/// The address space of the process. What its parent had mapped is part of it: with many threads
/// that is a multiple of what an importer needs.
rlim_t AddressSpace() {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("/proc/self/statm", "re"),
                                                               &std::fclose);
    unsigned long pages = 0;
    const bool known = file != nullptr && std::fscanf(file.get(), "%lu", &pages) == 1;
    return known ? rlim_t{pages} * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) : 0;
}

/// Limits the address space; the limit grows with the side files that are opened.
class MemoryLimit {
public:
    /// For an input that may be so large in the end.
    explicit MemoryLimit(std::uint64_t largestInput) : before_(AddressSpace()) {
        ::getrlimit(RLIMIT_AS, &own_);
        own_.rlim_max = std::min(own_.rlim_max, before_ + MemoryFor(largestInput));
    }

    void allow(std::uint64_t moreInput) {
        input_ += moreInput;
        rlimit now = own_;
        now.rlim_cur = std::min({own_.rlim_cur, own_.rlim_max, before_ + MemoryFor(input_)});
        if (!kIsSanitized) {
            ::setrlimit(RLIMIT_AS, &now);
        }
    }

private:
    rlim_t before_;
    rlimit own_{}; ///< Of the process as it was started.
    std::uint64_t input_ = 0;
};

/// Leaves the child nothing but the pipe, whose new descriptor it returns: no word of the importer
/// reaches the user, and no file of the parent's can be written.
int KeepPipeOnly(int pipe) {
    // Above the standard ones, which may have been closed.
    const int kept = ::fcntl(pipe, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        ::dup2(nowhere, standard);
    }
    const auto number = static_cast<unsigned int>(kept);
    if (kept > STDERR_FILENO + 1) {
        ::close_range(STDERR_FILENO + 1, number - 1, 0);
    }
    ::close_range(number + 1, std::numeric_limits<unsigned int>::max(), 0);
    return kept;
}

/// Opens all that the importer needs, gives up everything else, and reads.
Model ReadConfined(const Task& task, PipeWriter& pipe) {
    ModelFiles files(task.request, task.standardInput);
    MemoryLimit memory(task.request.rules.largestInput);
    memory.allow(files.bytes().size());
    SendOpened(pipe, files.bytes().size());
    files.tellSizes([&](std::uint64_t size) {
        memory.allow(size);
        SendOpened(pipe, size);
    });
    Confine(files.folders());
    return task.work(task.request, files);
}

/// The model, or what went wrong, through the pipe.
void ReadAndSend(const Task& task, PipeWriter& pipe) {
    const auto failed = [&](const std::string& why) {
        SendFailure(pipe, UnreadableModel(task.request, why));
    };
    try {
        SendModel(pipe, ReadConfined(task, pipe));
    } catch (const Failure& failure) {
        SendFailure(pipe, failure);
    } catch (const std::bad_alloc&) {
        failed("it asks for more memory than there is");
    } catch (const std::exception& error) {
        failed(error.what());
    }
}

[[noreturn]] void RunChild(const Task& task, int descriptor) {
    // Nothing is left of a crash but its signal.
    Limit(RLIMIT_CORE, 0);
    Limit(RLIMIT_FSIZE, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    bool sent = false;
    try {
        PipeWriter pipe(KeepPipeOnly(descriptor));
        ReadAndSend(task, pipe);
        sent = pipe.flush();
    } catch (...) {
        sent = false;
    }
    // Without the parent's exit handlers and buffered output.
    ::_exit(sent ? 0 : 1);
}
/// @}

/// @name The parent
/// @{

/// A child process, which does not outlive this.
class Child {
public:
    explicit Child(pid_t process) : process_(process) {}
    ~Child() { end(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Its status; waits a second for its end, and then ends it.
    int join() {
        constexpr int kTries = 1000;
        for (int i = 0; i < kTries && !ended(WNOHANG); ++i) {
            std::this_thread::sleep_for(milliseconds(1));
        }
        end();
        return status_;
    }

private:
    void end() {
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
            ended(0);
        }
    }

    bool ended(int options) {
        pid_t found = 0;
        while (process_ > 0 && (found = ::waitpid(process_, &status_, options)) < 0 &&
               errno == EINTR) {
        }
        process_ = found == 0 ? process_ : 0;
        return process_ <= 0;
    }

    pid_t process_; ///< 0: it has ended.
    int status_ = 0;
};

/// The limits that a child's message has to keep to. They grow with the input that it opens.
class Allowance {
public:
    Allowance(PipeReader& pipe, const ReadRules& rules) : pipe_(pipe), rules_(rules) {
        if (rules.time > milliseconds::zero()) {
            pipe.limitTime(rules.time);
        }
        // A model that takes more than a child's memory has not been read by it.
        pipe.limitSize(MemoryFor(0));
    }

    void addInput(std::uint64_t size) {
        if (size > rules_.largestInput - input_) {
            throw PipeSpoiled();
        }
        input_ += size;
        pipe_.addTime(TimeFor(size));
        pipe_.addSize(MemoryFor(size) - MemoryFor(0));
    }

    /// How long the child may take by now.
    milliseconds time() const { return rules_.time + TimeFor(input_); }

private:
    PipeReader& pipe_;
    const ReadRules& rules_;
    std::uint64_t input_ = 0;
};

std::string TookLonger(std::chrono::duration<double> limit) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "the importer took longer than " << limit.count()
         << (limit.count() == 1.0 ? " second" : " seconds") << "; --read-limit SECONDS allows more";
    return text.str();
}

/// What the end of a child that sent no whole message says about the file.
std::string Describe(int status) {
    if (!WIFSIGNALED(status)) {
        return "the importer gave up";
    }
    if (WTERMSIG(status) == SIGSYS) {
        return "the importer was stopped, as it tried what reading a model does not need; the file "
               "may be made to do harm";
    }
    if (WTERMSIG(status) == SIGKILL) {
        return "the importer was killed, perhaps for want of memory";
    }
    return "the importer crashed; the file may be damaged or cut short";
}

/// The message of a child, which has ended when this returns.
Model Receive(const ModelRequest& request, Child& child, PipeReader& pipe) {
    Allowance allowance(pipe, request.rules);
    try {
        Model model = ReceiveModel(pipe, [&](std::uint64_t size) { allowance.addInput(size); });
        child.join();
        return model;
    } catch (const PipeEnded&) {
        throw UnreadableModel(request, Describe(child.join()));
    } catch (const PipeTimedOut&) {
        throw UnreadableModel(request, TookLonger(allowance.time()));
    } catch (const PipeSpoiled&) {
        throw UnreadableModel(request, "the importer sent something that is no model; the file may "
                                       "be made to do harm");
    } catch (const std::bad_alloc&) {
        throw UnreadableModel(request, "it asks for more memory than there is");
    }
}
/// @}

} // namespace

Model ImportModelBy(const ModelWork& work, const ModelRequest& request) {
    const std::string standardInput = ReadStandardInput(request);
    const Task task{request, standardInput, work};
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    // As much as anyone may have; with less, the two processes take turns more often.
    ::fcntl(ends[1], F_SETPIPE_SZ, 1 << 20);
    const pid_t process = ::fork();
    if (process < 0) {
        const int reason = errno;
        ::close(ends[0]);
        ::close(ends[1]);
        throw std::system_error(reason, std::generic_category(), "fork");
    }
    if (process == 0) {
        RunChild(task, ends[1]);
    }
    Child child(process);
    ::close(ends[1]);
    PipeReader pipe(ends[0]);
    return Receive(request, child, pipe);
}

Model ImportModel(const ModelRequest& request) {
    return ImportModelBy(ReadModelOnce, request);
}

} // namespace kxcontour
