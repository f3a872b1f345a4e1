// The help: a summary of all options, and a longer text per topic.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kxcontour {

/// A summary on 80 columns: examples, one or two lines per option, exit codes.
std::string ShortHelp();

/// The text on one topic of HelpTopics(), or "view" for "camera". Throws InvalidArgument for
/// another, naming the nearest.
std::string TopicHelp(std::string_view topic);

/// The names of the topics.
std::vector<std::string> HelpTopics();

} // namespace kxcontour
