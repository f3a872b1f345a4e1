// The command line: turns arguments into a command.
#pragma once

#include "tool/options/Options.h"

#include <optional>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace kxcontour {

/// kxcontour MODEL... -o OUT: one drawing.
struct DrawCommand {
    DrawingOptions options;
    std::vector<std::string> optionFiles; ///< The configuration, if any.
};

/// kxcontour MODEL... --info: lists the contents of models without drawing.
struct InfoCommand {
    InputOptions input;
    MessageOptions messages;
    std::vector<std::string> optionFiles;
};

/// One drawing of a batch.
struct BatchJob {
    std::string name; ///< For messages: the job's own name, else its output.
    DrawingOptions options;
    /// The options in canonical form, see SignatureOf().
    std::string signature;
};

/// kxcontour batch JOBS.json, or kxcontour MODEL --views front,top -o 'name-{view}.svg'.
struct BatchCommand {
    std::vector<BatchJob> jobs;
    unsigned int threads = 1;
    bool force = false;                   ///< Draw again what is up to date.
    std::string statePath;                ///< The file of finished work; empty: none.
    MessageOptions messages;              ///< Of the whole batch.
    std::vector<std::string> optionFiles; ///< The job file and the configuration.
};

using Command = std::variant<DrawCommand, InfoCommand, BatchCommand>;

/// Reads the arguments (without the program's name).
///
/// Returns nothing for help, the version, the manual page and completions, which are written to
/// out. Throws InvalidArgument, naming the nearest option for
/// one that does not exist; Unreadable for a configuration or job file that cannot be read.
std::optional<Command> ParseCommandLine(const std::vector<std::string>& arguments,
                                        std::ostream& out);

} // namespace kxcontour
