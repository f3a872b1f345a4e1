// What Ctrl-C does.
#pragma once

#include <csignal>
#include <string>

namespace kxcontour {

/// Makes SIGINT and SIGTERM end the process at once, with a word on stderr and 128 plus the signal
/// as exit code (130 for Ctrl-C), whatever it is doing.
void HandleInterrupts();

/// The file that is removed when that happens; empty for none.
void RemoveWhenInterrupted(const std::string& path);

/// Holds interrupts back while it lives, for the moment in which a file exists unannounced. Nests.
class InterruptsHeld {
public:
    InterruptsHeld();
    ~InterruptsHeld();
    InterruptsHeld(const InterruptsHeld&) = delete;
    InterruptsHeld& operator=(const InterruptsHeld&) = delete;

private:
    sigset_t before_;
};

} // namespace kxcontour
