// The one table of options. Each row says how an option is written and what becomes of its value;
// the parser of the command line, the keys of configuration and job files, the options of a
// drawing, its signature, the help, the manual page, the completions and the suggestions for
// misspelt names are all derived from it.
#pragma once

#include "options/Options.h"

#include <cstdint>
#include <functional>
#include <span>
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

/// What the value of an option decides.
enum class Effect : std::uint8_t {
    Run,     ///< How the tool runs and reports; no drawing depends on it.
    Limit,   ///< Whether a model is read, but nothing about what is read.
    Scene,   ///< What is read, and so the drawing.
    Drawing, ///< The drawing.
};

/// How many drawings are made at the same time at most.
inline constexpr unsigned int kMostThreads = 256;

/// The options of a whole batch.
struct BatchOptions {
    std::vector<View> views;  ///< One drawing each; empty: the camera's view.
    unsigned int threads = 0; ///< 0: one per processor.
    bool force = false;       ///< Draw again what is up to date.
    std::string statePath;    ///< Where finished work is noted; empty: not given.
};

/// Where the table puts values.
struct AllOptions {
    DrawingOptions drawing;
    BatchOptions batch;
};

/// The value of an option.
struct OptionValue {
    ValueKind kind = ValueKind::Flag;
    std::vector<std::string> choices{}; ///< All values, or the usual ones for completion.
    bool repeatable = false;
    /// Checks a text and stores its value. Throws Failure (Usage). Empty where the command line
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
    const char* standard; ///< What holds when it is not given, for the help; may be empty.
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

/// The options that are given by their names: all but the first.
std::span<const OptionInfo> NamedOptions();

/// The option of a long name, or null.
const OptionInfo* FindOption(std::string_view name);

/// The long names of the options that may stand in a place: of named ones on the command line, of
/// all in files.
std::vector<std::string> OptionNames(Scope place);

} // namespace kxcontour
