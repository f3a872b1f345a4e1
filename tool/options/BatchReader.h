// Reads the jobs of a batch.
#pragma once

#include "tool/options/CommandLine.h"
#include "tool/options/GivenOptions.h"
#include "tool/options/OptionFiles.h"

#include <string>
#include <vector>

namespace kxcontour {

/// Reads the options of every job and expands it into one job per view.
///
/// batch holds the options of the whole batch: jobs, force, state and messages; jobFile is the file
/// that the jobs come from, or empty. Throws InvalidArgument, with the position of the job first,
/// for a mistake in a job, for standard streams, and for two jobs that write the same file.
BatchCommand
ReadBatch(const std::vector<GivenJob>& jobs, const GivenOptions& batch, const std::string& jobFile);

} // namespace kxcontour
