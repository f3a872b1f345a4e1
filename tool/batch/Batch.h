// Many drawings in one run.
#pragma once

#include "common/Messages.h"
#include "options/CommandLine.h"

#include <ostream>

namespace kxcontour {

/// Draws the jobs of a batch over its threads, and returns the exit code of the first job, in their
/// order, that failed; that of a failure to write when only the notes on finished work could not be
/// kept; or else 0. Throws Failure (CannotWrite) before anything is drawn when the notes have no
/// folder to be in.
///
/// Jobs with the same models share what is read of them. Every thread has a generator of its own,
/// so drawings are the same, byte for byte, however many threads there are. A job that fails is
/// told of at once, the others go on. A job whose drawing is there, and whose options and models
/// are those it was made from, is skipped, see DoneWork. A table of all jobs goes to out.
int RunBatch(const BatchCommand& command,
             const Messages& messages,
             std::ostream& out,
             std::ostream& log);

} // namespace kxcontour
