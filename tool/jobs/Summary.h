// What the user is told about a drawing that was made.
#pragma once

#include "tool/common/Messages.h"
#include "tool/jobs/DrawingJob.h"

#include <ostream>

namespace kxcontour {

/// Warnings and notes: triangles left out, a unit that was assumed where it matters, a page too
/// small, and with --verbose the numbers of lines.
void TellAbout(const Scene& scene,
               const DrawingOptions& options,
               const DrawingReport& report,
               const Messages& messages);

/// One line such as "gear.svg: 210 x 297 mm, 120 lines", a JSON object, or nothing when quiet.
void PrintSummary(const DrawingReport& report, const MessageOptions& options, std::ostream& out);

} // namespace kxcontour
