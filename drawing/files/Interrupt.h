// What Ctrl-C does.
#pragma once

#include <csignal>
#include <cstddef>
#include <string>

namespace kxcontour {

/// Makes SIGINT, SIGHUP, SIGQUIT, SIGTERM and SIGXCPU end the process at once, with a word on
/// stderr and 128 plus the signal as exit code (130 for Ctrl-C), whatever it is doing and on
/// however many threads. One that is ignored already stays so. An abort removes the unfinished
/// files, too.
void HandleInterrupts();

/// Holds interrupts back while it lives, for the moment in which a file exists unannounced. Nests.
///
/// An interrupt that another thread takes meanwhile waits for the end of it. Keep it short: no
/// waiting for other threads inside.
class InterruptsHeld {
public:
    InterruptsHeld();
    ~InterruptsHeld();
    InterruptsHeld(const InterruptsHeld&) = delete;
    InterruptsHeld& operator=(const InterruptsHeld&) = delete;

private:
    sigset_t before_;
};

/// A file that an interrupt removes while this lives. Any number of threads may have some.
///
/// Create the file and announce it, and take away both, while interrupts are held. There is room
/// for 64 at a time; an interrupt leaves the file of any beyond that, and of a path over PATH_MAX,
/// behind.
class UnfinishedFile {
public:
    explicit UnfinishedFile(const std::string& path);
    ~UnfinishedFile();
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

private:
    std::size_t slot_;
};

} // namespace kxcontour
