// Drawings that the built tool makes of files, and how far two of them differ.
#pragma once

#include "LineComparison.h"
#include "tool/ModelText.h"

#include <cstddef>
#include <string>
#include <vector>

namespace ground_truth {

/// Runs the tool on a file in a folder, writes FILE.svg beside it and reads that. The test fails
/// where the tool does; what it warns of is allowed.
class FileDrawing {
public:
    FileDrawing(const tool_test::TemporaryFolder& folder,
                const std::string& file,
                const std::string& options);

    const std::vector<FlatLine>& lines() const { return lines_; }
    std::size_t paths() const { return paths_; }

private:
    std::vector<FlatLine> lines_;
    std::size_t paths_ = 0;
};

/// What is farther than a distance from all lines of the other drawing.
struct Difference {
    Difference(const FileDrawing& sound, const FileDrawing& worn, double distance);

    double missing = 0.0; ///< Millimetres of the sound drawing.
    double extra = 0.0;   ///< Millimetres of the worn one.
    std::string text;     ///< Where, the longest first.
};

/// Prints a row of a table.
void PrintRow(const std::string& name,
              const FileDrawing& sound,
              const FileDrawing& worn,
              const Difference& difference);

/// Copies the files in a folder to $CTR_KEEP_DRAWINGS, where that is set, as NAME_FILE.
void KeepFiles(const tool_test::TemporaryFolder& folder, const std::string& name);

} // namespace ground_truth
