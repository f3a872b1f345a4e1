// One script for each shell, from the option table. Values of options are completed where the table
// has choices for them or says that they are files.
#include "options/Completions.h"

#include "options/Help.h"
#include "options/Manual.h"
#include "options/Values.h"

#include <cstddef>
#include <vector>

namespace kxcontour {
namespace {

std::string Joined(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : between) + word;
    }
    return text;
}

/// Puts a backslash before some letters.
std::string Escaped(const std::string& text, const char* letters) {
    std::string escaped;
    for (const char letter : text) {
        if (std::string(letters).find(letter) != std::string::npos) {
            escaped += '\\';
        }
        escaped += letter;
    }
    return escaped;
}

/// "-o|--output" or "-o --output".
std::string Spellings(const OptionInfo& option, const char* between) {
    const std::string longName = std::string("--") + option.name;
    return option.letter == 0 ? longName : std::string("-") + option.letter + between + longName;
}

std::string BashValues(const OptionInfo& option) {
    if (option.kind == ValueKind::File) {
        return "_kxcontour_files \"$cur\"";
    }
    if (option.choices.empty()) {
        return ":";
    }
    const char* const function =
        option.kind == ValueKind::Names ? "_kxcontour_list" : "_kxcontour_words";
    return std::string(function) + " \"$cur\" '" + Joined(option.choices, " ") + "'";
}

std::string BashCases() {
    std::string text;
    for (const OptionInfo& option : OptionTable()) {
        if (!IsPositional(option) && option.kind != ValueKind::Flag) {
            text += "    " + Spellings(option, "|") + ")\n        " + BashValues(option) +
                    "\n        return\n        ;;\n";
        }
    }
    return text;
}

std::string BashOptions() {
    std::vector<std::string> names;
    for (const OptionInfo& option : OptionTable()) {
        if (!IsPositional(option)) {
            names.push_back(Spellings(option, " "));
        }
    }
    return Joined(names, " ");
}

const char* const kBashHelpers = R"(# bash completion for kxcontour

_kxcontour_words() {
    local IFS=$' \n'
    COMPREPLY=($(compgen -W "$2" -- "$1"))
}

_kxcontour_list() {
    local IFS=$' \n' before=
    [[ $1 == *,* ]] && before=${1%,*},
    COMPREPLY=($(compgen -P "$before" -W "$2" -- "${1##*,}"))
    compopt -o nospace 2>/dev/null
}

_kxcontour_files() {
    local IFS=$'\n'
    COMPREPLY=($(compgen -f -- "$1"))
    compopt -o filenames 2>/dev/null
}

_kxcontour() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}
    # The shell splits --view=top at the sign.
    if [[ $cur == "=" ]]; then
        cur=
    elif [[ $prev == "=" ]]; then
        prev=${COMP_WORDS[COMP_CWORD-2]}
    fi
    COMPREPLY=()
    case $prev in
)";

std::string BashScript() {
    return kBashHelpers + BashCases() + "    esac\n" +
           "    if [[ $cur == -* ]]; then\n"
           "        _kxcontour_words \"$cur\" '" +
           BashOptions() +
           "'\n"
           "    elif [[ $COMP_CWORD -eq 1 ]]; then\n"
           "        _kxcontour_words \"$cur\" '" +
           Joined(Subcommands(), " ") +
           "'\n"
           "        local commands=(\"${COMPREPLY[@]}\")\n"
           "        _kxcontour_files \"$cur\"\n"
           "        COMPREPLY=(\"${commands[@]}\" \"${COMPREPLY[@]}\")\n"
           "    elif [[ ${COMP_WORDS[1]} == help ]]; then\n"
           "        _kxcontour_words \"$cur\" '" +
           Joined(HelpTopics(), " ") +
           "'\n"
           "    elif [[ ${COMP_WORDS[1]} == completions ]]; then\n"
           "        _kxcontour_words \"$cur\" '" +
           Joined(Shells(), " ") +
           "'\n"
           "    else\n"
           "        _kxcontour_files \"$cur\"\n"
           "    fi\n"
           "}\n\n"
           "complete -F _kxcontour kxcontour\n";
}

