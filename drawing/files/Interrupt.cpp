// The handler removes the unfinished files and leaves. Importing, baking and writing cannot be
// asked to stop half-way; ending the process takes as long on a large model as on a small one.
//
// A signal mask is a thread's own, so blocking signals keeps the handler off one thread only. What
// the threads do while they hold interrupts is counted; a handler on another thread announces the
// end, which keeps others from starting, and waits until the count is down to none. A child of this
// process has copies of all this, but the files are not its own: the signal ends it as if it had no
// handler, and its parent sees which one it was.
#include "drawing/files/Interrupt.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <ctime>
#include <unistd.h>

namespace kxcontour {
namespace {

struct Slot {
    enum State { Free, Changing, Announced };

    std::atomic<int> state{Free};
    std::array<char, PATH_MAX> path{};
};

constexpr std::size_t kSlotCount = 64;
/// The slot of a file that is not in the table.
constexpr std::size_t kNoSlot = kSlotCount;

std::array<Slot, kSlotCount> unfinishedFiles;
std::atomic<int> holders{0};
std::atomic<bool> ending{false};
/// The process that the files belong to; 0 before interrupts are handled.
std::atomic<pid_t> process{0};
thread_local int holdsOfThread = 0;

static_assert(std::atomic<int>::is_always_lock_free, "the signal handler reads these");
static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler writes this");

/// Ctrl-C, a terminal that is closed, Ctrl-\, the end that a system asks for, and the end of the
/// processor time that a run may take.
constexpr std::array<int, 5> kInterrupts{SIGINT, SIGHUP, SIGQUIT, SIGTERM, SIGXCPU};

sigset_t Interrupts() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kInterrupts) {
        sigaddset(&signals, signal);
    }
    return signals;
}

/// Bounded: whoever interrupts a program wants it to end, even if a disk hangs.
void AwaitHolders() {
    constexpr int kMostRounds = 200;
    constexpr std::timespec kRound{0, 1'000'000};
    for (int round = 0; round < kMostRounds && holders.load() > 0; ++round) {
        ::nanosleep(&kRound, nullptr);
    }
}

void RemoveUnfinishedFiles() {
    for (const Slot& slot : unfinishedFiles) {
        if (slot.state.load() == Slot::Announced) {
            ::unlink(slot.path.data());
        }
    }
}

bool IsOwnerOfFiles() {
    return process.load() == ::getpid();
}

extern "C" void OnInterrupt(int signal) {
    constexpr char kMessage[] = "\nkxcontour: cancelled\n";
    if (!IsOwnerOfFiles()) {
        // Blocked until the handler returns.
        std::signal(signal, SIG_DFL);
        std::raise(signal);
        return;
    }
    ending.store(true);
    AwaitHolders();
    RemoveUnfinishedFiles();
    // A message that cannot be written changes nothing.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kMessage, sizeof kMessage - 1);
    ::_exit(128 + signal);
}

/// Whoever aborts may hold interrupts, so there is no waiting. The process ends when this returns.
extern "C" void OnAbort(int) {
    if (IsOwnerOfFiles()) {
        RemoveUnfinishedFiles();
    }
}

/// A signal that is ignored by whoever started the program stays ignored: nohup ignores SIGHUP, and
/// shells ignore SIGINT and SIGQUIT for what runs in the background.
void HandleUnlessIgnored(int signal, const struct sigaction& action) {
    struct sigaction before {};
    ::sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) {
        ::sigaction(signal, &action, nullptr);
    }
}

/// The process ends on another thread; interrupts are blocked on this one.
[[noreturn]] void AwaitTheEnd() {
    for (;;) {
        ::pause();
    }
}

std::size_t TakeSlot() {
    for (std::size_t i = 0; i < kSlotCount; ++i) {
        int expected = Slot::Free;
        if (unfinishedFiles[i].state.compare_exchange_strong(expected, Slot::Changing)) {
            return i;
        }
    }
    return kNoSlot;
}

} // namespace

void HandleInterrupts() {
    process.store(::getpid());
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    action.sa_mask = Interrupts();
    for (const int signal : kInterrupts) {
        HandleUnlessIgnored(signal, action);
    }
    action.sa_handler = OnAbort;
    HandleUnlessIgnored(SIGABRT, action);
}

InterruptsHeld::InterruptsHeld() : before_{} {
    const sigset_t signals = Interrupts();
    ::pthread_sigmask(SIG_BLOCK, &signals, &before_);
    if (holdsOfThread++ > 0) {
        return;
    }
    ++holders;
    if (ending.load()) {
        --holders;
        AwaitTheEnd();
    }
}

InterruptsHeld::~InterruptsHeld() {
    if (--holdsOfThread == 0) {
        --holders;
    }
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

UnfinishedFile::UnfinishedFile(const std::string& path) : slot_(kNoSlot) {
    if (path.size() >= PATH_MAX) {
        return;
    }
    slot_ = TakeSlot();
    if (slot_ != kNoSlot) {
        Slot& slot = unfinishedFiles[slot_];
        *std::copy(path.begin(), path.end(), slot.path.begin()) = '\0';
        slot.state.store(Slot::Announced);
    }
}

UnfinishedFile::~UnfinishedFile() {
    if (slot_ != kNoSlot) {
        unfinishedFiles[slot_].state.store(Slot::Free);
    }
}

} // namespace kxcontour
