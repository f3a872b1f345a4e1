// The manual page in the mdoc language (mdoc(7)), from the same tables as the help.
#include "options/ManPage.h"

#include <ctr/Version.h>

#include "options/Manual.h"
#include "options/Values.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace kxcontour {
namespace {

/// One line in which nothing is taken for a command of the language.
std::string Plain(const std::string& line) {
    std::string plain;
    for (const char letter : line) {
        if (letter == '\\') {
            plain += "\\e";
        } else if (letter == '-') {
            plain += "\\-";
        } else if (letter == '"') {
            plain += "\\(dq";
        } else if (letter == '\'') {
            plain += "\\(aq";
        } else if (letter == '`') {
            plain += "\\(ga";
        } else {
            plain += letter;
        }
    }
    return plain.starts_with('.') ? "\\&" + plain : plain;
}

/// A paragraph with each sentence on a line of its own, as the language wants it.
std::string Sentences(const std::string& paragraph) {
    std::string text;
    std::size_t start = 0;
    while (start < paragraph.size()) {
        const std::size_t stop = paragraph.find(". ", start);
        const std::size_t end = stop == std::string::npos ? paragraph.size() : stop + 1;
        text += Plain(paragraph.substr(start, end - start)) + "\n";
        start = end + 1;
    }
    return text;
}

std::string Block(const std::string& paragraph) {
    std::string text = ".Bd -literal\n";
    for (const std::string& line : Split(paragraph, '\n')) {
        text += Plain(line) + "\n";
    }
    return text + ".Ed\n";
}

/// Paragraphs with empty lines between them; those that begin with a blank as they stand.
std::string Prose(const std::string& text) {
    std::string prose;
    std::size_t start = 0;
    bool first = true;
    while (start < text.size()) {
        const std::size_t end = std::min(text.find("\n\n", start), text.size());
        const std::string paragraph = text.substr(start, end - start);
        const bool literal = paragraph.front() == ' ';
        prose += first || literal ? "" : ".Pp\n";
        prose += literal ? Block(paragraph) : Sentences(paragraph);
        first = false;
        start = end + 2;
    }
    return prose;
}

std::string ItemHead(const OptionInfo& option) {
    const std::string argument =
        *option.argument == '\0' ? "" : std::string(" Ar ") + option.argument;
    if (&option == &OptionTable().front()) {
        return ".It Ar MODEL ...\n";
    }
    const std::string longName = "Fl \\-" + Plain(option.name) + argument;
    if (option.letter == 0) {
        return ".It " + longName + "\n";
    }
    return std::string(".It Fl ") + option.letter + argument + " , " + longName + "\n";
}

std::string Options(const TopicInfo& topic) {
    std::string text =
        std::string(".Ss ") + topic.heading + "\n" + Prose(topic.text) + ".Bl -tag -width Ds\n";
    for (const OptionInfo& option : OptionTable()) {
        if (option.topic != topic.topic) {
            continue;
        }
        text += ItemHead(option) + Sentences(option.details);
        if (*option.standard != '\0') {
            text += "Default: " + Plain(option.standard) + ".\n";
        }
    }
    return text + ".El\n";
}

std::string ExitStatus() {
    std::string text = ".Sh EXIT STATUS\n.Bl -tag -width Ds\n";
    for (const ExitCodeInfo& code : ExitCodeTable()) {
        text += ".It " + std::to_string(code.code) + "\n" + Plain(code.meaning) + "\n";
    }
    return text + ".El\n";
}

std::string ExamplesSection() {
    std::string text = ".Sh EXAMPLES\n";
    const char* between = "";
    for (const ExampleInfo& example : ExampleTable()) {
        text +=
            between + Plain(example.purpose) + ":\n" + ".Pp\n.Dl " + Plain(example.command) + "\n";
        between = ".Pp\n";
    }
    return text;
}

/// The month of the release. The language wants a day, so it is the first.
std::string Date() {
    constexpr std::array<const char*, 12> kMonths{"January",   "February", "March",    "April",
                                                  "May",       "June",     "July",     "August",
                                                  "September", "October",  "November", "December"};
    using kxContouringLib::Version;
    const std::size_t month = static_cast<std::size_t>(std::clamp(Version::GetMonth(), 1, 12)) - 1;
    return std::string(kMonths[month]) + " 1, " + std::to_string(Version::GetYear());
}

std::string Synopsis() {
    return ".Sh SYNOPSIS\n"
           ".Nm\n.Ar MODEL ...\n.Fl o Ar OUT\n.Op Ar OPTIONS\n"
           ".Nm\n.Cm batch\n.Ar JOBS.json\n.Op Ar OPTIONS\n"
           ".Nm\n.Cm help\n.Op Ar TOPIC\n"
           ".Nm\n.Cm man\n"
           ".Nm\n.Cm completions\n.Ar SHELL\n";
}

} // namespace

std::string ManPage() {
    std::string text =
        ".Dd " + Date() + "\n.Dt KXCONTOUR 1\n.Os kxcontour " +
        kxContouringLib::Version::GetDescStringMajorMinorRelease(true) +
        "\n.Sh NAME\n.Nm kxcontour\n"
        ".Nd draw 3D models as exact vector line drawings\n" +
        Synopsis() +
        ".Sh DESCRIPTION\n.Nm\n"
        "draws 3D models, seen through a camera, as vector line drawings with hidden "
        "lines removed, in millimetres on a page.\n"
        "A model whose name is a command is written with its folder, such as\n"
        ".Pa ./batch .\n";
    for (const TopicInfo& topic : TopicTable()) {
        text += Options(topic);
    }
    const ChapterInfo& config = ChapterTable().front();
    text += std::string(".Ss ") + config.heading + "\n" + Prose(config.text);
    return text + ExitStatus() + ExamplesSection();
}

} // namespace kxcontour
