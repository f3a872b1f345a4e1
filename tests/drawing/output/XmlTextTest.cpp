// Texts that are to stand in an XML document.
#include "drawing/output/XmlText.h"

#include "drawing/common/Utf8.h"

#include <gtest/gtest.h>

namespace {

using kxcontour::EscapeXml;

const std::string kReplacement = "\xEF\xBF\xBD";

TEST(EscapeXml, KeepsPlainTextAndUtf8) {
    EXPECT_EQ(EscapeXml(""), "");
    EXPECT_EQ(EscapeXml("Engine \"2\" isn't"), "Engine \"2\" isn't");
    const std::string text = "Gr\xC3\xB6\xC3\x9F"
                             "e \xE2\x82\xAC \xF0\x9F\x9A\x9A\ttab\nline";
    EXPECT_EQ(EscapeXml(text), text);
}

TEST(EscapeXml, EscapesMarkup) {
    EXPECT_EQ(EscapeXml("a<b & c>d"), "a&lt;b &amp; c&gt;d");
    EXPECT_EQ(EscapeXml("]]></title>"), "]]&gt;&lt;/title&gt;");
    EXPECT_EQ(EscapeXml("&amp;"), "&amp;amp;");
}

TEST(EscapeXml, LeavesOutWhatXmlForbids) {
    EXPECT_EQ(EscapeXml(std::string("a\0b\x01"
                                    "c\x1B"
                                    "d",
                                    7)),
              "abcd");
    EXPECT_EQ(EscapeXml("a\xEF\xBF\xBE\xEF\xBF\xBF"
                        "b"),
              "ab")
        << "U+FFFE, U+FFFF";
}

TEST(EscapeXml, ReplacesBytesThatAreNoUtf8) {
    EXPECT_EQ(EscapeXml("\xFF"), kReplacement);
    EXPECT_EQ(EscapeXml("a\x80z"), "a" + kReplacement + "z") << "a continuation alone";
    EXPECT_EQ(EscapeXml("\xC3"), kReplacement) << "cut off";
    EXPECT_EQ(EscapeXml("\xC3<"), kReplacement + "&lt;") << "what follows is not swallowed";
    EXPECT_EQ(EscapeXml("\xC0\xAF"), kReplacement + kReplacement) << "longer than need be";
    EXPECT_EQ(EscapeXml("\xE0\x80\xAF"), kReplacement + kReplacement + kReplacement);
    EXPECT_EQ(EscapeXml("\xED\xA0\x80"), kReplacement + kReplacement + kReplacement) << "surrogate";
    EXPECT_EQ(EscapeXml("\xF4\x90\x80\x80").substr(0, 3), kReplacement) << "beyond U+10FFFF";
}

TEST(EscapeXmlAttribute, KeepsQuotesAndWhiteSpace) {
    EXPECT_EQ(kxcontour::EscapeXmlAttribute("a \"b\" <c> & 'd'"),
              "a &quot;b&quot; &lt;c&gt; &amp; 'd'");
    EXPECT_EQ(kxcontour::EscapeXmlAttribute("\t\n\r\x01\xFF"), "&#9;&#10;&#13;" + kReplacement);
}

TEST(RepairUtf8, ReplacesOnlyWhatIsNone) {
    EXPECT_EQ(kxcontour::RepairUtf8(""), "");
    EXPECT_EQ(kxcontour::RepairUtf8("<\xC3\xA4\x01>"), "<\xC3\xA4\x01>");
    EXPECT_EQ(kxcontour::RepairUtf8("a\xC3z\x80"), "a" + kReplacement + "z" + kReplacement);
}

} // namespace
