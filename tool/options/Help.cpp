// Plain text on 80 columns, from the tables.
#include "options/Help.h"

#include "options/Manual.h"
#include "options/Values.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace kxcontour {
namespace {

constexpr std::size_t kColumns = 80;
constexpr std::size_t kHelpColumn = 26;

/// "  -o, --output OUT", with the long names below each other.
std::string HeadOf(const OptionInfo& option) {
    if (&option == &OptionTable().front()) {
        return std::string("  ") + option.argument + "...";
    }
    std::string head = "      --";
    if (option.letter != 0) {
        head = std::string("  -") + option.letter + ", --";
    }
    head += option.name;
    return *option.argument == '\0' ? head : head + " " + option.argument;
}

/// The words of a paragraph in lines of at most kColumns characters, each indented.
std::string Fill(const std::string& paragraph, std::size_t indent) {
    std::string text;
    std::string line;
    for (const std::string& word : Split(paragraph, ' ')) {
        if (!line.empty() && indent + line.size() + 1 + word.size() > kColumns) {
            text += std::string(indent, ' ') + line + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return text + std::string(indent, ' ') + line + "\n";
}

/// Paragraphs with empty lines between them; those that begin with a blank are left as they are.
std::string FillAll(const std::string& text) {
    std::string filled;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = std::min(text.find("\n\n", start), text.size());
        const std::string paragraph = text.substr(start, end - start);
        filled += paragraph.front() == ' ' ? paragraph + "\n" : Fill(paragraph, 0);
        filled += end < text.size() ? "\n" : "";
        start = end + 2;
    }
    return filled;
}

std::string HelpWithStandard(const OptionInfo& option) {
    const std::string help = option.help;
    return *option.standard == '\0' ? help : help + " [" + option.standard + "]";
}

std::string ShortEntry(const OptionInfo& option) {
    std::string head = HeadOf(option);
    if (head.size() + 2 > kHelpColumn) {
        head += "\n";
    } else {
        head.resize(kHelpColumn, ' ');
    }
    const std::string body = Fill(HelpWithStandard(option), kHelpColumn);
    return head + (head.back() == '\n' ? body : body.substr(kHelpColumn));
}

std::string LongEntry(const OptionInfo& option) {
    std::string details = option.details;
    if (*option.standard != '\0') {
        details += std::string(" Default: ") + option.standard + ".";
    }
    return HeadOf(option) + "\n" + Fill(details, 10);
}

std::string ExitCodes() {
    std::string text;
    for (const ExitCodeInfo& code : ExitCodeTable()) {
        text += "  " + std::to_string(code.code) + "  " + code.meaning + "\n";
    }
    return text;
}

std::string Examples() {
    std::string text = "Examples:\n";
    for (const ExampleInfo& example : ExampleTable()) {
        text += std::string("  ") + example.command + "\n";
    }
    return text;
}

std::string LongTopic(const TopicInfo& topic) {
    std::string text = topic.heading + std::string("\n\n") + FillAll(topic.text);
    for (const OptionInfo& option : OptionTable()) {
        if (option.topic == topic.topic) {
            text += "\n" + LongEntry(option);
        }
    }
    return text;
}

} // namespace

std::string ShortHelp() {
    std::string text =
        "Draws 3D models as exact vector line drawings with hidden lines removed.\n\n"
        "Usage: kxcontour MODEL... -o OUT [OPTIONS]\n"
        "       kxcontour batch JOBS.json [OPTIONS]\n"
        "       kxcontour help [TOPIC] | man | completions SHELL\n\n" +
        Examples();
    for (const TopicInfo& topic : TopicTable()) {
        text += std::string("\n") + topic.heading + ":\n";
        for (const OptionInfo& option : OptionTable()) {
            text += option.topic == topic.topic ? ShortEntry(option) : "";
        }
    }
    text += "\n" + Fill("More: kxcontour help TOPIC, about " + Enumerate(HelpTopics()) + ".", 0);
    return text + "\nExit codes:\n" + ExitCodes();
}

std::string TopicHelp(std::string_view topic) {
    const std::vector<std::string> names = HelpTopics();
    const std::size_t number = ParseName(topic == "view" ? "camera" : topic, "help topic", names);
    if (number < TopicTable().size()) {
        return LongTopic(TopicTable()[number]);
    }
    const ChapterInfo& chapter = ChapterTable()[number - TopicTable().size()];
    const std::string text = chapter.heading + std::string("\n\n") + FillAll(chapter.text);
    return chapter.name == std::string("exit-codes") ? text + "\n" + ExitCodes() : text;
}

std::vector<std::string> HelpTopics() {
    std::vector<std::string> names;
    for (const TopicInfo& topic : TopicTable()) {
        names.emplace_back(topic.name);
    }
    for (const ChapterInfo& chapter : ChapterTable()) {
        names.emplace_back(chapter.name);
    }
    return names;
}

} // namespace kxcontour
