// The help: a short one of everything, and a long one for each topic.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

/// Everything on 80 columns: examples, every option in a line or two, exit codes.
std::string ShortHelp();

/// All about one topic of HelpTopics(), or "view" for "camera". Throws Failure (Usage) for another,
/// naming the nearest.
std::string TopicHelp(std::string_view topic);

/// The names of the topics.
std::vector<std::string> HelpTopics();

} // namespace kxcontour
