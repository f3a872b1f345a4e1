// The handler removes the unfinished files and leaves. A child of this process has a copy of it,
// but the files are not its own: the signal ends it as if it had no handler, and its parent sees
// which one it was.
#include "tool/common/Interrupt.h"

#include "drawing/files/UnfinishedFile.h"

#include <array>
#include <atomic>
#include <csignal>
#include <unistd.h>

namespace kxcontour {
namespace {

/// The process that the files belong to; 0 before interrupts are handled.
std::atomic<pid_t> process{0};

static_assert(std::atomic<pid_t>::is_always_lock_free, "the signal handler reads this");

/// Ctrl-C, a terminal that is closed, Ctrl-\, the end that a system asks for, and the end of the
/// processor time that a run may take.
constexpr std::array<int, 5> kInterrupts{SIGINT, SIGHUP, SIGQUIT, SIGTERM, SIGXCPU};

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
    EndUnfinishedFiles();
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

} // namespace

void HandleInterrupts() {
    process.store(::getpid());
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    sigfillset(&action.sa_mask);
    for (const int signal : kInterrupts) {
        HandleUnlessIgnored(signal, action);
    }
    action.sa_handler = OnAbort;
    HandleUnlessIgnored(SIGABRT, action);
}

} // namespace kxcontour
