// Texts derived from the option table: help, manual page, completions. They are checked by the
// programs that read them.
#include "ToolRun.h"
#include "options/Parsing.h"
#include "tool/options/Help.h"
#include "tool/options/OptionTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using kxcontour::OptionInfo;
using kxcontour::OptionTable;
using tool_test::Arguments;
using tool_test::Holds;
using tool_test::RefusalOf;
using tool_test::RunResult;
using tool_test::TextOf;

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// The lines of the help that belong to an option.
std::size_t HelpLinesOf(const std::string& help, const std::string& name) {
    const std::vector<std::string> lines = LinesOf(help);
    const auto isHead = [](const std::string& line) {
        return line.find("--") == 6 && line.size() > 8;
    };
    auto line = std::find_if(lines.begin(), lines.end(), [&](const std::string& text) {
        return isHead(text) && (text + " ").find("--" + name + " ") == 6;
    });
    std::size_t count = 0;
    while (line != lines.end() && !line->empty() && (count == 0 || !isHead(*line))) {
        ++count;
        ++line;
    }
    return count;
}

TEST(OptionTableRows, AreDistinctAndComplete) {
    std::set<std::string> names;
    std::set<char> letters;
    for (const OptionInfo& option : OptionTable()) {
        EXPECT_TRUE(names.insert(option.name).second) << option.name;
        EXPECT_TRUE(option.letter == 0 || letters.insert(option.letter).second) << option.name;
        EXPECT_EQ(*option.argument == '\0', option.isFlag()) << option.name;
        EXPECT_NE(std::string(option.help), "") << option.name;
        EXPECT_TRUE(std::string(option.details).ends_with(".")) << option.name;
    }
    EXPECT_EQ(OptionTable().front().name, std::string("model"));
}

TEST(Help, HasEveryOptionInALineOrTwo) {
    const std::string help = TextOf({"--help"});
    for (const OptionInfo& option : OptionTable()) {
        const std::string name = option.name;
        if (name == "model") {
            EXPECT_TRUE(Holds(help, "MODEL..."));
            continue;
        }
        const std::size_t lines = HelpLinesOf(help, name);
        EXPECT_GE(lines, 1U) << name;
        EXPECT_LE(lines, 2U) << name;
    }
}

TEST(Help, FitsIntoEightyColumns) {
    Arguments topics = kxcontour::HelpTopics();
    std::vector<std::string> texts{TextOf({"--help"})};
    for (const std::string& topic : topics) {
        texts.push_back(TextOf({"help", topic}));
    }
    for (const std::string& text : texts) {
        for (const std::string& line : LinesOf(text)) {
            EXPECT_LE(line.size(), 80U) << line;
            EXPECT_FALSE(line.ends_with(" ")) << "'" << line << "'";
        }
    }
}

TEST(Help, BeginsWithExamplesAndEndsWithExitCodes) {
    const std::string help = TextOf({"--help"});
    const std::size_t examples = help.find("Examples:\n  kxcontour ");
    const std::size_t options = help.find("Input:\n");
    const std::size_t codes = help.find("Exit codes:\n  0  drawn\n");
    ASSERT_NE(codes, std::string::npos);
    EXPECT_LT(examples, options);
    EXPECT_LT(options, codes);
    for (const char* line :
         {"  1  internal error\n", "  2  wrong usage\n", "  3  a model, ", "  4  nothing to draw",
          "  5  the drawing cannot be written\n", "  130  cancelled by Ctrl-C\n"}) {
        EXPECT_GT(help.find(line), codes) << line;
        EXPECT_NE(help.find(line), std::string::npos) << line;
    }
}

TEST(Help, IsTheSameHoweverItIsAskedFor) {
    const std::string help = TextOf({"--help"});
    for (const Arguments& arguments :
         {Arguments{"-h"}, Arguments{"help"}, Arguments{"m.obj", "-h"}, Arguments{"help", "--help"},
          Arguments{"man", "--help"}, Arguments{"m.obj", "--help", "--view", "x"}}) {
        EXPECT_EQ(TextOf(arguments), help);
    }
    EXPECT_EQ(TextOf({"batch", "--help"}), TextOf({"help", "batch"}));
}

TEST(Help, HasTopicsWithEveryOption) {
    std::string all;
    for (const char* topic : {"input", "camera", "page", "lines", "output", "batch", "messages",
                              "config", "exit-codes"}) {
        const std::string text = TextOf({"help", topic});
        EXPECT_GT(text.size(), 100U) << topic;
        all += text;
    }
    for (const OptionInfo& option : OptionTable()) {
        const std::string name = option.name;
        EXPECT_TRUE(name == "model" || Holds(all, "--" + name)) << name;
    }
    EXPECT_EQ(TextOf({"help", "view"}), TextOf({"help", "camera"}));
}

TEST(Help, NamesTheNearestTopic) {
    EXPECT_TRUE(Holds(RefusalOf({"help", "camra"}), "did you mean 'camera'?"));
    EXPECT_TRUE(Holds(RefusalOf({"help", "page", "more"}), "unexpected argument 'more'"));
    EXPECT_TRUE(Holds(RefusalOf({"completions", "bsh"}), "did you mean 'bash'?"));
    EXPECT_TRUE(Holds(RefusalOf({"completions"}), "completions need a shell"));
    EXPECT_TRUE(Holds(RefusalOf({"man", "bash"}), "unexpected argument 'bash'"));
}

