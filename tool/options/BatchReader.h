// From given jobs to the jobs of a batch.
#pragma once

#include "options/CommandLine.h"
#include "options/GivenOptions.h"
#include "options/OptionFiles.h"

#include <string>
#include <vector>

namespace kxcontour {

/// Reads the options of every job and makes one job of each of its views.
///
/// batch holds the options of the whole batch: jobs, force, state and messages; jobFile is the file
/// that the jobs are from, or empty. Throws Failure (Usage), beginning with where the job stands,
/// for anything wrong with a job, for standard streams, and for two jobs that write the same file.
BatchCommand
ReadBatch(const std::vector<GivenJob>& jobs, const GivenOptions& batch, const std::string& jobFile);

} // namespace kxcontour
