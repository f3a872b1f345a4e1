// The handler removes the unfinished file and leaves. Importing, baking and writing cannot be asked
// to stop half-way; ending the process takes as long on a large model as on a small one.
#include "common/Interrupt.h"

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>
#include <cstddef>
#include <unistd.h>

namespace kxcontour {
namespace {

/// Only changed while interrupts are held.
std::array<char, PATH_MAX> unfinishedFile{};

sigset_t Interrupts() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

extern "C" void OnInterrupt(int signal) {
    constexpr char kMessage[] = "\nkxcontour: cancelled\n";
    if (unfinishedFile[0] != '\0') {
        ::unlink(unfinishedFile.data());
    }
    // A message that cannot be written changes nothing.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kMessage, sizeof kMessage - 1);
    ::_exit(128 + signal);
}

} // namespace

void HandleInterrupts() {
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    action.sa_mask = Interrupts();
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

void RemoveWhenInterrupted(const std::string& path) {
    const InterruptsHeld held;
    const std::size_t length = std::min(path.size(), unfinishedFile.size() - 1);
    std::copy_n(path.begin(), length, unfinishedFile.begin());
    unfinishedFile[length] = '\0';
}

InterruptsHeld::InterruptsHeld() : before_{} {
    const sigset_t signals = Interrupts();
    ::sigprocmask(SIG_BLOCK, &signals, &before_);
}

InterruptsHeld::~InterruptsHeld() {
    ::sigprocmask(SIG_SETMASK, &before_, nullptr);
}

} // namespace kxcontour
