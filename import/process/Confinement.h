// Restricts the rights of a process by Landlock and seccomp.
#pragma once

#include <vector>

namespace kxcontour {

/// The restrictions that the kernel supports.
struct Confined {
    bool files = false; ///< Landlock: no files but those below the folders.
    bool calls = false; ///< The filter of system calls.
};

/// Takes from this process, irrevocably, all rights that reading a model does not need.
///
/// It can then open files below the folders (open descriptors) for reading only; it has no network
/// and cannot write files, start processes or signal others. A forbidden call fails with EPERM; one
/// that no importer makes, such as a new process or a socket, ends the process by SIGSYS. Open
/// descriptors stay open. Restrictions that the kernel lacks are omitted: Landlock exists from
/// Linux 5.13, and a container may forbid filters.
Confined Confine(const std::vector<int>& folders);

} // namespace kxcontour
