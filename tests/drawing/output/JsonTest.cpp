// JSON documents, read back.
#include "ModelText.h"
#include "drawing/output/PaperDrawings.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

namespace {

using kxcontour::LineKind;
using kxcontour::WriteJson;
using kxdrawing::Drawing;
using kxdrawing::Line;
using nlohmann::json;

std::string BytesOf(const kxdrawing::Drawing& drawing) {
    return tool_test::BytesFrom([&](std::ostream& out) { WriteJson(drawing, out); });
}

kxdrawing::Drawing SmallDrawing() {
    constexpr long kLarge = std::numeric_limits<long>::max();
    kxdrawing::Drawing drawing;
    drawing.title = "a \"b\"\n";
    drawing.objects = {"Geh\xC3\xA4use", "\xFF"};
    drawing.millimetresPerUnit = 25.4;
    kxdrawing::Line seen;
    seen.kind = LineKind::Crease;
    seen.object = 1;
    seen.ends = {{{0.1, -2.0, 1e300}, {1.0 / 3.0, 0.0, 5e-324}}};
    seen.onPage = kxcontour::PageLine{{10.5, 20.25}, {0.1, 30.0}};
    seen.hidden = {{{0, 1}, {1, 3}}, {{kLarge - 1, kLarge}, {kLarge, kLarge}}};
    seen.repeated = {{1.0 / 3.0, 0.5}, {0.75, 0.875}};
    kxdrawing::Line outside;
    outside.kind = LineKind::Intersection;
    outside.ends = {{{1, 2, 3}, {4, 5, 6}}};
    drawing.lines = {seen, outside};
    return drawing;
}

TEST(Json, HasAllThatThereIsExactly) {
    const json document = json::parse(BytesOf(SmallDrawing()));
    EXPECT_EQ(document["generator"], "kxcontour");
    EXPECT_EQ(document["page"], json({{"width", 210.0}, {"height", 297.0}, {"unit", "mm"}}));
    EXPECT_EQ(document["title"], "a \"b\"\n");
    EXPECT_EQ(document["description"], "");
    EXPECT_EQ(document["objects"], json({"Geh\xC3\xA4use", "\xEF\xBF\xBD"}));
    EXPECT_EQ(document["millimetresPerUnit"], 25.4);
    const json& segments = document["segments"];
    ASSERT_EQ(segments.size(), 2U);
    EXPECT_EQ(segments[0]["family"], "crease");
    EXPECT_EQ(segments[0]["object"], 1);
    EXPECT_EQ(segments[0]["ends"],
              json::parse("[[0.1, -2, 1e300], [0.3333333333333333, 0, 5e-324]]"));
    EXPECT_EQ(segments[0]["paper"], json::parse("[[10.5, 20.25], [0.1, 30]]"));
    EXPECT_EQ(segments[0]["hidden"], json::parse("[[[0, 1], [1, 3]],"
                                                 " [[9223372036854775806, 9223372036854775807],"
                                                 "  [9223372036854775807, 9223372036854775807]]]"));
    EXPECT_EQ(segments[0]["repeated"], json::parse("[[0.3333333333333333, 0.5], [0.75, 0.875]]"));
    EXPECT_EQ(segments[1]["family"], "intersection");
    EXPECT_TRUE(segments[1]["object"].is_null());
    EXPECT_TRUE(segments[1]["paper"].is_null());
    EXPECT_EQ(segments[1]["hidden"], json::array());
    EXPECT_EQ(segments[1]["repeated"], json::array());
}

TEST(Json, WritesAnEmptyDrawing) {
    const json document = json::parse(BytesOf(kxdrawing::Drawing()));
    EXPECT_EQ(document["objects"], json::array());
    EXPECT_EQ(document["segments"], json::array());
}

TEST(Json, WritesNoNumberThatJsonDoesNotHave) {
    kxdrawing::Drawing drawing = SmallDrawing();
    drawing.lines[0].ends[0] = {std::numeric_limits<double>::quiet_NaN(),
                                -std::numeric_limits<double>::infinity(), 1.0};
    const json document = json::parse(BytesOf(drawing));
    EXPECT_EQ(document["segments"][0]["ends"][0], json::parse("[null, null, 1]"));
}

TEST(Json, WritesOneSegmentALine) {
    kxdrawing::Drawing drawing = SmallDrawing();
    drawing.lines.resize(10000, drawing.lines[0]);
    const std::string bytes = BytesOf(drawing);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\n'), 10000 + 10);
    EXPECT_EQ(json::parse(bytes)["segments"].size(), 10000U);
}

TEST(Json, WritesTheSameBytesWhateverTheLocale) {
    const std::string bytes = BytesOf(SmallDrawing());
    const tool_test::CommaLocale locale;
    EXPECT_EQ(BytesOf(SmallDrawing()), bytes);
}

TEST(Json, SaysWhyItFails) {
    tool_test::ExpectReasons([](std::ostream& out) { WriteJson(kxdrawing::Drawing(), out); });
}

} // namespace
