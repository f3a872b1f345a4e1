// Importing, baking and writing cannot be asked to stop half-way; ending the process takes as long
// on a large model as on a small one.
//
// A signal mask is a thread's own, so blocking signals keeps handlers off one thread only. What the
// threads do while they hold interrupts is counted; a handler on another thread announces the end,
// which keeps others from starting, and waits until the count is down to none.
#include "drawing/files/UnfinishedFile.h"

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
thread_local int holdsOfThread = 0;

static_assert(std::atomic<int>::is_always_lock_free, "the signal handler reads these");
static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler writes this");

/// Bounded: whoever interrupts a program wants it to end, even if a disk hangs.
void AwaitHolders() {
    constexpr int kMostRounds = 200;
    constexpr std::timespec kRound{0, 1'000'000};
    for (int round = 0; round < kMostRounds && holders.load() > 0; ++round) {
        ::nanosleep(&kRound, nullptr);
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

void RemoveUnfinishedFiles() {
    for (const Slot& slot : unfinishedFiles) {
        if (slot.state.load() == Slot::Announced) {
            ::unlink(slot.path.data());
        }
    }
}

void EndUnfinishedFiles() {
    ending.store(true);
    AwaitHolders();
    RemoveUnfinishedFiles();
}

InterruptsHeld::InterruptsHeld() : before_{} {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before_);
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
