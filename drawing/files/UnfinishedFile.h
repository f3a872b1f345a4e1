// Files that go when the process is ended before they are finished.
#pragma once

#include <csignal>
#include <cstddef>
#include <string>

namespace kxcontour {

/// Blocks the signals of this thread while it lives, for the moment in which a file exists
/// unannounced. Nests.
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

/// Both are for signal handlers. The first removes the files that are announced; the second does so
/// when no other thread holds interrupts, or after a fifth of a second, and keeps all others from
/// holding any again.
void RemoveUnfinishedFiles();
void EndUnfinishedFiles();

} // namespace kxcontour
