// Forms of values, from which the rows of the option table are built. A form takes the member of a
// group of options that holds the value, and derives from it how a text is stored and how the value
// is written in signatures.
#pragma once

#include "tool/options/OptionTable.h"
#include "tool/options/Values.h"

#include <limits>
#include <tuple>
#include <type_traits>
#include <utility>

namespace kxcontour {

/// The group of options that has a type.
template <class Group, class All> auto& GroupOf(All& all) {
    using Wanted = std::conditional_t<std::is_const_v<All>, const Group, Group>;
    auto& drawing = all.drawing;
    if constexpr (std::is_base_of_v<Group, CameraRequest>) {
        return static_cast<Wanted&>(drawing.camera);
    } else if constexpr (std::is_base_of_v<Group, PageOptions>) {
        return static_cast<Wanted&>(drawing.page);
    } else {
        return std::get<Wanted&>(std::tie(drawing.input, drawing.input.surface,
                                          drawing.input.reading, drawing.lines, drawing.output,
                                          drawing.messages, all.batch));
    }
}

/// The members of a value that is not a single one. Bindings name all of them: a new member has to
/// be added here before it compiles.
/// @{
inline auto MembersOf(const kxdrawing::PageSize& page) {
    const auto& [width, height] = page;
    return std::tie(width, height);
}
inline auto MembersOf(const ctr::Welding& weld) {
    const auto& [mode, millimetres] = weld;
    return std::tie(mode, millimetres);
}
inline auto MembersOf(const StrokeStyle& style) {
    const auto& [width, color, dashes] = style;
    return std::tie(width, color, dashes);
}
inline auto MembersOf(const StyleSheet& styles) {
    const auto& [silhouette, crease, intersection, hidden] = styles;
    return std::tie(silhouette, crease, intersection, hidden);
}
/// @}

/// A value as one word of printable ASCII, different for different values of a type.
template <class Value> std::string WordOf(const Value& value) {
    std::string list;
    [[maybe_unused]] const auto add = [&](const auto&... members) {
        ((list += (list.empty() ? "" : ",") + WordOf(members)), ...);
    };
    if constexpr (std::is_same_v<Value, std::string>) {
        return QuotedWord(value);
    } else if constexpr (std::is_arithmetic_v<Value> || std::is_enum_v<Value>) {
        return NumberText(static_cast<double>(value));
    } else if constexpr (requires { value.has_value(); }) {
        return value ? WordOf(*value) : "none";
    } else if constexpr (requires { value.count(); }) {
        return WordOf(value.count());
    } else if constexpr (requires { value.begin(); }) {
        for (const auto& member : value) {
            add(member);
        }
    } else {
        std::apply(add, MembersOf(value));
    }
    return "(" + list + ")";
}

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr NumberRange kAnyNumber{-kInfinity, kInfinity, true, true};
inline constexpr NumberRange kOverZero{0.0, kInfinity, true, true};
inline constexpr NumberRange kZeroOrMore{0.0, kInfinity, false, true};

namespace form {

/// A value that a function updates from a text.
template <class Group, class Member, class Apply>
OptionValue
Applied(ValueKind kind, Member Group::*member, Apply apply, std::vector<std::string> choices = {}) {
    OptionValue value{kind, std::move(choices)};
    value.store = [=](const std::string& text, AllOptions& all) {
        apply(text, GroupOf<Group>(all).*member);
    };
    value.word = [=](const AllOptions& all) { return WordOf(GroupOf<Group>(all).*member); };
    return value;
}

/// The same for an option that may be given several times.
template <class Group, class Member, class Apply>
OptionValue Repeated(ValueKind kind, Member Group::*member, Apply apply) {
    OptionValue value = Applied(kind, member, apply);
    value.repeatable = true;
    return value;
}

/// A value that a function makes from a text.
template <class Group, class Member, class Parse>
OptionValue
Stored(ValueKind kind, Member Group::*member, Parse parse, std::vector<std::string> choices = {}) {
    return Applied(
        kind, member, [=](const std::string& text, Member& target) { target = parse(text); },
        std::move(choices));
}

/// An option without a value of its own: the command line or the reader of another option acts on
/// it.
inline OptionValue Unstored(ValueKind kind = ValueKind::Flag) {
    return {kind};
}

template <class Group> OptionValue Flag(bool Group::*member) {
    return Stored(ValueKind::Flag, member, [](const std::string& text) { return text == "true"; });
}

/// A text as it is.
template <class Group, class Member>
OptionValue Text(Member Group::*member, ValueKind kind = ValueKind::Text) {
    return Stored(kind, member, [](const std::string& text) { return text; });
}

template <class Group, class Member>
OptionValue
Number(Member Group::*member, const char* what, const char* expected, NumberRange range) {
    return Stored(ValueKind::Number, member, [=](const std::string& text) {
        return ParseNumber(text, what, expected, range);
    });
}

template <class Group, class Member>
OptionValue
Length(Member Group::*member, const char* what, const char* expected, NumberRange range) {
    return Stored(ValueKind::Number, member, [=](const std::string& text) {
        return ParseLength(text, what, expected, range);
    });
}

template <class Group, class Member>
OptionValue Coordinates(Member Group::*member, const char* what) {
    return Stored(ValueKind::Point, member,
                  [=](const std::string& text) { return ParsePoint(text, what); });
}

/// One of some names as the enumerator of the same number.
template <class Enum, class Group, class Member>
OptionValue Name(Member Group::*member, const char* what, const std::vector<std::string>& names) {
    return Stored(
        ValueKind::Text, member,
        [=](const std::string& text) { return static_cast<Enum>(ParseName(text, what, names)); },
        names);
}

} // namespace form
} // namespace kxcontour
