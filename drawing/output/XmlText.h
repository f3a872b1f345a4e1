// Text for XML documents.
#pragma once

#include <string>
#include <string_view>

namespace kxcontour {

/// The text as XML 1.0 character data: markup escaped, characters that XML does not allow left
/// out, and bytes that are not UTF-8 replaced by U+FFFD.
std::string EscapeXml(std::string_view text);

/// The same for an attribute in double quotes; line ends and tabs are kept.
std::string EscapeXmlAttribute(std::string_view text);

} // namespace kxcontour
