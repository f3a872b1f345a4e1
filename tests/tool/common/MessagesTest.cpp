// Lines on standard error.
#include "tool/common/Messages.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using kxcontour::Messages;

TEST(Messages, AreOneLineEachWhateverTheyQuote) {
    std::ostringstream out;
    const Messages messages(out, Messages::Loudness::Verbose, false);
    messages.error("a\nb.obj: lost");
    messages.warn("\x1b[2Jc: \u202e");
    messages.note("\xff");
    EXPECT_EQ(out.str(), R"(kxcontour: a\nb.obj: lost
kxcontour: warning: \x1b[2Jc: \u202e
kxcontour: \xff
)");
}

TEST(Messages, KeepTheirOwnColours) {
    std::ostringstream out;
    Messages(out, Messages::Loudness::Normal, true).error("\x1b[32mgreen");
    EXPECT_EQ(out.str(), "kxcontour: \033[31merror: \033[0m\\x1b[32mgreen\n");
}

} // namespace
