// A child process reads the model within limits of rights, memory and time, and sends it through a
// pipe; the parent collects the bytes, ends a child that goes beyond a limit, and unpacks the
// model.
#include "import/process/ImportProcess.h"

#include <kxDrawing/Errors.h>

#include "drawing/files/Descriptor.h"
#include "import/process/Confinement.h"
#include "import/process/ModelMessage.h"
#include "import/process/SanitizedBuild.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <exception>
#include <fcntl.h>
#include <fmt/format.h>
#include <fstream>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace kxcontour {
namespace {

using kxdrawing::CannotRead;
using std::chrono::milliseconds;

/// Limit on the memory of an importer: enough for any reasonable file, and far below what a damaged
/// count in a header can request.
constexpr rlim_t kMemoryForAnyFile = rlim_t{4} << 30U;
constexpr rlim_t kMemoryPerByte = 64;

constexpr std::uint64_t kBytesPerMillisecond = 1000;

/// The limit on memory for an input of this many bytes.
rlim_t MemoryFor(std::uint64_t size) {
    constexpr rlim_t kMost = std::numeric_limits<rlim_t>::max() / 2;
    return size > kMost / kMemoryPerByte ? kMost : kMemoryForAnyFile + kMemoryPerByte * size;
}

/// The time that an input of this many bytes adds to the limit.
milliseconds TimeFor(std::uint64_t size) {
    return milliseconds(static_cast<milliseconds::rep>(size / kBytesPerMillisecond));
}

/// What the child has to do.
struct Task {
    const ModelRequest& request;
    std::string_view standardInput;
    const ModelWork& work;
};

/// @name The child
/// @{

/// Lowers a limit; one that is lower already stays.
void Limit(decltype(RLIMIT_AS) resource, rlim_t most) {
    rlimit now{};
    ::getrlimit(resource, &now);
    now.rlim_cur = std::min(now.rlim_cur, most);
    ::setrlimit(resource, &now);
}

/// The size of the address space. It includes what the parent had mapped, which with many threads
/// is a multiple of what an importer needs.
rlim_t AddressSpace() {
    rlim_t pages = 0; // Where the file cannot be read, it stays 0.
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

/// Limits the address space; the limit grows with each file that is opened.
class MemoryLimit {
public:
    /// For inputs of up to this many bytes in total.
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

/// Leaves the child nothing but the pipe, whose new descriptor it returns: output of the importer
/// does not reach the user, and no file of the parent's can be written.
Descriptor KeepPipeOnly(int pipe) {
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
    return Descriptor(kept);
}

/// Opens all that the importer needs, gives up all other rights, and reads.
Model ReadConfined(const Task& task, int pipe) {
    ModelFiles files(task.request, task.standardInput);
    MemoryLimit memory(task.request.rules.largestInput);
    const auto opened = [&](std::uint64_t size) {
        memory.allow(size);
        WriteAll(pipe, PackOpened(size));
    };
    opened(files.bytes().size());
    files.onOpen(opened);
    Confine(files.folders());
    return task.work(task.request, files);
}

/// The message with the model, or with the reason why there is none.
std::string ReadAndPack(const Task& task, int pipe) {
    const auto failed = [&](const std::string& why) {
        return PackFailure(UnreadableModel(task.request, why).what());
    };
    try {
        return PackModel(ReadConfined(task, pipe));
    } catch (const CannotRead& failure) {
        return PackFailure(failure.what());
    } catch (const std::bad_alloc&) {
        return failed("it needs more memory than is available");
    } catch (const std::exception& error) {
        return failed(error.what());
    }
}

[[noreturn]] void RunChild(const Task& task, int descriptor) {
    // A crash leaves no core file, only its signal.
    Limit(RLIMIT_CORE, 0);
    Limit(RLIMIT_FSIZE, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    bool sent = false;
    try {
        // Closed before the end, which takes a while: the system takes back the memory first.
        const Descriptor pipe = KeepPipeOnly(descriptor);
        sent = WriteAll(pipe.number(), ReadAndPack(task, pipe.number()));
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

    /// Waits up to a second for the child's end, then kills it; returns its status.
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

/// @name Failures
/// @{
CannotRead TookLonger(const ModelRequest& request, std::chrono::duration<double> limit) {
    return UnreadableModel(request, "the importer took longer than " +
                                        fmt::format("{:g}", limit.count()) +
                                        (limit.count() == 1.0 ? " second" : " seconds") +
                                        "; --read-limit SECONDS allows more");
}

CannotRead SentNoModel(const ModelRequest& request) {
    return UnreadableModel(request,
                           "the importer sent an invalid message; the file may be malicious");
}

/// The failure of a child that ended with this status before its message was complete.
CannotRead EndedEarly(const ModelRequest& request, int status) {
    if (status == 0) {
        return SentNoModel(request);
    }
    if (!WIFSIGNALED(status)) {
        return UnreadableModel(request, "the importer ended without a message");
    }
    if (WTERMSIG(status) == SIGSYS) {
        return UnreadableModel(request, "the importer was stopped because it tried a forbidden "
                                        "operation; the file may be malicious");
    }
    if (WTERMSIG(status) == SIGKILL) {
        return UnreadableModel(request, "the importer was killed, perhaps because memory ran out");
    }
    return UnreadableModel(request, "the importer crashed; the file may be damaged or truncated");
}
/// @}

/// The bytes that a child sends until it closes its end of the pipe. The file may have taken over
/// the child: the number of bytes and the time to wait for them are limited, and both limits grow
/// with the input that the child opens. Only waiting takes time, and it stands still while this
/// process is stopped.
class ChildOutput {
public:
    ChildOutput(const ModelRequest& request, int pipe)
        : request_(request), rules_(request.rules), pipe_(pipe), timeLeft_(request.rules.time) {}

    /// All bytes behind the sizes of opened files.
    std::string receive() {
        constexpr std::size_t kBlock = std::size_t{1} << 18U;
        const auto block = std::make_unique_for_overwrite<char[]>(kBlock);
        while (true) {
            waitForBytes();
            const ssize_t size = ::read(pipe_, block.get(), kBlock);
            if (size > 0) {
                add({block.get(), static_cast<std::size_t>(size)});
            } else if (size == 0 || errno != EINTR) {
                return std::move(bytes_);
            }
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    /// In slices, so that a time in which this process was stopped counts as one of them.
    void waitForBytes() {
        constexpr Clock::duration kSlice = std::chrono::seconds(1);
        pollfd waiting{pipe_, POLLIN, 0};
        bool ready = rules_.time <= milliseconds::zero(); // Without a limit, the read waits.
        while (!ready) {
            const Clock::duration slice = std::clamp(timeLeft_, Clock::duration::zero(), kSlice);
            const Clock::time_point start = Clock::now();
            const auto timeout = std::chrono::ceil<milliseconds>(slice).count();
            const int found = ::poll(&waiting, 1, static_cast<int>(timeout));
            ready = found > 0 || (found < 0 && errno != EINTR);
            if (!ready && timeLeft_ <= Clock::duration::zero()) {
                throw TookLonger(request_, rules_.time + TimeFor(input_));
            }
            timeLeft_ -= std::min(Clock::now() - start, kSlice);
        }
    }

    void add(std::string_view bytes) {
        // A model that takes more than a child's memory has not been read by it.
        if (bytes.size() > MemoryFor(input_) - bytes_.size()) {
            throw SentNoModel(request_);
        }
        bytes_ += bytes;
        std::string_view left = bytes_;
        while (const std::optional<std::uint64_t> size = TakeOpened(left)) {
            addInput(*size);
        }
        bytes_.erase(0, bytes_.size() - left.size());
    }

    void addInput(std::uint64_t size) {
        if (size > rules_.largestInput - input_) {
            throw SentNoModel(request_);
        }
        input_ += size;
        timeLeft_ += TimeFor(size);
    }

    const ModelRequest& request_;
    const ReadRules& rules_;
    int pipe_;
    Clock::duration timeLeft_;
    std::uint64_t input_ = 0;
    std::string bytes_;
};

/// The model that a child sends; the child has ended when this returns.
Model Receive(const ModelRequest& request, Child& child, int pipe) {
    try {
        const std::string message = ChildOutput(request, pipe).receive();
        try {
            Model model = UnpackModel(message);
            child.join();
            return model;
        } catch (const BadMessage&) {
            throw EndedEarly(request, child.join());
        }
    } catch (const std::bad_alloc&) {
        throw UnreadableModel(request, "it needs more memory than is available");
    }
}
/// @}

} // namespace

Model ImportModelBy(const ModelWork& work,
                    const ModelRequest& request,
                    std::string_view standardInput) {
    const Task task{request, standardInput, work};
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    const Descriptor out(ends[0]);
    Descriptor in(ends[1]);
    // As much as anyone may have; with less, the two processes take turns more often.
    ::fcntl(in.number(), F_SETPIPE_SZ, 1 << 20);
    const pid_t process = ::fork();
    if (process < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (process == 0) {
        RunChild(task, in.number());
    }
    Child child(process);
    in.close();
    return Receive(request, child, out.number());
}

} // namespace kxcontour
