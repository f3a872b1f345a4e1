// One drawing, from a scene to a file.
#pragma once

#include "drawing/Drawing.h"
#include "drawing/files/OutputFile.h"
#include "tool/options/Options.h"

#include <functional>
#include <optional>
#include <ostream>
#include <string>

namespace kxcontour {

/// The facts about a drawing that was made.
struct DrawingReport {
    std::string output;
    kxdrawing::PageSize page;
    kxdrawing::DrawingStatistics lines;
    std::optional<double> scale; ///< Length on paper over real length; none in perspective.
    std::string overflow;        ///< See DescribeOverflow().
};

/// The file that a drawing goes to, or for "-" standard output, which gets nothing before the whole
/// drawing is there.
class DrawingTarget {
public:
    /// Throws CannotWrite where it cannot be written, and leaves no trace.
    explicit DrawingTarget(const std::string& path);

    void write(const std::function<void(std::ostream&)>& writer);

private:
    std::optional<OutputFile> file_;
};

/// Draws a scene and puts the file in place, whole or not at all. Any number of threads may draw
/// one scene at once. Throws kxdrawing::Error.
DrawingReport
DrawToFile(const Scene& scene, const DrawingOptions& options, DrawingObserver& observer);

} // namespace kxcontour
