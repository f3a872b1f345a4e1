// The manual page in the mdoc language (mdoc(7)), from the same tables as the help.
#include "tool/options/ManPage.h"

#include <ctr/Version.h>

#include "tool/options/Manual.h"
#include "tool/options/Values.h"

#include <algorithm>
#include <ctime>
#include <fmt/chrono.h>
#include <utility>

namespace kxcontour {
namespace {

using kxContouringLib::Version;

/// One line with the special characters of the language escaped.
std::string Plain(std::string line) {
    constexpr std::array<std::pair<const char*, const char*>, 5> kEscapes{
        {{"\\", "\\e"}, {"-", "\\-"}, {"\"", "\\(dq"}, {"'", "\\(aq"}, {"`", "\\(ga"}}};
    for (const auto& [letter, escape] : kEscapes) {
        line = Replaced(line, letter, escape);
    }
    return line.starts_with('.') ? "\\&" + line : line;
}

std::string PlainLines(const std::string& text) {
    std::string lines;
    for (const std::string& line : Split(text, "\n")) {
        lines += Plain(line) + "\n";
    }
    return lines;
}

/// A paragraph with one sentence per line, as the language requires.
std::string Sentences(const std::string& paragraph) {
    return PlainLines(Replaced(paragraph, ". ", ".\n"));
}

std::string Prose(const std::string& text) {
    std::string prose;
    for (const std::string& paragraph : Split(text, "\n\n")) {
        if (paragraph.starts_with(' ')) {
            prose += ".Bd -literal\n" + PlainLines(paragraph) + ".Ed\n";
        } else {
            prose += (prose.empty() ? "" : ".Pp\n") + Sentences(paragraph);
        }
    }
    return prose;
}

std::string Item(const OptionInfo& option) {
    if (&option == &OptionTable().front()) {
        return ".It Ar MODEL ...\n" + Sentences(option.details);
    }
    const std::string argument = option.isFlag() ? "" : fmt::format(" Ar {}", option.argument);
    std::string item = ".It ";
    if (option.letter != 0) {
        item += fmt::format("Fl {}{} , ", option.letter, argument);
    }
    item += "Fl \\-" + Plain(option.name) + argument + "\n" + Sentences(option.details);
    return *option.standard == '\0' ? item : item + "Default: " + Plain(option.standard) + ".\n";
}

std::string Options(const TopicInfo& topic) {
    std::string items;
    for (const OptionInfo& option : OptionTable()) {
        items += option.topic == topic.topic ? Item(option) : "";
    }
    return fmt::format(".Ss {}\n{}", topic.heading, Prose(topic.text)) +
           (items.empty() ? "" : ".Bl -tag -width Ds\n" + items + ".El\n");
}

std::string ExitStatus() {
    std::string text = ".Sh EXIT STATUS\n.Bl -tag -width Ds\n";
    for (const ExitCodeInfo& code : kExitCodes) {
        text += fmt::format(".It {}\n{}\n", code.code, Plain(code.meaning));
    }
    return text + ".El\n";
}

std::string Examples() {
    std::vector<std::string> texts(kExamples.size());
    std::transform(kExamples.begin(), kExamples.end(), texts.begin(),
                   [](const ExampleInfo& example) {
                       return fmt::format("{}:\n.Pp\n.Dl {}\n", Plain(example.purpose),
                                          Plain(example.command));
                   });
    return ".Sh EXAMPLES\n" + Joined(texts, ".Pp\n");
}

/// The month of the release. The language requires a day, so it is the first.
std::string Date() {
    std::tm month{};
    month.tm_mon = std::clamp(Version::GetMonth(), 1, 12) - 1;
    return fmt::format("{:%B} 1, {}", month, Version::GetYear());
}

constexpr std::string_view kStart = R"(.Dd {}
.Dt KXCONTOUR 1
.Os kxcontour {}
.Sh NAME
.Nm kxcontour
.Nd draw 3D models as exact vector line drawings
.Sh SYNOPSIS
.Nm
.Ar MODEL ...
.Fl o Ar OUT
.Op Ar OPTIONS
.Nm
.Cm batch
.Ar JOBS.json
.Op Ar OPTIONS
.Nm
.Cm help
.Op Ar TOPIC
.Nm
.Cm man
.Nm
.Cm completions
.Ar SHELL
.Sh DESCRIPTION
.Nm
draws 3D models, seen through a camera, as vector line drawings with hidden lines removed, in millimetres on a page.
A model whose name is a command is written with its folder, such as
.Pa ./batch .
)";

} // namespace

std::string ManPage() {
    std::string text = fmt::format(kStart, Date(), Version::GetDescStringMajorMinorRelease(true));
    for (const TopicInfo& topic : kTopics) {
        text += Options(topic);
    }
    return text + ExitStatus() + Examples();
}

} // namespace kxcontour