/// Files that other programs look at.
class Manual : public tool_test::OptionFiles {
protected:
    RunResult run(const Arguments& arguments) const {
        return tool_test::Run("/usr/bin/env", arguments);
    }

    std::string completions(const std::string& shell) const {
        return write("completions." + shell, TextOf({"completions", shell}));
    }

    /// What bash offers for the last of some words.
    std::string complete(const Arguments& words, const std::string& shellWords) const {
        const std::string script = ". " + completions("bash") + "\nCOMP_WORDS=(" + shellWords +
                                   ")\nCOMP_CWORD=" + std::to_string(words.size() - 1) +
                                   "\n_kxcontour\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n";
        const RunResult result = run({"bash", "-c", script});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.out;
    }

    std::string complete(const Arguments& words) const {
        std::string shellWords;
        for (const std::string& word : words) {
            shellWords += "'" + word + "' ";
        }
        return complete(words, shellWords);
    }
};

TEST_F(Manual, PageIsClean) {
    const std::string page = TextOf({"man"});
    const RunResult lint = run({"mandoc", "-Tlint", "-W", "warning", write("kxcontour.1", page)});
    EXPECT_EQ(lint.exitCode, 0);
    EXPECT_EQ(lint.out + lint.err, "");
}

TEST_F(Manual, PageHasEveryOption) {
    const RunResult shown =
        run({"mandoc", "-Tutf8", "-O", "width=200", write("kxcontour.1", TextOf({"man"}))});
    ASSERT_EQ(shown.exitCode, 0) << shown.err;
    std::string plain;
    for (const char letter : shown.out) {
        // A letter over itself is bold, an underscore under a letter is italic.
        if (letter == '\b') {
            plain.pop_back();
        } else {
            plain += letter;
        }
    }
    for (const OptionInfo& option : OptionTable()) {
        const std::string name = option.name;
        EXPECT_TRUE(Holds(plain, name == "model" ? "MODEL ..." : "--" + name)) << name;
    }
    for (const char* part : {"EXIT STATUS", "EXAMPLES", "\"defaults\": {\"page\": \"A3\"",
                             "kxcontour gear.stl --views front,top,iso --hidden -o "
                             "'gear-{view}.svg'"}) {
        EXPECT_TRUE(Holds(plain, part)) << part;
    }
}

TEST_F(Manual, CompletionsHaveEveryOptionAndAreCorrect) {
    for (const char* shell : {"bash", "zsh", "fish"}) {
        const std::string text = TextOf({"completions", shell});
        const std::string dashes = shell == std::string("fish") ? "-l " : "--";
        for (const OptionInfo& option : OptionTable()) {
            const std::string name = option.name;
            EXPECT_TRUE(name == "model" || Holds(text, dashes + name)) << shell << " " << name;
        }
        const RunResult check = run({shell, "-n", completions(shell)});
        EXPECT_EQ(check.exitCode, 0) << check.err;
        EXPECT_EQ(check.err, "");
    }
}

TEST_F(Manual, BashCompletesOptions) {
    EXPECT_EQ(complete({"kxcontour", "--vi"}), "--view\n--views\n");
    EXPECT_EQ(complete({"kxcontour", "m.obj", "--camera-p"}), "--camera-position\n");
    EXPECT_EQ(complete({"kxcontour", "m.obj", "--nothing"}), "\n");
}

TEST_F(Manual, BashCompletesValues) {
    EXPECT_EQ(complete({"kxcontour", "--view", "b"}), "back\nbottom\n");
    EXPECT_EQ(complete({"kxcontour", "--view", "=", "t"}), "top\n");
    EXPECT_EQ(complete({"kxcontour", "--view", "="}), complete({"kxcontour", "--view", ""}));
    EXPECT_EQ(complete({"kxcontour", "--views", "front,to"}), "front,top\n");
    EXPECT_EQ(complete({"kxcontour", "--title", "a"}), "\n");
    EXPECT_EQ(complete({"kxcontour", "--page", "le"}), "letter\nlegal\n");
}

TEST_F(Manual, BashCompletesCommandsAndFiles) {
    write("two words.obj", "");
    write("second.obj", "");
    EXPECT_EQ(complete({"kxcontour", "bat"}), "batch\n");
    EXPECT_EQ(complete({"kxcontour", "help", "ex"}), "exit-codes\n");
    EXPECT_EQ(complete({"kxcontour", "completions", "f"}), "fish\n");
    EXPECT_EQ(complete({"kxcontour", path("tw")}), path("two words.obj") + "\n");
    EXPECT_EQ(complete({"kxcontour", "--occluder", path("sec")}), path("second.obj") + "\n");
    EXPECT_EQ(complete({"kxcontour", "m.obj", path("sec")}), path("second.obj") + "\n");
}

TEST_F(Manual, FishCompletes) {
    const std::string script = "source " + completions("fish") +
                               "\ncomplete -C 'kxcontour --view b'\ncomplete -C 'kxcontour --vi'\n";
    const RunResult result = run({"fish", "--no-config", "-c", script});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    for (const char* part : {"back", "bottom", "--view\t", "--views\t"}) {
        EXPECT_TRUE(Holds(result.out, part)) << result.out;
    }
}

} // namespace
