// What is said on standard error.
#pragma once

#include <ostream>
#include <string>

namespace kxcontour {

/// Writes lines that begin with the program's name, each in one write. Any thread may speak. A text
/// is one line without control characters, whatever names are quoted in it (PlainText.h).
class Messages {
public:
    enum class Loudness { Quiet, Normal, Verbose };

    /// coloured: the words "error" and "warning" stand out on a terminal.
    Messages(std::ostream& out, Loudness loudness, bool coloured);

    void error(const std::string& text) const;
    void warn(const std::string& text) const; ///< Unless quiet.
    void note(const std::string& text) const; ///< Only when verbose.

private:
    void say(const char* color, const std::string& kind, const std::string& text) const;

    std::ostream& out_;
    Loudness loudness_;
    bool coloured_;
};

/// Whether standard error is a terminal whose user has not turned colours off (NO_COLOR, see
/// no-color.org; TERM=dumb).
bool WantsColour();

} // namespace kxcontour
