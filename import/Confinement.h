// What the kernel can keep a process from.
#pragma once

#include <vector>

namespace kxcontour {

/// What the kernel took part in.
struct Confined {
    bool files = false; ///< Landlock: no files but those below the folders.
    bool calls = false; ///< The filter of system calls.
};

/// Takes from this process, and for good, all that reading a model does not need.
///
/// It opens files below the folders (open descriptors) for reading, and nothing else; it has no
/// network and cannot write files, start processes or reach others. A call that it may not make
/// fails with EPERM; one that no importer makes, such as a new process or a socket, ends it by
/// SIGSYS. Descriptors that are open stay open. What the kernel does not have is left out: Landlock
/// is there from Linux 5.13, and a container may forbid filters.
Confined Confine(const std::vector<int>& folders);

} // namespace kxcontour
