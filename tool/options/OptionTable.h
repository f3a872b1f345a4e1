// The one table of options. Each row says how an option is written and what becomes of its value;
// the parser of the command line, the keys of configuration and job files, the options of a
// drawing, its signature, the help, the manual page, the completions and the suggestions for
// misspelt names are all derived from it.
#pragma once

#include "tool/options/Options.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

/// What an option is about, in the order of the help.
enum class Topic : std::uint8_t { Input, Camera, Page, Lines, Output, Batch, Messages };

/// How a value is written in files; on the command line it is text.
enum class ValueKind : std::uint8_t {
    Flag,   ///< true or false.
    Text,   ///< A string.
    Number, ///< A string or a number.
    Names,  ///< A string with commas, or an array of strings.
    Point,  ///< A string with commas, or an array of three numbers.
    File,   ///< A string, relative to the file that it is in; an array if repeatable.
    Style,  ///< A string, an array of strings, or a table of families with a table of keys each.
};

/// The sources in which an option is allowed.
enum class Scope : std::uint8_t {
    CommandLine, ///< The command line only.
    Config,      ///< Configuration files, too.
    Anywhere,    ///< Job files, too.
};

/// What depends on the value of an option.
enum class Effect : std::uint8_t {
    Run,     ///< The run and its messages, but no drawing.
    Limit,   ///< Whether a model is read, but not its contents.
    Scene,   ///< The scene, and so the drawing.
    Drawing, ///< The drawing only.
};

/// The maximum number of drawings made at the same time.
inline constexpr unsigned int kMostThreads = 256;

/// The options of a whole batch.
struct BatchOptions {
    std::vector<Direction> views; ///< One drawing each; empty: the camera's view.
    unsigned int threads = 0;     ///< 0: one per processor.
    bool force = false;           ///< Draw again what is up to date.
    std::string statePath;        ///< The file of finished work; empty: not given.
};

/// The structs in which the rows store values.
struct AllOptions {
    DrawingOptions drawing;
    BatchOptions batch;
};

/// The value of an option.
struct OptionValue {
    ValueKind kind = ValueKind::Flag;
    std::vector<std::string> choices{}; ///< All values, or the usual ones for completion.
    bool repeatable = false;
    /// Checks a text and stores its value. Throws InvalidArgument. Empty where the command line
    /// itself acts on the option.
    std::function<void(const std::string& text, AllOptions& all)> store{};
    /// The stored value as one word of printable ASCII, different for different values; empty where
    /// another option has the same place.
    std::function<std::string(const AllOptions& all)> word{};
};

struct OptionInfo {
    const char* name;     ///< Long, without dashes; also the key in files.
    char letter;          ///< Short name, or 0.
    const char* argument; ///< What the help calls the value; empty for a flag.
    const char* standard; ///< The default in the help; may be empty.
    Topic topic;
    Effect effect;
    OptionValue value;
    const char* help;    ///< One line, without a full stop.
    const char* details; ///< Whole sentences for the manual.
    Scope scope = Scope::Anywhere;

    bool isFlag() const { return value.kind == ValueKind::Flag; }

    /// "--output".
    std::string dashed() const { return std::string("--") + name; }

    /// "-o|--output", or the long name alone.
    std::string spellings(const char* between) const {
        return letter == 0 ? dashed() : std::string("-") + letter + between + dashed();
    }
};

/// All options, by topic. The first is the positional one, "model".
const std::vector<OptionInfo>& OptionTable();

/// The options given by name: all but the first.
std::span<const OptionInfo> NamedOptions();

/// The names of the directions of view, in the order of Direction.
const std::vector<std::string>& ViewNames();

/// The option of a long name, or null.
const OptionInfo* FindOption(std::string_view name);

/// The long names of the options allowed in a source: of the named ones on the command line, of all
/// in files.
std::vector<std::string> OptionNames(Scope place);

} // namespace kxcontour
