// The parser is CLI11, fed with the table. It only collects: values are read elsewhere, the same
// way as those from files.
#include "options/Arguments.h"

#include "drawing/common/Failure.h"
#include "drawing/common/NearestName.h"
#include "options/OptionTable.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>

namespace kxcontour {
namespace {

using Texts = std::vector<std::string>;

std::string Dashed(const std::string& name) {
    return "--" + name;
}

void AddOptions(CLI::App& app) {
    for (const OptionInfo& option : OptionTable()) {
        if (IsPositional(option)) {
            continue;
        }
        const std::string names =
            (option.letter == 0 ? "" : std::string("-") + option.letter + ",") +
            Dashed(option.name);
        if (option.kind == ValueKind::Flag) {
            app.add_flag(names)->disable_flag_override();
        } else {
            // All texts are taken, so that giving one twice is told from giving it wrong.
            app.add_option(names)->allow_extra_args(false)->expected(1)->multi_option_policy(
                CLI::MultiOptionPolicy::TakeAll);
        }
    }
}

/// The name of an option without its dashes and its value: "view" for "--view=top".
std::string BareName(const std::string& argument) {
    const std::size_t start = argument.find_first_not_of('-');
    if (start == std::string::npos) {
        return "";
    }
    return argument.substr(start, argument.find('=') - start);
}

/// The argument that an unknown rest is from: the parser hands back "-iew" of "-view", having taken
/// the v for an option.
std::string WholeArgument(const std::string& rest, const Texts& arguments) {
    for (const std::string& argument : arguments) {
        if (argument.size() > rest.size() && argument.front() == '-' && argument[1] != '-' &&
            rest[1] != '-' && argument.ends_with(rest.substr(1))) {
            return argument;
        }
    }
    return rest;
}

[[noreturn]] void RefuseUnknownOption(const std::string& argument) {
    const std::string nearest = NearestName(BareName(argument), OptionNames(Scope::CommandLine));
    throw Failure(ExitCode::Usage,
                  "unknown option '" + argument.substr(0, argument.find('=')) + "'" +
                      (nearest.empty() ? "; see --help" : "; did you mean '--" + nearest + "'?"));
}

/// Whether the next argument is the option's value, whatever it looks like.
bool TakesNext(const std::string& argument) {
    return std::any_of(OptionTable().begin(), OptionTable().end(), [&](const OptionInfo& option) {
        const bool spelt = argument == Dashed(option.name) ||
                           (option.letter != 0 && argument == std::string("-") + option.letter);
        return spelt && !IsPositional(option) && option.kind != ValueKind::Flag;
    });
}

/// Makes two arguments of "--title=", which the parser would give the next one for a value.
Texts WithEmptyValues(const Texts& arguments) {
    Texts split;
    bool isValue = false;
    for (const std::string& argument : arguments) {
        const std::string name = argument.substr(0, argument.find('='));
        if (!isValue && name.size() + 1 == argument.size() && TakesNext(name)) {
            split.insert(split.end(), {name, ""});
        } else {
            split.push_back(argument);
            isValue = !isValue && TakesNext(argument);
        }
    }
    return split;
}

/// What the parser did not know: models, or options that do not exist.
Texts TakeModels(const Texts& rest, const Texts& arguments) {
    for (const std::string& text : rest) {
        if (text.size() > 1 && text.front() == '-') {
            RefuseUnknownOption(WholeArgument(text, arguments));
        }
    }
    return rest;
}

/// Why an argument could not be taken; the parser's own words are not for users.
[[noreturn]] void
RefuseArguments(const CLI::App& app, const CLI::ParseError& error, const Texts& arguments) {
    TakeModels(app.remaining(), arguments);
    const std::string words = error.what();
    const std::string name = words.substr(0, words.find_first_of(": "));
    const OptionInfo* option = FindOption(BareName(name));
    if (option == nullptr) {
        throw Failure(ExitCode::Usage, words.substr(0, words.find('\n')) + "; see --help");
    }
    const std::string problem =
        option->kind == ValueKind::Flag
            ? " takes no value"
            : std::string(" needs a value, ") + Dashed(option->name) + " " + option->argument;
    throw Failure(ExitCode::Usage, Dashed(option->name) + problem);
}

void Collect(const CLI::App& app, const OptionInfo& option, GivenOptions& given) {
    const CLI::Option& parsed = *app.get_option(Dashed(option.name));
    if (parsed.count() == 0) {
        return;
    }
    if (option.kind == ValueKind::Flag) {
        given.add(option.name, "true");
        return;
    }
    if (parsed.count() > 1 && !option.repeatable) {
        throw Failure(ExitCode::Usage, Dashed(option.name) + " is given more than once");
    }
    for (const std::string& text : parsed.results()) {
        given.add(option.name, text);
    }
}

} // namespace

GivenOptions ReadArguments(const Texts& arguments) {
    CLI::App app;
    app.allow_extras();
    app.set_help_flag();
    AddOptions(app);
    const auto mark = std::find(arguments.begin(), arguments.end(), "--");
    // The parser takes its arguments last first.
    Texts turned = WithEmptyValues(Texts(arguments.begin(), mark));
    std::reverse(turned.begin(), turned.end());
    try {
        app.parse(std::move(turned));
    } catch (const CLI::ParseError& error) {
        RefuseArguments(app, error, arguments);
    }
    GivenOptions given;
    for (const char* name : {"help", "version"}) {
        if (app.count(Dashed(name)) > 0) {
            given.add(name, "true");
            return given;
        }
    }
    Texts models = TakeModels(app.remaining(), arguments);
    if (mark != arguments.end()) {
        models.insert(models.end(), mark + 1, arguments.end());
    }
    for (const std::string& model : models) {
        given.add(OptionTable().front().name, model);
    }
    for (const OptionInfo& option : OptionTable()) {
        if (!IsPositional(option)) {
            Collect(app, option, given);
        }
    }
    return given;
}

} // namespace kxcontour
