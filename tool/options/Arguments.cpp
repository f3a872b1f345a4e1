// One pass over the arguments that collects texts; values are checked later, by the same readers as
// those from files.
#include "tool/options/Arguments.h"

#include "drawing/common/NearestName.h"
#include "tool/common/Failure.h"
#include "tool/options/OptionTable.h"

#include <algorithm>
#include <span>

namespace kxcontour {
namespace {

constexpr const char* kModel = "model";

class ArgumentParser {
public:
    explicit ArgumentParser(std::span<const std::string> arguments) : rest_(arguments) {}

    GivenOptions parse() {
        while (!rest_.empty()) {
            take(next());
        }
        // Help and the version are shown in spite of other mistakes.
        if (!given_.has("help") && !given_.has("version")) {
            refuseUnknown();
            refuseRepeated();
        }
        return std::move(given_);
    }

private:
    std::string next() {
        std::string argument = rest_.front();
        rest_ = rest_.subspan(1);
        return argument;
    }

    void take(const std::string& argument) {
        if (argument.starts_with("--")) {
            takeLong(argument);
        } else if (argument.size() > 1 && argument.front() == '-') {
            takeShort(argument);
        } else {
            given_.add(kModel, argument);
        }
    }

    /// --name, --name VALUE or --name=VALUE.
    void takeLong(const std::string& argument) {
        const std::size_t sign = argument.find('=');
        const OptionInfo* option = find([&](const OptionInfo& known) {
            return known.dashed() == std::string_view(argument).substr(0, sign);
        });
        if (option == nullptr) {
            noteUnknown(argument);
        } else if (sign != std::string::npos) {
            takeValue(*option, argument.substr(sign + 1));
        } else {
            takeNext(*option);
        }
    }

    /// Flags (-vq), the last of which may be an option with a value: -o VALUE or -oVALUE.
    void takeShort(const std::string& argument) {
        for (std::size_t at = 1; at < argument.size(); ++at) {
            const OptionInfo* option =
                find([&](const OptionInfo& known) { return known.letter == argument[at]; });
            if (option == nullptr) {
                noteUnknown(argument);
                return;
            }
            const std::string value = argument.substr(at + 1);
            if (!option->isFlag() && !value.empty()) {
                takeValue(*option, value == "=" ? "" : value);
                return;
            }
            takeNext(*option);
        }
    }

    /// An option that has no value in its own argument.
    void takeNext(const OptionInfo& option) {
        if (!option.isFlag() && rest_.empty()) {
            refuseUnknown();
            RefuseUsage(option.dashed() + " needs a value: " + option.dashed() + " " +
                        option.argument);
        }
        takeValue(option, option.isFlag() ? "true" : next());
    }

    void takeValue(const OptionInfo& option, const std::string& value) {
        if (option.isFlag() && !value.empty() && value != "true") {
            refuseUnknown();
            RefuseUsage(option.dashed() + " takes no value");
        }
        given_.add(option.name, option.isFlag() ? "true" : value);
    }

    template <class Is> static const OptionInfo* find(Is is) {
        const std::span<const OptionInfo> options = NamedOptions();
        const auto found = std::find_if(options.begin(), options.end(), is);
        return found == options.end() ? nullptr : &*found;
    }

    void noteUnknown(const std::string& argument) {
        unknown_ = unknown_.empty() ? argument : unknown_;
    }

    /// Called before any other refusal, so that the first mistake is the one that is reported.
    void refuseUnknown() const {
        if (unknown_.empty()) {
            return;
        }
        const std::string option = unknown_.substr(0, unknown_.find('='));
        const std::size_t start = std::min(option.find_first_not_of('-'), option.size());
        const std::string nearest =
            NearestName(option.substr(start), OptionNames(Scope::CommandLine));
        RefuseUsage("unknown option '" + option + "'" +
                    (nearest.empty() ? "; see --help" : "; did you mean '--" + nearest + "'?"));
    }

    void refuseRepeated() const {
        for (const OptionInfo& option : NamedOptions()) {
            if (!option.isFlag() && !option.value.repeatable &&
                given_.all(option.name).size() > 1) {
                RefuseUsage(option.dashed() + " is given more than once");
            }
        }
    }

    std::span<const std::string> rest_;
    GivenOptions given_;
    std::string unknown_; ///< The first argument that is no option.
};

} // namespace

GivenOptions ReadArguments(const std::vector<std::string>& arguments) {
    const auto mark = std::find(arguments.begin(), arguments.end(), "--");
    GivenOptions given = ArgumentParser({arguments.begin(), mark}).parse();
    std::for_each(mark == arguments.end() ? mark : mark + 1, arguments.end(),
                  [&](const std::string& model) { given.add(kModel, model); });
    return given;
}

} // namespace kxcontour
