// Text from files and command lines, safe to print.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

/// The text on one line and without anything that a terminal would act on: control characters (C0,
/// DEL, C1), marks that turn the direction of writing, separators of lines and paragraphs, and
/// bytes that are no UTF-8 are written as escapes, such as "\n", "\x1b" or "\u202e". All else
/// stays.
///
/// Names of objects, jobs and files come from others. As escapes, unlike as one replacement
/// character, two names that differ still differ when they are shown, and shells read them back
/// within $'...'. A backslash stays single: the result is for people, not for programs.
std::string PlainText(std::string_view text);

} // namespace kxcontour
