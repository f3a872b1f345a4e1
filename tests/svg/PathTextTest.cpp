// Numbers of paths compared with stream output: all magnitudes, ties, and the neighbours of powers
// of ten, where the number of digits changes.
#include <ctr/SVGExporter.h>

#include "linesets/SegmentBuilders.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using test_support::MakeSet;
using test_support::Random;
using test_support::Vec3;

// Leaves x and y as they are, but for the sign of zero.
ctr::ExportParameters Unchanged() {
    ctr::ExportParameters parameters{ctr::DiscreteProjectionSpace()};
    parameters.setPageSizeInMM({0.0F, 0.0F});
    parameters.pageTransform = {1.0F, 0.0F, 0.0F, -1.0F};
    parameters.pageOffset = {0.0F, 0.0F};
    return parameters;
}

bool IsBehind(const Vec3& p, const Vec3& q) {
    return p[0] > q[0] || (p[0] == q[0] && p[1] > q[1]);
}

// Lines whose ends take their coordinates from the values, four a line, the smaller end first.
std::vector<Vec3> EndsOf(std::vector<float> values) {
    values.resize((values.size() + 3) / 4 * 4, 1.0F);
    std::vector<Vec3> ends;
    for (std::size_t i = 0; i < values.size(); i += 4) {
        Vec3 from(values[i], values[i + 1], 0.0F);
        Vec3 to(values[i + 2], values[i + 3], 0.0F);
        if (IsBehind(from, to)) {
            std::swap(from, to);
        }
        // Lines that would have no length have one in z.
        to[2] = 1.0F;
        ends.insert(ends.end(), {from, to});
    }
    return ends;
}

// What a stream makes of the lines, in one word each.
std::string Printed(const std::vector<Vec3>& ends) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    for (std::size_t i = 0; i < ends.size(); ++i) {
        text << (i % 2 == 0 ? "  <path d=\"M" : "L") << static_cast<double>(ends[i][0] + 0.0F)
             << ',' << static_cast<double>(ends[i][1] + 0.0F) << ' '
             << (i % 2 == 0 ? "" : "\"/>\n");
    }
    return text.str();
}

// Tests of this file run at the same time.
std::string PathOfOwn(const std::string& name) {
    return testing::TempDir() + "ctr_svg_" + std::to_string(getpid()) + "_" + name + ".svg";
}

// The path elements that the exporter makes of the lines.
std::string Written(const std::vector<Vec3>& ends) {
    const std::string path = PathOfOwn("numbers");
    ctr::SVGExporter exporter;
    exporter.setExportParameters(Unchanged());
    EXPECT_TRUE(exporter.openFile(path));
    for (std::size_t i = 0; i < ends.size(); i += 2) {
        EXPECT_TRUE(
            exporter.streamLineSegments(*MakeSet({ends[i], ends[i + 1]}, {0, 1}), "crease"));
    }
    EXPECT_TRUE(exporter.closeFile());
    std::ifstream file(path);
    std::string text;
    for (std::string line; std::getline(file, line);) {
        text += line.rfind("  <path", 0) == 0 ? line + "\n" : "";
    }
    file.close();
    std::filesystem::remove(path);
    return text;
}

void ExpectAsStreamsPrint(const std::vector<float>& values) {
    const std::vector<Vec3> ends = EndsOf(values);
    std::istringstream written(Written(ends));
    std::istringstream printed(Printed(ends));
    std::string ours;
    std::string theirs;
    while (std::getline(printed, theirs)) {
        ASSERT_TRUE(std::getline(written, ours));
        ASSERT_EQ(ours, theirs);
    }
    EXPECT_FALSE(std::getline(written, ours));
}

TEST(PathText, AreThoseOfAStreamOverThePage) {
    Random random(1);
    std::vector<float> values;
    for (int i = 0; i < 200000; ++i) {
        const double size = std::pow(10.0, 10.0 * random.unit() - 4.0);
        values.push_back(static_cast<float>(random.below(2) == 0 ? size : -size));
    }
    ExpectAsStreamsPrint(values);
}

TEST(PathText, AreThoseOfAStreamForAnyBits) {
    Random random(2);
    std::vector<float> values = {0.0F, std::numeric_limits<float>::denorm_min(),
                                 std::numeric_limits<float>::min(), 3.0e38F};
    for (int i = 0; i < 100000; ++i) {
        const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(random.next()));
        if (std::isfinite(value)) {
            values.push_back(value);
        }
    }
    ExpectAsStreamsPrint(values);
}

// Seven digits, the last of them a five: k bits behind the point make k decimals.
TEST(PathText, RoundTiesToTheEvenDigit) {
    Random random(3);
    std::vector<float> values;
    for (int decimals = 2; decimals <= 6; ++decimals) {
        const int least = static_cast<int>(std::pow(10.0, 6 - decimals));
        for (int i = 0; i < 4000; ++i) {
            const int whole = least + random.below(9 * least);
            const int odd = 2 * random.below(1 << (decimals - 1)) + 1;
            values.push_back(static_cast<float>(whole + std::ldexp(odd, -decimals)));
        }
    }
    ExpectAsStreamsPrint(values);
}

TEST(PathText, ChangeTheirLengthWhereStreamsDo) {
    std::vector<float> values;
    for (int exponent = -6; exponent <= 8; ++exponent) {
        for (const double factor : {1.0, 0.9999995, 0.99999949, 0.99999951, 1.0000005}) {
            float value = static_cast<float>(factor * std::pow(10.0, exponent));
            for (int step = 0; step < 20; ++step) {
                value = std::nextafter(value, 0.0F);
            }
            for (int step = 0; step < 40; ++step) {
                values.push_back(value);
                value = std::nextafter(value, std::numeric_limits<float>::max());
            }
        }
    }
    ExpectAsStreamsPrint(values);
}

// Longer than any buffer on the way.
TEST(PathText, AreWholeInALongGroup) {
    std::vector<Vec3> points;
    std::vector<unsigned int> indices;
    std::ostringstream expected;
    for (unsigned int i = 0; i < 20000; ++i) {
        const auto x = static_cast<float>(i);
        points.emplace_back(x, 0.25F, 0.0F);
        points.emplace_back(x, 0.5F, 0.0F);
        indices.insert(indices.end(), {2 * i, 2 * i + 1});
        expected << "  <path d=\"M" << i << ",0.25 L" << i << ",0.5 \"/>\n";
    }
    const std::string path = PathOfOwn("long");
    ctr::SVGExporter exporter;
    exporter.setExportParameters(Unchanged());
    ASSERT_TRUE(exporter.openFile(path));
    ASSERT_TRUE(exporter.streamLineSegments(*MakeSet(points, indices), "crease"));
    // Everything is there before the file is closed.
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    std::filesystem::remove(path);
    const std::string end = expected.str() + "</g>\n";
    ASSERT_GE(text.str().size(), end.size());
    EXPECT_TRUE(text.str().substr(text.str().size() - end.size()) == end);
}

} // namespace
