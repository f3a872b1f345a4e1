// One template per shell, filled in from the option table. Values are completed if the table lists
// choices for them or if they are files.
#include "tool/options/Completions.h"

#include "tool/options/Help.h"
#include "tool/options/Manual.h"
#include "tool/options/Values.h"

namespace kxcontour {
namespace {

/// The text with a backslash before each of some letters.
std::string Escaped(std::string text, std::string_view letters) {
    for (const char letter : letters) {
        text = Replaced(text, std::string(1, letter), std::string("\\") + letter);
    }
    return text;
}

/// Fills in the words that all shells complete, and the options.
std::string Filled(std::string script, const std::string& options) {
    script = Replaced(script, "@COMMANDS@", Joined(kCommands, " "));
    script = Replaced(script, "@TOPICS@", Joined(HelpTopics(), " "));
    script = Replaced(script, "@SHELLS@", Joined(kShells, " "));
    return Replaced(script, "@OPTIONS@", options);
}

constexpr const char* kBashScript = R"(# bash completion for kxcontour

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
@CASES@    esac
    if [[ $cur == -* ]]; then
        _kxcontour_words "$cur" '@OPTIONS@'
    elif [[ $COMP_CWORD -eq 1 ]]; then
        _kxcontour_words "$cur" '@COMMANDS@'
        local commands=("${COMPREPLY[@]}")
        _kxcontour_files "$cur"
        COMPREPLY=("${commands[@]}" "${COMPREPLY[@]}")
    elif [[ ${COMP_WORDS[1]} == help ]]; then
        _kxcontour_words "$cur" '@TOPICS@'
    elif [[ ${COMP_WORDS[1]} == completions ]]; then
        _kxcontour_words "$cur" '@SHELLS@'
    else
        _kxcontour_files "$cur"
    fi
}

complete -F _kxcontour kxcontour
)";

std::string BashValues(const OptionValue& value) {
    if (value.kind == ValueKind::File) {
        return "_kxcontour_files \"$cur\"";
    }
    if (value.choices.empty()) {
        return ":";
    }
    return std::string(value.kind == ValueKind::Names ? "_kxcontour_list" : "_kxcontour_words") +
           " \"$cur\" '" + Joined(value.choices, " ") + "'";
}

std::string BashScript() {
    std::vector<std::string> names;
    std::string cases;
    for (const OptionInfo& option : NamedOptions()) {
        names.push_back(option.spellings(" "));
        if (!option.isFlag()) {
            cases += "    " + option.spellings("|") + ")\n        " + BashValues(option.value) +
                     "\n        return\n        ;;\n";
        }
    }
    return Replaced(Filled(kBashScript, Joined(names, " ")), "@CASES@", cases);
}

constexpr const char* kZshScript = R"(#compdef kxcontour

_kxcontour_first() {
    _alternative 'commands:command:(@COMMANDS@)' 'files:model:_files'
}

_kxcontour() {
    if (( CURRENT == 3 )); then
        case $words[2] in
        help) compadd @TOPICS@; return ;;
        completions) compadd @SHELLS@; return ;;
        esac
    fi
    _arguments -s \
@OPTIONS@        '1: :_kxcontour_first' '*:model:_files'
}

# Works from a folder of $fpath and with source.
if [[ $funcstack[1] == _kxcontour ]]; then
    _kxcontour "$@"
else
    compdef _kxcontour kxcontour
fi
)";

/// The action that completes an option's value.
std::string ZshAction(const OptionValue& value) {
    if (value.kind == ValueKind::File) {
        return "_files";
    }
    if (value.choices.empty()) {
        return " ";
    }
    const std::string choices = Escaped(Joined(value.choices, " "), ":");
    return value.kind == ValueKind::Names ? "_values -s , name " + choices : "(" + choices + ")";
}

std::string ZshOption(const OptionInfo& option) {
    const std::string longName = option.dashed() + (option.isFlag() ? "" : "=");
    // A quote inside ends the quoted text, which is reopened after it.
    const std::string help = Replaced(Escaped(option.help, "\\[]"), "'", "'\\''");
    const std::string rest =
        "[" + help + "]" +
        (option.isFlag() ? "" : std::string(":") + option.argument + ":" + ZshAction(option.value));
    if (option.letter == 0) {
        return std::string("'") + (option.value.repeatable ? "*" : "") + longName + rest + "'";
    }
    return "'(" + option.spellings(" ") + ")'{-" + option.letter + (option.isFlag() ? "," : "+,") +
           longName + "}'" + rest + "'";
}

std::string ZshScript() {
    std::string options;
    for (const OptionInfo& option : NamedOptions()) {
        options += "        " + ZshOption(option) + " \\\n";
    }
    return Filled(kZshScript, options);
}

constexpr const char* kFishScript = R"(# fish completion for kxcontour

complete -c kxcontour -n __fish_use_subcommand -a '@COMMANDS@'
complete -c kxcontour -n '__fish_seen_subcommand_from help' -x -a '@TOPICS@'
complete -c kxcontour -n '__fish_seen_subcommand_from completions' -x -a '@SHELLS@'
@OPTIONS@)";

std::string FishValue(const OptionValue& value) {
    if (value.kind == ValueKind::Flag || value.kind == ValueKind::File) {
        return value.kind == ValueKind::Flag ? "" : " -r -F";
    }
    return value.choices.empty() ? " -x" : " -x -a '" + Joined(value.choices, " ") + "'";
}

std::string FishScript() {
    std::string options;
    for (const OptionInfo& option : NamedOptions()) {
        options += std::string("complete -c kxcontour") +
                   (option.letter == 0 ? "" : std::string(" -s ") + option.letter) + " -l " +
                   option.name + FishValue(option.value) + " -d '" + Escaped(option.help, "\\'") +
                   "'\n";
    }
    return Filled(kFishScript, options);
}

} // namespace

std::string Completions(std::string_view shell) {
    switch (ParseName(shell, "shell", kShells)) {
    case 0:
        return BashScript();
    case 1:
        return ZshScript();
    default:
        return FishScript();
    }
}

} // namespace kxcontour
