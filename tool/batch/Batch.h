// Draws many drawings in one run.
#pragma once

#include "tool/common/Messages.h"
#include "tool/options/CommandLine.h"

#include <ostream>

namespace kxcontour {

/// Draws the jobs of a batch on its threads. Returns the exit code of the first failed job in their
/// order; CannotWrite where only the state file could not be written; otherwise 0. Throws
/// CannotWrite before anything is drawn where the folder of the state file does not exist.
///
/// Jobs with the same models share one scene. Every thread has a generator of its own, so drawings
/// are byte-identical for any number of threads. A failed job is reported at once, and the others
/// continue. A job whose drawing exists and was made with its options and models is skipped, see
/// FinishedJobs. A table of all jobs is printed to out.
int RunBatch(const BatchCommand& command,
             const Messages& messages,
             std::ostream& out,
             std::ostream& log);

} // namespace kxcontour
