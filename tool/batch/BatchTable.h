// The results of a batch as a table.
#pragma once

#include "tool/common/Failure.h"
#include "tool/jobs/DrawingJob.h"
#include "tool/options/CommandLine.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace kxcontour {

enum class JobState : std::uint8_t { Failed, Drawn, UpToDate };

struct JobResult {
    JobState state = JobState::Failed;
    DrawingReport report; ///< Of a job that was drawn.
    Failure failure;      ///< Of a job that failed.
    double seconds = 0.0;
};

/// One line per job and one with the counts; JSON with --json, nothing with --quiet.
void PrintTable(const BatchCommand& command,
                const std::vector<JobResult>& results,
                std::ostream& out);

} // namespace kxcontour
