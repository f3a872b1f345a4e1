// What the help and the manual say beside the options: topics, examples, exit codes.
#pragma once

#include "options/OptionTable.h"

#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

/// A topic as the help has it.
struct TopicInfo {
    Topic topic;
    const char* name;    ///< For `kxcontour help NAME`.
    const char* heading; ///< Above its options.
    const char* text;    ///< An introduction: paragraphs with an empty line between them.
};

/// In the order of the help.
const std::vector<TopicInfo>& TopicTable();

/// What else there is to say: a topic without options.
struct ChapterInfo {
    const char* name;
    const char* heading;
    const char* text;
};

const std::vector<ChapterInfo>& ChapterTable();

/// One exit code of the tool.
struct ExitCodeInfo {
    int code;
    const char* meaning;
};

const std::vector<ExitCodeInfo>& ExitCodeTable();

/// An example: what it does, and the command.
struct ExampleInfo {
    const char* purpose;
    const char* command;
};

const std::vector<ExampleInfo>& ExampleTable();

/// The first words that are not a model.
const std::vector<std::string>& Subcommands();

/// The shells that completions are made for.
const std::vector<std::string>& Shells();

} // namespace kxcontour
