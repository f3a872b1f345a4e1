// What one run reads and writes.
#pragma once

#include "import/SceneReader.h"
#include "tool/common/FileIdentity.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kxcontour {

/// Sees to it that a run writes no file twice and none that it reads, whatever they are called.
///
/// Add what is read first, so that a conflict is reported for the output. "-" is standard input or
/// output, which may be files. Operations throw InvalidArgument for a file that has another use
/// already.
class RunFiles {
public:
    /// optionFiles: configurations and a job file.
    explicit RunFiles(const std::vector<std::string>& optionFiles);

    /// Models and occluders.
    void read(const InputOptions& input);

    void writeDrawing(const std::string& path);
    /// The notes of a batch, which are read as well.
    void writeState(const std::string& path);
    /// Results on standard output.
    void print();

    /// Files that a model refers to, which are known when it has been read.
    void readSideFiles(const std::vector<std::string>& paths);
    /// Refuses a drawing in the place of such a file. Any number of threads may ask.
    void requireNoSideFile(const std::string& drawing) const;

private:
    enum class Use { Model, Options, Drawing, State, Results };
    struct Entry {
        std::string path;
        Use use;
    };

    void add(const std::optional<FileIdentity>& file, const Entry& entry);
    /// The other use of a file, or null.
    const Entry* find(const std::optional<FileIdentity>& file) const;

    std::map<FileIdentity, Entry> entries_;
    std::set<FileIdentity> sideFiles_;
};

} // namespace kxcontour
