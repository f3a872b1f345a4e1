// Command lines for tests, with what comes of them.
#pragma once

#include "ModelText.h"
#include "ShapeBuilders.h"
#include "tool/options/CommandLine.h"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

namespace tool_test {

using Arguments = std::vector<std::string>;

/// Arguments that have to be one command of a kind.
template <class Kind> Kind ParseAs(const Arguments& arguments) {
    std::ostringstream out;
    const std::optional<kxcontour::Command> command = kxcontour::ParseCommandLine(arguments, out);
    EXPECT_EQ(out.str(), "");
    if (!command || !std::holds_alternative<Kind>(*command)) {
        ADD_FAILURE() << "another command";
        return Kind();
    }
    return std::get<Kind>(*command);
}

/// One drawing from arguments behind "m.obj -o o.svg".
inline kxcontour::DrawingOptions Draw(Arguments arguments) {
    arguments.insert(arguments.begin(), {"m.obj", "-o", "o.svg"});
    return ParseAs<kxcontour::DrawCommand>(arguments).options;
}

/// The message with which arguments are refused.
template <class Kind = kxdrawing::InvalidArgument>
std::string RefusalOf(const Arguments& arguments) {
    std::ostringstream out;
    std::string message = FailureOf<Kind>([&] { kxcontour::ParseCommandLine(arguments, out); });
    EXPECT_EQ(out.str(), "");
    return message;
}

/// The same for arguments behind "m.obj -o o.svg".
inline std::string Refusal(Arguments arguments) {
    arguments.insert(arguments.begin(), {"m.obj", "-o", "o.svg"});
    return RefusalOf(arguments);
}

/// What arguments print instead of asking for a drawing.
inline std::string TextOf(const Arguments& arguments) {
    std::ostringstream out;
    EXPECT_FALSE(kxcontour::ParseCommandLine(arguments, out).has_value());
    return out.str();
}

/// Tests with files of options.
class OptionFiles : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder_.path(name); }

    std::string write(const std::string& name, const std::string& text) const {
        return folder_.write(name, text);
    }

private:
    TemporaryFolder folder_;
};

} // namespace tool_test