/// ":MESSAGE:ACTION" of an option's value, empty for a flag.
std::string ZshValue(const OptionInfo& option) {
    if (option.kind == ValueKind::Flag) {
        return "";
    }
    const std::string message = std::string(":") + option.argument + ":";
    if (option.kind == ValueKind::File) {
        return message + "_files";
    }
    if (option.choices.empty()) {
        return message + " ";
    }
    const std::string choices = Escaped(Joined(option.choices, " "), ":");
    return option.kind == ValueKind::Names ? message + "_values -s , name " + choices
                                           : message + "(" + choices + ")";
}

/// A text inside single quotes, which end for a quote of its own and begin again.
std::string ZshQuoted(const std::string& text) {
    return Joined(Split(text, '\''), "'\\''");
}

std::string ZshOption(const OptionInfo& option) {
    const char* const sign = option.kind == ValueKind::Flag ? "" : "=";
    const std::string rest = "[" + ZshQuoted(Escaped(option.help, "[]\\")) + "]" + ZshValue(option);
    const std::string longName = std::string("--") + option.name + sign;
    if (option.letter == 0) {
        return "        '" + std::string(option.repeatable ? "*" : "") + longName + rest + "'";
    }
    const std::string shortName = std::string("-") + option.letter;
    return "        '(" + Spellings(option, " ") + ")'{" + shortName + (*sign == '=' ? "+" : "") +
           "," + longName + "}'" + rest + "'";
}

std::string ZshScript() {
    std::string options;
    for (const OptionInfo& option : OptionTable()) {
        options += IsPositional(option) ? "" : ZshOption(option) + " \\\n";
    }
    return "#compdef kxcontour\n\n"
           "_kxcontour_first() {\n"
           "    _alternative 'commands:command:(" +
           Joined(Subcommands(), " ") +
           ")' 'files:model:_files'\n"
           "}\n\n"
           "_kxcontour() {\n"
           "    if (( CURRENT == 3 )); then\n"
           "        case $words[2] in\n"
           "        help) compadd " +
           Joined(HelpTopics(), " ") +
           "; return ;;\n"
           "        completions) compadd " +
           Joined(Shells(), " ") +
           "; return ;;\n"
           "        esac\n"
           "    fi\n"
           "    _arguments -s \\\n" +
           options +
           "        '1: :_kxcontour_first' '*:model:_files'\n"
           "}\n\n"
           "# Works from a folder of $fpath and with source.\n"
           "if [[ $funcstack[1] == _kxcontour ]]; then\n"
           "    _kxcontour \"$@\"\n"
           "else\n"
           "    compdef _kxcontour kxcontour\n"
           "fi\n";
}

std::string FishQuoted(const std::string& text) {
    return "'" + Escaped(text, "'\\") + "'";
}

std::string FishValue(const OptionInfo& option) {
    if (option.kind == ValueKind::Flag) {
        return "";
    }
    if (option.kind == ValueKind::File) {
        return " -r -F";
    }
    return option.choices.empty() ? " -x" : " -x -a " + FishQuoted(Joined(option.choices, " "));
}

std::string FishOption(const OptionInfo& option) {
    const std::string letter = option.letter == 0 ? "" : std::string(" -s ") + option.letter;
    return "complete -c kxcontour" + letter + " -l " + option.name + FishValue(option) + " -d " +
           FishQuoted(option.help) + "\n";
}

std::string FishScript() {
    std::string text = "# fish completion for kxcontour\n\n"
                       "complete -c kxcontour -n __fish_use_subcommand -a " +
                       FishQuoted(Joined(Subcommands(), " ")) + "\n" +
                       "complete -c kxcontour -n '__fish_seen_subcommand_from help' -x -a " +
                       FishQuoted(Joined(HelpTopics(), " ")) + "\n" +
                       "complete -c kxcontour -n '__fish_seen_subcommand_from completions' -x -a " +
                       FishQuoted(Joined(Shells(), " ")) + "\n";
    for (const OptionInfo& option : OptionTable()) {
        text += IsPositional(option) ? "" : FishOption(option);
    }
    return text;
}

} // namespace

std::string Completions(std::string_view shell) {
    switch (ParseName(shell, "shell", Shells())) {
    case 0:
        return BashScript();
    case 1:
        return ZshScript();
    default:
        return FishScript();
    }
}

} // namespace kxcontour
