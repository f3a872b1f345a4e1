// Drawings through the library's exporter: every path of the drawing, and no other.
#include "ModelText.h"
#include "SvgFile.h"
#include "drawing/output/PaperDrawings.h"
#include "support/Random.h"

#include <cerrno>
#include <cstdio>

namespace {

using kxcontour::WritePlainSvg;
using tool_test::MakeDrawing;
using tool_test::MakeGroup;
using tool_test::MakePath;
using tool_test::NewFile;
using tool_test::Path;
using tool_test::ReadBytes;
using tool_test::SvgFile;
using tool_test::TemporaryFolder;
using tool_test::kxdrawing::Drawing;

SvgFile Written(const kxdrawing::Drawing& drawing) {
    const TemporaryFolder folder;
    WritePlainSvg(drawing, NewFile(folder.path("a.svg")));
    return tool_test::ReadSvg(folder.path("a.svg"));
}

std::string BytesOf(const kxdrawing::Drawing& drawing) {
    const TemporaryFolder folder;
    WritePlainSvg(drawing, NewFile(folder.path("a.svg")));
    return ReadBytes(folder.path("a.svg"));
}

/// What printf writes of the number in single precision, read back.
double Rounded(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", static_cast<double>(static_cast<float>(value)));
    return std::stod(text);
}

void ExpectPath(const tool_test::SvgPath& written, const Path& path, std::size_t number) {
    ASSERT_EQ(written.size(), path.points.size()) << "path " << number;
    for (std::size_t i = 0; i < written.size(); ++i) {
        ASSERT_EQ(written[i].x, Rounded(path.points[i].x)) << "path " << number << " point " << i;
        ASSERT_EQ(written[i].y, Rounded(path.points[i].y)) << "path " << number << " point " << i;
    }
}

/// The paths come out one by one, point by point.
void ExpectSamePaths(const std::vector<Path>& paths) {
    const SvgFile svg = Written(MakeDrawing(paths));
    ASSERT_EQ(svg.groups.size(), 1U);
    ASSERT_EQ(svg.groups[0].paths.size(), paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i) {
        ExpectPath(svg.groups[0].paths[i], paths[i], i);
    }
}

Path Polygon(std::size_t corners, double radius) {
    Path path = tool_test::CirclePath({100, 150}, radius, 10, 360, corners);
    path.arcs.clear();
    return path;
}

TEST(PlainSvg, WritesPathsOfEveryLength) {
    for (std::size_t count = 2; count < 12; ++count) {
        SCOPED_TRACE(count);
        Path bent = MakePath({});
        Path straight = MakePath({});
        for (std::size_t i = 0; i < count; ++i) {
            const auto x = static_cast<double>(i);
            bent.points.push_back({x * 10.5, x * x});
            straight.points.push_back({x * 10.5, 40.0});
        }
        ExpectSamePaths({bent});
        ExpectSamePaths({straight});
    }
}

TEST(PlainSvg, WritesLoopsFromTheirStartToTheirStart) {
    for (std::size_t corners = 2; corners < 40; ++corners) {
        SCOPED_TRACE(corners);
        ExpectSamePaths({Polygon(corners, 50.0)});
    }
    ExpectSamePaths({Polygon(3, 20.0), Polygon(64, 30.0), Polygon(65, 30.0), Polygon(1000, 90.0)});
}

TEST(PlainSvg, KeepsPathsThatMeetApart) {
    const Path cross = MakePath({{10, 50}, {90, 50}});
    const Path other = MakePath({{50, 10}, {50, 90}});
    const Path onward = MakePath({{90, 50}, {120, 50}});
    const Path again = MakePath({{90, 50}, {10, 50}});
    ExpectSamePaths({cross, other, onward, cross, again, Polygon(5, 20.0), Polygon(5, 20.0)});
}

TEST(PlainSvg, WritesPathsThatMeetThemselves) {
    const Path eight = MakePath(
        {{50, 50}, {60, 40}, {70, 50}, {60, 60}, {50, 50}, {40, 40}, {30, 50}, {40, 60}, {50, 50}});
    const Path through = MakePath({{10, 10}, {50, 50}, {90, 10}, {90, 90}, {50, 50}, {10, 90}});
    const Path back = MakePath({{10, 10}, {20, 10}, {10, 10}, {20, 10}});
    const Path stuck = MakePath({{10, 10}, {10, 10}, {20, 10}, {20, 10}, {20, 10}});
    ExpectSamePaths({eight, through, back, stuck});
}

TEST(PlainSvg, WritesDots) {
    ExpectSamePaths({MakePath({{10, 20}, {10, 20}}), MakePath({{10, 20}, {10, 20}}),
                     MakePath({{0, 0}, {0, 0}, {0, 0}})});
}

TEST(PlainSvg, KeepsCirclesAndLinesThatCouldBeFitted) {
    // What the search for arcs would take up, on pages of every size.
    for (const double radius : {1e-3, 1.0, 80.0, 1e4, 4.9e4}) {
        SCOPED_TRACE(radius);
        std::vector<Path> paths;
        for (const double sweep : {20.0, 45.0, 180.0, -270.0, 350.0, 360.0}) {
            for (const std::size_t steps : {7U, 16U, 61U, 360U}) {
                paths.push_back(tool_test::CirclePath({5e4, 5e4}, radius, 33.0, sweep, steps));
                paths.back().arcs.clear();
            }
        }
        ExpectSamePaths(paths);
    }
}

TEST(PlainSvg, WritesRandomPathsOnACoarseGrid) {
    for (std::uint64_t seed = 0; seed < 50; ++seed) {
        SCOPED_TRACE(seed);
        test_support::Random random(seed);
        std::vector<Path> paths;
        for (int i = 0; i < 20; ++i) {
            Path path;
            const auto count = static_cast<std::size_t>(random.between(2, 12));
            for (std::size_t k = 0; k < count; ++k) {
                path.points.push_back({static_cast<double>(random.between(0, 3)),
                                       static_cast<double>(random.between(0, 3))});
            }
            paths.push_back(path);
        }
        ExpectSamePaths(paths);
    }
}

TEST(PlainSvg, KeepsSmallCoordinatesExact) {
    ExpectSamePaths({MakePath({{0.001234567, 0.001234567}, {209.9999, 296.9999}}),
                     MakePath({{-3.25, -4.125}, {1e-7, 300.5}})});
}

TEST(PlainSvg, WritesOneGroupForEachThatHasPaths) {
    kxdrawing::Drawing drawing;
    kxcontour::PathGroup red = MakeGroup({MakePath({{1, 2}, {3, 4}})});
    red.style = {0.25, {255, 0, 1}, {}};
    kxcontour::PathGroup grey = MakeGroup({MakePath({{5, 6}, {7, 8}})});
    grey.style = {0.1, {127, 128, 254}, {}};
    drawing.layers.push_back({"", {red, MakeGroup({}), grey}});
    drawing.title = "a & b";
    drawing.description.clear();
    drawing.page = {420, 297};
    EXPECT_EQ(BytesOf(drawing),
              "<?xml version=\"1.0\"?>\n"
              "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"420mm\" height=\"297mm\" "
              "viewBox=\"0 0 420 297\" >\n"
              "<title>a &amp; b</title>\n"
              "<g fill=\"none\" stroke-linecap=\"round\" stroke-linejoin=\"round\" "
              "stroke=\"rgb(255,0,1)\" stroke-width=\"0.25\">\n"
              "  <path d=\"M1,2 L3,4 \"/>\n"
              "</g>\n"
              "<g fill=\"none\" stroke-linecap=\"round\" stroke-linejoin=\"round\" "
              "stroke=\"rgb(127,128,254)\" stroke-width=\"0.1\">\n"
              "  <path d=\"M5,6 L7,8 \"/>\n"
              "</g>\n"
              "</svg>\n");
}

TEST(PlainSvg, KeepsEveryColour) {
    for (int byte = 0; byte < 256; ++byte) {
        kxdrawing::Drawing drawing = MakeDrawing({MakePath({{1, 2}, {3, 4}})});
        drawing.layers[0].groups[0].style.color = {0, static_cast<std::uint8_t>(byte), 0};
        const std::string expected = "stroke=\"rgb(0," + std::to_string(byte) + ",0)\"";
        EXPECT_NE(BytesOf(drawing).find(expected), std::string::npos) << expected;
    }
}

TEST(PlainSvg, WritesAnEmptyDrawing) {
    const SvgFile svg = Written(kxdrawing::Drawing());
    EXPECT_EQ(svg.width, "210mm");
    EXPECT_EQ(svg.title, "Illustration");
    EXPECT_EQ(svg.groups.size(), 0U);
}

TEST(PlainSvg, WritesTheSameBytesWhateverTheLocale) {
    const kxdrawing::Drawing drawing = MakeDrawing({MakePath({{1.5, 2.5}, {1234.5, 1e6}})});
    const std::string bytes = BytesOf(drawing);
    EXPECT_EQ(BytesOf(drawing), bytes);
    const tool_test::CommaLocale locale;
    EXPECT_EQ(BytesOf(drawing), bytes);
}

TEST(PlainSvg, SaysWhyItFails) {
    const TemporaryFolder folder;
    const kxdrawing::Drawing drawing = MakeDrawing({Polygon(100000, 50.0)});
    EXPECT_EQ(tool_test::ReasonOf([&] { WritePlainSvg(drawing, -1); }), EBADF);
    EXPECT_EQ(tool_test::ReasonOf([&] { WritePlainSvg(drawing, NewFile("/dev/full")); }), ENOSPC);
    EXPECT_EQ(
        tool_test::ReasonOf([&] { WritePlainSvg(kxdrawing::Drawing(), NewFile("/dev/full")); }),
        ENOSPC);
}

TEST(PlainSvg, WritesLongPathsAndLoops) {
    Path spiral;
    for (int i = 0; i < 100000; ++i) {
        const double angle = 0.01 * i;
        spiral.points.push_back(
            {100.0 + 0.0008 * i * std::cos(angle), 100.0 + 0.0008 * i * std::sin(angle)});
    }
    ExpectSamePaths({spiral, Polygon(100000, 50.0)});
}

TEST(PlainSvg, KnowsWhatItCanWrite) {
    kxdrawing::Drawing drawing = MakeDrawing({MakePath({{1, 2}, {3, 4}})});
    EXPECT_TRUE(kxcontour::IsPlain(drawing));
    EXPECT_TRUE(kxcontour::IsPlain(kxdrawing::Drawing()));
    kxdrawing::Drawing dashed = drawing;
    dashed.layers[0].groups[0].style.dashes = {1.0, 1.0};
    EXPECT_FALSE(kxcontour::IsPlain(dashed));
    kxdrawing::Drawing layered = drawing;
    layered.layers[0].name = "a";
    EXPECT_FALSE(kxcontour::IsPlain(layered));
    EXPECT_FALSE(kxcontour::IsPlain(MakeDrawing({tool_test::CirclePath({0, 0}, 1, 0, 90, 4)})));
}

} // namespace
