// Bytes and numbers on their way to a stream.
#include "drawing/output/TextWriter.h"

#include "drawing/output/PaperDrawings.h"

#include <cstdint>
#include <limits>

namespace {

using kxcontour::Number;
using kxcontour::PaperNumber;
using kxcontour::TextWriter;

std::string Printed(Number number) {
    return tool_test::BytesFrom([&](std::ostream& out) {
        TextWriter text(out);
        text << number;
        text.flush();
    });
}

TEST(TextWriter, PrintsNumbersAsTheExporterDoes) {
    const tool_test::CommaLocale locale;
    EXPECT_EQ(Printed(PaperNumber(210.0)), "210");
    EXPECT_EQ(Printed(PaperNumber(12.3456789)), "12.3457");
    EXPECT_EQ(Printed(PaperNumber(0.2)), "0.2");
    EXPECT_EQ(Printed(PaperNumber(1234567.0)), "1.23457e+06");
    EXPECT_EQ(Printed(PaperNumber(0.00001)), "1e-05");
    EXPECT_EQ(Printed(PaperNumber(-0.0)), "0");
    EXPECT_EQ(Printed(PaperNumber(-1e-60)), "0") << "too small for single precision";
}

TEST(TextWriter, PrintsExactNumbers) {
    EXPECT_EQ(Printed({0.1}), "0.1");
    EXPECT_EQ(Printed({1.0 / 3.0}), "0.3333333333333333");
    EXPECT_EQ(Printed({-0.0}), "0");
    EXPECT_EQ(Printed({-std::numeric_limits<double>::max()}), "-1.7976931348623157e+308");
}

TEST(TextWriter, KeepsAllBytesInOrder) {
    std::ostringstream out;
    std::string expected;
    TextWriter text(out);
    for (std::size_t i = 0; i < 100000; ++i) {
        text << i << ' ' << std::int64_t{-1} << std::string_view("\0\n", 2);
        expected += std::to_string(i) + " -1" + std::string("\0\n", 2);
    }
    text.flush();
    EXPECT_EQ(out.str(), expected);
}

TEST(TextWriter, SaysWhyItFails) {
    for (const std::size_t size : {1U, 1000000U}) {
        tool_test::ExpectReasons([&](std::ostream& out) {
            TextWriter text(out);
            text << std::string(size, 'x');
            text.flush();
        });
    }
}

} // namespace
