// Plain text on 80 columns, made from the tables.
#include "tool/options/Help.h"

#include "tool/options/Manual.h"
#include "tool/options/Values.h"

#include <algorithm>
#include <cstddef>
#include <fmt/format.h>

namespace kxcontour {
namespace {

constexpr std::size_t kColumns = 80;
constexpr std::size_t kHelpColumn = 26;

/// "  -o, --output OUT", with the long names aligned.
std::string HeadOf(const OptionInfo& option) {
    if (&option == &OptionTable().front()) {
        return fmt::format("  {}...", option.argument);
    }
    return (option.letter == 0 ? "      " : "  ") + option.spellings(", ") +
           (option.isFlag() ? "" : " ") + option.argument;
}

/// A paragraph wrapped to kColumns, each line indented.
std::string Fill(const std::string& paragraph, std::size_t indent) {
    std::string text;
    std::string line;
    for (const std::string& word : Split(paragraph, " ")) {
        if (!line.empty() && indent + line.size() + 1 + word.size() > kColumns) {
            text += std::string(indent, ' ') + line + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return text + std::string(indent, ' ') + line + "\n";
}

std::string FillAll(const std::string& text) {
    std::vector<std::string> paragraphs = Split(text, "\n\n");
    for (std::string& paragraph : paragraphs) {
        if (paragraph.starts_with(' ')) {
            paragraph += '\n';
        } else {
            paragraph = Fill(paragraph, 0);
        }
    }
    return Joined(paragraphs, "\n");
}

std::string ShortEntry(const OptionInfo& option) {
    const bool hasStandard = *option.standard != '\0';
    const std::string help =
        Fill(option.help + (hasStandard ? fmt::format(" [{}]", option.standard) : ""), kHelpColumn);
    const std::string head = HeadOf(option);
    return head.size() + 2 > kHelpColumn ? head + "\n" + help : head + help.substr(head.size());
}

std::string LongEntry(const OptionInfo& option) {
    const bool hasStandard = *option.standard != '\0';
    return "\n" + HeadOf(option) + "\n" +
           Fill(option.details + (hasStandard ? fmt::format(" Default: {}.", option.standard) : ""),
                10);
}

/// The entries of a topic's options.
std::string Entries(std::optional<Topic> topic, std::string (*entryOf)(const OptionInfo&)) {
    std::string text;
    for (const OptionInfo& option : OptionTable()) {
        text += option.topic == topic ? entryOf(option) : "";
    }
    return text;
}

std::string ExitCodes() {
    std::string text;
    for (const ExitCodeInfo& code : kExitCodes) {
        text += fmt::format("  {}  {}\n", code.code, code.meaning);
    }
    return text;
}

} // namespace

std::string ShortHelp() {
    std::string text =
        "Draws 3D models as exact vector line drawings with hidden lines removed.\n\n"
        "Usage: kxcontour MODEL... -o OUT [OPTIONS]\n"
        "       kxcontour batch JOBS.json [OPTIONS]\n"
        "       kxcontour help [TOPIC] | man | completions SHELL\n\n"
        "Examples:\n";
    for (const ExampleInfo& example : kExamples) {
        text += fmt::format("  {}\n", example.command);
    }
    for (const TopicInfo& topic : kTopics) {
        const std::string entries = Entries(topic.topic, ShortEntry);
        text += entries.empty() ? "" : fmt::format("\n{}:\n{}", topic.heading, entries);
    }
    text += "\n" + Fill("More: kxcontour help TOPIC, about " + Enumerate(HelpTopics()) + ".", 0);
    return text + "\nExit codes:\n" + ExitCodes();
}

std::string TopicHelp(std::string_view topic) {
    const std::size_t number =
        ParseName(topic == "view" ? "camera" : topic, "help topic", HelpTopics());
    if (number == kTopics.size()) {
        return "Exit codes\n\nThe tool ends with one of these codes:\n\n" + ExitCodes();
    }
    const TopicInfo& info = kTopics[number];
    return fmt::format("{}\n\n{}", info.heading, FillAll(info.text)) +
           Entries(info.topic, LongEntry);
}

std::vector<std::string> HelpTopics() {
    std::vector<std::string> names(kTopics.size());
    std::transform(kTopics.begin(), kTopics.end(), names.begin(),
                   [](const TopicInfo& topic) { return topic.name; });
    names.emplace_back("exit-codes");
    return names;
}

} // namespace kxcontour
