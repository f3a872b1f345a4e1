// Options as given, as text, with their source.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace kxcontour {

struct GivenText {
    std::string text;
    /// Begins a message about the text: "draw.toml: ", or nothing for the command line.
    std::string where;
};

/// The texts of options, by long name. A flag has the text "true" or "false".
class GivenOptions {
public:
    /// Adds one more text of an option.
    void add(const std::string& name, const std::string& text, const std::string& where = "") {
        texts_[name].push_back({text, where});
    }

    bool has(const std::string& name) const { return !all(name).empty(); }

    /// Whether a flag is given and true.
    bool isSet(const std::string& name) const { return has(name) && find(name)->text == "true"; }

    /// All texts of an option in their order; empty when it is not given.
    const std::vector<GivenText>& all(const std::string& name) const;

    /// The last text of an option, or null.
    const GivenText* find(const std::string& name) const {
        return has(name) ? &all(name).back() : nullptr;
    }

    void remove(const std::string& name) { texts_.erase(name); }

    /// Merges options of lower precedence, which apply where these are not given.
    ///
    /// Styles accumulate, those of lower precedence first. Lower options that conflict with an
    /// option of these are dropped, such as a view where these have an angle.
    void putBelow(GivenOptions lower);

private:
    std::map<std::string, std::vector<GivenText>> texts_;
};

} // namespace kxcontour
