// The one table of options. The parser of the command line, the keys of configuration and job
// files, the help, the manual page, the completions and the suggestions are all made from it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

/// What an option is about, in the order of the help.
enum class Topic : std::uint8_t { Input, Camera, Page, Lines, Output, Batch, Messages };

/// How a value is written: on the command line always as text, in files also as it is natural.
enum class ValueKind : std::uint8_t {
    Flag,   ///< true or false.
    Text,   ///< A text.
    Number, ///< A text or a number.
    Names,  ///< A text with commas, or a list of texts.
    Point,  ///< A text with commas, or a list of three numbers.
    File,   ///< A text; relative to the file that it stands in. A list where repeatable.
    Style,  ///< A text, a list of texts, or a table of families with a table of keys each.
};

/// Where an option may stand.
enum class Scope : std::uint8_t {
    CommandLine, ///< There only.
    Config,      ///< In configuration files, too.
    Anywhere,    ///< In job files, too.
};

struct OptionInfo {
    const char* name;     ///< Long, without dashes; also the key in files.
    char letter;          ///< Short name, or 0.
    const char* argument; ///< What the help calls the value; empty for a flag.
    Topic topic;
    ValueKind kind;
    const char* help;     ///< One line, without a full stop.
    const char* details;  ///< Whole sentences for the manual.
    const char* standard; ///< What holds when it is not given, for the help; may be empty.
    std::vector<std::string> choices; ///< All values, or the usual ones for completion.
    bool repeatable = false;
    Scope scope = Scope::Anywhere;
};

/// All options, by topic. The first is the positional one, "model".
const std::vector<OptionInfo>& OptionTable();

/// Whether an option of the table is given without its name.
bool IsPositional(const OptionInfo& option);

/// The option of a long name, or null.
const OptionInfo* FindOption(std::string_view name);

/// The long names of the options that may stand in a place, without the positional one unless it
/// is a key there.
std::vector<std::string> OptionNames(Scope place);

} // namespace kxcontour
