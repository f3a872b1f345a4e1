// PDF pages and PNG pictures: true to size, and drawn.
#include "ModelText.h"
#include "ShapeBuilders.h"
#include "ToolRun.h"
#include "drawing/output/PaperDrawings.h"

#include <array>
#include <cairo.h>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <streambuf>

namespace {

using kxcontour::WritePdf;
using kxcontour::WritePng;
using tool_test::CirclePath;
using tool_test::Holds;
using tool_test::MakeDrawing;
using tool_test::MakePath;
using tool_test::NewFile;
using tool_test::ReadBytes;
using tool_test::TemporaryFolder;

/// A picture of 32-bit pixels.
class Picture {
public:
    explicit Picture(const std::string& path)
        : surface_(cairo_image_surface_create_from_png(path.c_str()), &cairo_surface_destroy) {
        EXPECT_EQ(cairo_surface_status(surface_.get()), CAIRO_STATUS_SUCCESS);
    }

    int width() const { return cairo_image_surface_get_width(surface_.get()); }
    int height() const { return cairo_image_surface_get_height(surface_.get()); }

    /// The colour as 0xRRGGBB.
    unsigned int at(double x, double y) const {
        const std::ptrdiff_t stride = cairo_image_surface_get_stride(surface_.get());
        const unsigned char* row =
            cairo_image_surface_get_data(surface_.get()) + static_cast<std::ptrdiff_t>(y) * stride;
        const unsigned char* pixel = row + 4 * static_cast<std::ptrdiff_t>(x);
        return static_cast<unsigned int>(pixel[2] << 16 | pixel[1] << 8 | pixel[0]);
    }

private:
    std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface_;
};

constexpr unsigned int kWhite = 0xFFFFFF;

/// Wide red lines: a line, a dot, a loop, a dashed line, an arc without its polyline.
kxdrawing::Drawing BoldDrawing() {
    kxdrawing::Drawing drawing =
        MakeDrawing({MakePath({{10, 10}, {60, 10}}), MakePath({{20, 30}, {20, 30}}),
                     MakePath({{40, 30}, {60, 30}, {60, 50}, {40, 30}})});
    tool_test::Path arc = CirclePath({60, 100}, 30, 180, 180, 2);
    arc.points[1] = {60, 100}; // So that the arc can be told from the polyline.
    tool_test::PathGroup dashed = tool_test::MakeGroup({MakePath({{10, 60}, {90, 60}})});
    dashed.style.dashes = {10, 10};
    drawing.layers[0].groups[0].paths.push_back(arc);
    drawing.layers[0].groups.push_back(dashed);
    for (tool_test::PathGroup& group : drawing.layers[0].groups) {
        group.style.width = 4;
        group.style.color = {255, 0, 0};
    }
    drawing.page = {100, 150};
    return drawing;
}

/// Looks at a picture of the above.
void ExpectBold(const Picture& picture, double scale) {
    constexpr unsigned int kRed = 0xFF0000;
    const auto at = [&](double x, double y) { return picture.at(x * scale, y * scale); };
    EXPECT_EQ(at(2, 2), kWhite);
    EXPECT_EQ(at(35, 10), kRed) << "line";
    EXPECT_EQ(at(9, 10), kRed) << "round cap";
    EXPECT_EQ(at(7, 10), kWhite);
    EXPECT_EQ(at(20, 30), kRed) << "dot";
    EXPECT_EQ(at(20, 31.5), kRed);
    EXPECT_EQ(at(20, 33), kWhite);
    EXPECT_EQ(at(60, 40), kRed) << "loop";
    EXPECT_EQ(at(50, 40), kRed);
    EXPECT_EQ(at(15, 60), kRed) << "dash";
    EXPECT_EQ(at(25, 60), kWhite) << "gap";
    EXPECT_EQ(at(35, 60), kRed);
    EXPECT_EQ(at(60, 70), kRed) << "arc";
    EXPECT_EQ(at(60, 100), kWhite);
    EXPECT_EQ(at(60, 130), kWhite) << "the other half of the circle";
}

std::string PdfInfo(const std::string& path) {
    const tool_test::RunResult run = tool_test::Run("/usr/bin/pdfinfo", {path});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    return run.out;
}

TEST(Pdf, HasTheSizeOfThePage) {
    const TemporaryFolder folder;
    kxdrawing::Drawing drawing = tool_test::RichDrawing();
    WritePdf(drawing, NewFile(folder.path("a.pdf")));
    const std::string info = PdfInfo(folder.path("a.pdf"));
    EXPECT_TRUE(Holds(info, "Page size:       595.276 x 841.89 pts (A4)")) << info;
    EXPECT_TRUE(Holds(info, "Pages:           1\n")) << info;
    EXPECT_TRUE(Holds(info, "Title:           Pump & <valve>\n")) << info;
    EXPECT_TRUE(Holds(info, "Subject:         Seen from \"above\"\n")) << info;
    EXPECT_FALSE(Holds(info, "Date")) << info;
    drawing.page = {25.4, 50.8};
    WritePdf(drawing, NewFile(folder.path("a.pdf")));
    EXPECT_TRUE(Holds(PdfInfo(folder.path("a.pdf")), "Page size:       72 x 144 pts"));
}

TEST(Pdf, TakesTitlesThatAreNoText) {
    const TemporaryFolder folder;
    kxdrawing::Drawing drawing;
    drawing.title = "Geh\xC3\xA4use \xFF";
    drawing.description = std::string("\0x", 2);
    WritePdf(drawing, NewFile(folder.path("a.pdf")));
    EXPECT_TRUE(
        Holds(PdfInfo(folder.path("a.pdf")), "Title:           Geh\xC3\xA4use \xEF\xBF\xBD\n"));
}

TEST(Pdf, DrawsWhatIsThere) {
    const TemporaryFolder folder;
    WritePdf(BoldDrawing(), NewFile(folder.path("a.pdf")));
    const tool_test::RunResult run = tool_test::Run(
        "/usr/bin/pdftoppm", {"-png", "-singlefile", "-scale-to-x", "1000", "-scale-to-y", "1500",
                              folder.path("a.pdf"), folder.path("a")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const Picture picture(folder.path("a.png"));
    ASSERT_EQ(picture.width(), 1000);
    ASSERT_EQ(picture.height(), 1500);
    ExpectBold(picture, 10.0);
}

TEST(Pdf, WritesTheSameBytesAtAnyTime) {
    const TemporaryFolder folder;
    WritePdf(tool_test::RichDrawing(), NewFile(folder.path("a.pdf")));
    const tool_test::CommaLocale locale;
    ASSERT_EQ(::setenv("SOURCE_DATE_EPOCH", "1", 1), 0);
    WritePdf(tool_test::RichDrawing(), NewFile(folder.path("b.pdf")));
    ::unsetenv("SOURCE_DATE_EPOCH");
    EXPECT_EQ(ReadBytes(folder.path("a.pdf")), ReadBytes(folder.path("b.pdf")));
    // Neither a date, which a later run would change, nor an identifier made from one.
    EXPECT_FALSE(Holds(ReadBytes(folder.path("a.pdf")), "/CreationDate"));
    EXPECT_FALSE(Holds(ReadBytes(folder.path("a.pdf")), "/ID"));
}

/// A drawing whose file is too large to be written at the end only.
kxdrawing::Drawing LargeDrawing(int pointCount) {
    tool_test::Path path;
    for (int i = 0; i < pointCount; ++i) {
        path.points.push_back({i * 3571 % 1999 * 0.1, i * 7919 % 2503 * 0.1});
    }
    return MakeDrawing({path});
}

TEST(Pdf, SaysWhyItFails) {
    for (const kxdrawing::Drawing& drawing : {BoldDrawing(), LargeDrawing(100000)}) {
        tool_test::ExpectReasons([&](std::ostream& out) { WritePdf(drawing, out); });
    }
}

TEST(Pdf, WritesAnEmptyDrawing) {
    const TemporaryFolder folder;
    WritePdf(kxdrawing::Drawing(), NewFile(folder.path("a.pdf")));
    EXPECT_TRUE(Holds(PdfInfo(folder.path("a.pdf")), "Pages:           1\n"));
}

TEST(Png, DrawsOnWhiteAtTheResolution) {
    const TemporaryFolder folder;
    WritePng(BoldDrawing(), 254.0, NewFile(folder.path("a.png")));
    const Picture picture(folder.path("a.png"));
    EXPECT_EQ(picture.width(), 1000);
    EXPECT_EQ(picture.height(), 1500);
    ExpectBold(picture, 10.0);
    WritePng(BoldDrawing(), 96.0, NewFile(folder.path("a.png")));
    EXPECT_EQ(Picture(folder.path("a.png")).width(), 378);
    EXPECT_EQ(Picture(folder.path("a.png")).height(), 567);
}

TEST(Png, KnowsItsTrueSize) {
    const TemporaryFolder folder;
    WritePng(BoldDrawing(), 300.0, NewFile(folder.path("a.png")));
    const std::string script =
        "import sys, struct, zlib\n"
        "b = open(sys.argv[1], 'rb').read()\n"
        "assert b[:8] == b'\\x89PNG\\r\\n\\x1a\\n'\n"
        "at = 8\n"
        "names = []\n"
        "while at < len(b):\n"
        "    size, name = struct.unpack('>I4s', b[at:at + 8])\n"
        "    data, crc = b[at + 8:at + 8 + size], b[at + 8 + size:at + 12 + size]\n"
        "    assert zlib.crc32(name + data) == struct.unpack('>I', crc)[0], name\n"
        "    if name == b'pHYs': print(struct.unpack('>IIB', data))\n"
        "    names.append(name)\n"
        "    at += 12 + size\n"
        "print(names[0].decode(), names.count(b'pHYs'), b'tIME' in names,\n"
        "      names.index(b'pHYs') < names.index(b'IDAT'), names[-1].decode())\n";
    const tool_test::RunResult run =
        tool_test::Run("/usr/bin/python3", {"-c", script, folder.path("a.png")});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "(11811, 11811, 1)\nIHDR 1 False True IEND\n");
}

TEST(Png, RefusesPicturesThatAreTooLarge) {
    const TemporaryFolder folder;
    const std::string path = folder.path("a.png");
    const std::string message = tool_test::FailureOf<kxdrawing::InvalidArgument>(
        [&] { WritePng(BoldDrawing(), 1e5, NewFile(path)); });
    EXPECT_TRUE(Holds(message, "32767 pixels")) << message;
    tool_test::FailureOf<kxdrawing::InvalidArgument>(
        [&] { WritePng(BoldDrawing(), INFINITY, NewFile(path)); });
    EXPECT_EQ(ReadBytes(path), "") << "nothing is written before";
    WritePng(BoldDrawing(), 0.001, NewFile(path));
    EXPECT_EQ(Picture(path).width(), 1) << "never without a pixel";
}

TEST(Png, WritesTheSameBytesTwice) {
    const auto write = [](std::ostream& out) { WritePng(tool_test::RichDrawing(), 50.0, out); };
    const std::string bytes = tool_test::BytesFrom(write);
    const tool_test::CommaLocale locale;
    EXPECT_EQ(tool_test::BytesFrom(write), bytes);
}

TEST(Png, SaysWhyItFails) {
    tool_test::ExpectReasons([](std::ostream& out) { WritePng(BoldDrawing(), 50.0, out); });
    const auto writeLarge = [](std::ostream& out) { WritePng(LargeDrawing(2000), 150.0, out); };
    tool_test::ExpectReasons(writeLarge);
    EXPECT_GT(tool_test::BytesFrom(writeLarge).size(), 100000U) << "the failure was on the way";
}

/// Buffers of the host may throw what they like: to cancel, for one.
TEST(Png, PassesOnWhatTheStreamThrows) {
    class Cancelling : public std::streambuf {
        int_type overflow(int_type) override { throw std::logic_error("cancelled"); }
    } buffer;
    std::ostream out(&buffer);
    out.exceptions(std::ios::badbit);
    EXPECT_THROW(WritePng(LargeDrawing(2000), 150.0, out), std::logic_error);
    out.clear();
    EXPECT_THROW(WritePdf(BoldDrawing(), out), std::logic_error);
}

} // namespace
