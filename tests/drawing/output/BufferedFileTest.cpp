// Bytes and numbers on their way into a file.
#include "drawing/output/BufferedFile.h"

#include "ModelText.h"
#include "drawing/output/PaperDrawings.h"

#include <cerrno>
#include <cstdint>
#include <limits>

namespace {

using kxcontour::BufferedFile;
using kxcontour::Number;
using kxcontour::PaperNumber;
using tool_test::ReadBytes;
using tool_test::ReasonOf;
using tool_test::TemporaryFolder;

std::string Printed(Number number) {
    const TemporaryFolder folder;
    const tool_test::NewFile descriptor(folder.path("number"));
    BufferedFile file(descriptor);
    file << number;
    file.flush();
    return ReadBytes(folder.path("number"));
}

TEST(BufferedFile, PrintsNumbersAsTheExporterDoes) {
    const tool_test::CommaLocale locale;
    EXPECT_EQ(Printed(PaperNumber(210.0)), "210");
    EXPECT_EQ(Printed(PaperNumber(12.3456789)), "12.3457");
    EXPECT_EQ(Printed(PaperNumber(0.2)), "0.2");
    EXPECT_EQ(Printed(PaperNumber(1234567.0)), "1.23457e+06");
    EXPECT_EQ(Printed(PaperNumber(0.00001)), "1e-05");
    EXPECT_EQ(Printed(PaperNumber(-0.0)), "0");
    EXPECT_EQ(Printed(PaperNumber(-1e-60)), "0") << "too small for single precision";
}

TEST(BufferedFile, PrintsExactNumbers) {
    EXPECT_EQ(Printed({0.1}), "0.1");
    EXPECT_EQ(Printed({1.0 / 3.0}), "0.3333333333333333");
    EXPECT_EQ(Printed({-0.0}), "0");
    EXPECT_EQ(Printed({-std::numeric_limits<double>::max()}), "-1.7976931348623157e+308");
}

TEST(BufferedFile, KeepsAllBytesInOrder) {
    const TemporaryFolder folder;
    std::string expected;
    const tool_test::NewFile descriptor(folder.path("bytes"));
    BufferedFile file(descriptor);
    for (std::size_t i = 0; i < 100000; ++i) {
        file << i << ' ' << std::int64_t{-1} << std::string_view("\0\n", 2);
        expected += std::to_string(i) + " -1" + std::string("\0\n", 2);
    }
    file.flush();
    EXPECT_EQ(ReadBytes(folder.path("bytes")), expected);
}

TEST(BufferedFile, SaysWhyItFails) {
    const auto fill = [](int descriptor, std::size_t size) {
        BufferedFile file(descriptor);
        file << std::string(size, 'x');
        file.flush();
    };
    const tool_test::NewFile full("/dev/full");
    EXPECT_EQ(ReasonOf([&] { fill(-1, 1); }), EBADF);
    EXPECT_EQ(ReasonOf([&] { fill(full, 1); }), ENOSPC) << "with the rest";
    EXPECT_EQ(ReasonOf([&] { fill(full, 1000000); }), ENOSPC) << "on the way";
}

} // namespace
