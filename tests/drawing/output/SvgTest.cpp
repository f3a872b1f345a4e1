// SVG documents, plain and with layers, dashes and arcs.
#include "drawing/output/PaperDrawings.h"

#include <algorithm>
#include <array>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>
#include <numbers>
#include <regex>
#include <set>

namespace {

using kxcontour::WriteSvg;
using tool_test::CirclePath;
using tool_test::MakeDrawing;
using tool_test::MakeGroup;
using tool_test::MakePath;

std::string BytesOf(const kxdrawing::Drawing& drawing) {
    return tool_test::BytesFrom([&](std::ostream& out) { WriteSvg(drawing, out); });
}

/// An element with what is in it.
struct Element {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<Element> children;

    std::string operator[](const std::string& attribute) const {
        for (const auto& [key, value] : attributes) {
            if (key == attribute) {
                return value;
            }
        }
        return "";
    }
};

std::string TextOf(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

/// Attributes of other name spaces are called by these.
std::string NameOf(const xmlNode* node, const xmlAttr* attribute) {
    xmlNs* space = attribute->ns;
    EXPECT_TRUE(space == nullptr ||
                xmlSearchNs(node->doc, const_cast<xmlNode*>(node), space->prefix) == space);
    return space == nullptr ? TextOf(attribute->name)
                            : "{" + TextOf(space->href) + "}" + TextOf(attribute->name);
}

Element Read(xmlNode* node) {
    Element element{TextOf(node->name), {}, {}};
    for (xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
        xmlChar* value = xmlNodeListGetString(node->doc, attribute->children, 1);
        element.attributes.emplace_back(NameOf(node, attribute),
                                        value != nullptr ? TextOf(value) : "");
        xmlFree(value);
    }
    for (xmlNode* child = node->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            element.children.push_back(Read(child));
        }
    }
    return element;
}

Element Parse(const std::string& bytes) {
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr,
                      XML_PARSE_NONET | XML_PARSE_HUGE),
        &xmlFreeDoc);
    xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (root == nullptr) {
        ADD_FAILURE() << "not well-formed";
        return {};
    }
    return Read(root);
}

const std::string kInkscape = "{http://www.inkscape.org/namespaces/inkscape}";

TEST(Svg, IsWrittenLikeThis) {
    kxdrawing::Drawing drawing = tool_test::RichDrawing();
    drawing.layers[0].groups[0].paths.resize(2);
    drawing.layers[1].groups[0].paths.resize(2);
    EXPECT_EQ(
        BytesOf(drawing),
        "<?xml version=\"1.0\"?>\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" "
        "xmlns:inkscape=\"http://www.inkscape.org/namespaces/inkscape\" width=\"210mm\" "
        "height=\"297mm\" viewBox=\"0 0 210 297\" >\n"
        "<title>Pump &amp; &lt;valve&gt;</title>\n"
        "<desc>Seen from \"above\"</desc>\n"
        "<g inkscape:groupmode=\"layer\" id=\"layer-Geh_C3_A4use_20_221_22\" "
        "inkscape:label=\"Geh\xC3\xA4use &quot;1&quot;\">\n"
        "<g class=\"crease\" fill=\"none\" stroke-linecap=\"round\" stroke-linejoin=\"round\" "
        "stroke=\"rgb(255,128,1)\" stroke-width=\"0.13\">\n"
        "  <path d=\"M10,20 L30,20 \"/>\n"
        "  <path d=\"M40,20 L60,20 L50,40 L40,20 \"/>\n"
        "</g>\n"
        "</g>\n"
        "<g inkscape:groupmode=\"layer\" id=\"layer-a_3Cb_3E_26c\" "
        "inkscape:label=\"a&lt;b&gt;&amp;c\">\n"
        "<g class=\"silhouette hidden\" fill=\"none\" stroke-linecap=\"round\" "
        "stroke-linejoin=\"round\" stroke=\"rgb(0,0,0)\" stroke-width=\"0.1\" "
        "stroke-dasharray=\"1,0.6\">\n"
        "  <path d=\"M10,200 L60,200 \"/>\n"
        "  <path d=\"M5,5 L5,5 \"/>\n"
        "</g>\n"
        "</g>\n"
        "</svg>\n");
}

TEST(Svg, NamesEveryLayerOnce) {
    const std::vector<std::string> names{
        "a", "A",   "a b",   "a  b",          "a-b", "\xE5\x89\x8D", "\xE5\x90\x8E",
        "1", "a-2", "a_20b", "tab\tand\nline"};
    kxdrawing::Drawing drawing;
    for (const std::string& name : names) {
        drawing.layers.push_back({name, {MakeGroup({MakePath({{1, 2}, {3, 4}})})}});
    }
    const Element svg = Parse(BytesOf(drawing));
    std::set<std::string> ids;
    ASSERT_EQ(svg.children.size(), 1 + names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        const Element& layer = svg.children[i + 1];
        EXPECT_EQ(layer[kInkscape + "label"], names[i]);
        EXPECT_EQ(layer[kInkscape + "groupmode"], "layer");
        EXPECT_TRUE(std::regex_match(layer["id"], std::regex("layer-[A-Za-z0-9_-]*")))
            << layer["id"];
        EXPECT_TRUE(ids.insert(layer["id"]).second) << layer["id"];
    }
}

/// So that a script finds a part in every drawing of a batch.
TEST(Svg, GivesALayerTheSameIdWhateverElseIsDrawn) {
    const auto idOfLast = [](const std::vector<std::string>& names) {
        kxdrawing::Drawing drawing;
        for (const std::string& name : names) {
            drawing.layers.push_back({name, {MakeGroup({MakePath({{1, 2}, {3, 4}})})}});
        }
        return Parse(BytesOf(drawing)).children.back()["id"];
    };
    EXPECT_EQ(idOfLast({"a b"}), "layer-a_20b");
    EXPECT_EQ(idOfLast({"a-b", "a  b", "a b"}), "layer-a_20b");
    EXPECT_EQ(idOfLast({"a-b"}), "layer-a-b");
}

TEST(Svg, PutsGroupsBelowTheRootWithoutALayer) {
    kxdrawing::Drawing drawing = MakeDrawing({MakePath({{1, 2}, {3, 4}})});
    drawing.layers[0].groups[0].style.dashes = {1.0, 1.0};
    drawing.layers[0].groups.push_back(MakeGroup({}));
    const Element svg = Parse(BytesOf(drawing));
    ASSERT_EQ(svg.children.size(), 2U) << "the title, and one group that is not empty";
    EXPECT_EQ(svg.children[1]["class"], "silhouette");
    EXPECT_EQ(svg.children[1].children.size(), 1U);
}

/// Every path element, in order, as it is written.
std::string PathLines(const std::string& bytes) {
    std::string lines;
    for (std::size_t at = bytes.find("  <path "); at != std::string::npos;
         at = bytes.find("  <path ", at + 1)) {
        lines += bytes.substr(at, bytes.find('\n', at) + 1 - at);
    }
    return lines;
}

TEST(Svg, HasTheSamePathsWithAndWithoutLayers) {
    kxdrawing::Drawing drawing = tool_test::RichDrawing();
    for (kxdrawing::Layer& layer : drawing.layers) {
        for (tool_test::Path& path : layer.groups[0].paths) {
            path.arcs.clear();
        }
        layer.groups[0].paths.push_back(MakePath({{0.001234567, 0.1}, {1.0 / 3.0, 296.99999}}));
    }
    const std::string layered = PathLines(BytesOf(drawing));
    for (kxdrawing::Layer& layer : drawing.layers) {
        layer.name.clear();
        layer.groups[0].style.dashes.clear();
    }
    EXPECT_GT(layered.size(), 1000U);
    EXPECT_EQ(layered, PathLines(BytesOf(drawing)));
}

/// An elliptic arc by its ends, as a reader of SVG finds it (SVG 1.1, appendix F.6.5).
struct EndPointArc {
    kxcontour::Point from;
    std::array<double, 5> shape; ///< Radii, rotation in degrees, large arc, positive sweep.
    kxcontour::Point to;

    /// The point half-way, by parameter.
    kxcontour::Point middle() const {
        const auto& [rx, ry, rotation, large, positive] = shape;
        const double c = std::cos(rotation * std::numbers::pi / 180);
        const double s = std::sin(rotation * std::numbers::pi / 180);
        const double dx = (from.x - to.x) / 2;
        const double dy = (from.y - to.y) / 2;
        // On the unit circle, half of the chord and the centre from its middle.
        const double u = (c * dx + s * dy) / rx;
        const double v = (c * dy - s * dx) / ry;
        const double root = std::sqrt(std::max(0.0, 1 / (u * u + v * v) - 1));
        const double side = (large != positive) ? root : -root;
        const double cu = side * v;
        const double cv = -side * u;
        const double start = std::atan2(v - cv, u - cu);
        double sweep = std::atan2(-v - cv, -u - cu) - start;
        sweep += positive > 0 && sweep < 0 ? 2 * std::numbers::pi : 0;
        sweep -= positive == 0 && sweep > 0 ? 2 * std::numbers::pi : 0;
        const double mx = rx * (std::cos(start + sweep / 2) + cu);
        const double my = ry * (std::sin(start + sweep / 2) + cv);
        return {c * mx - s * my + (from.x + to.x) / 2, s * mx + c * my + (from.y + to.y) / 2};
    }
};

/// The arcs of the only path.
std::vector<EndPointArc> ArcsOf(const std::string& bytes) {
    const std::regex kMove("M([^, ]+),([^, ]+) ");
    const std::regex kArc("A([^, ]+),([^, ]+) ([^, ]+) ([01]),([01]) ([^, ]+),([^, ]+) ");
    std::smatch match;
    EXPECT_TRUE(std::regex_search(bytes, match, kMove));
    kxcontour::Point at{std::stod(match[1]), std::stod(match[2])};
    std::vector<EndPointArc> arcs;
    for (std::sregex_iterator i(bytes.begin(), bytes.end(), kArc); i != std::sregex_iterator();
         ++i) {
        EndPointArc arc{at, {}, {std::stod((*i)[6]), std::stod((*i)[7])}};
        for (std::size_t k = 0; k < arc.shape.size(); ++k) {
            arc.shape[k] = std::stod((*i)[k + 1]);
        }
        at = arc.to;
        arcs.push_back(arc);
    }
    return arcs;
}

double Distance(const kxcontour::Point& a, const kxcontour::Point& b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

TEST(Svg, WritesArcsThatReadersFindWhereTheyAre) {
    for (const double radius : {0.5, 12.34567, 98.76543}) {
        for (const double sweep :
             {-360.0, -200.0, -180.0, -91.0, 10.0, 90.0, 179.9, 181.0, 360.0}) {
            SCOPED_TRACE(testing::Message() << radius << ", " << sweep);
            const tool_test::Path path = CirclePath({100.123456, 99.98765}, radius, 47, sweep, 36);
            const std::vector<EndPointArc> arcs = ArcsOf(BytesOf(MakeDrawing({path})));
            ASSERT_EQ(arcs.size(), static_cast<std::size_t>(std::ceil(std::fabs(sweep) / 90)));
            for (std::size_t i = 0; i < arcs.size(); ++i) {
                const double share =
                    (static_cast<double>(i) + 0.5) / static_cast<double>(arcs.size());
                const kxcontour::Point expected =
                    CirclePath({100.123456, 99.98765}, radius, 47 + sweep * share, 1, 1).points[0];
                EXPECT_LT(Distance(arcs[i].middle(), expected), 0.002);
            }
            EXPECT_LT(Distance(arcs.back().to, path.points.back()), 0.001);
        }
    }
}

TEST(Svg, WritesEllipsesAndWhatIsBetween) {
    tool_test::Path path = MakePath({{0, 50}, {70, 50}, {100, 60}, {130, 50}, {200, 50}});
    path.arcs.push_back({1, 3, {100, 50}, 30, 10, 0, 180, -180});
    const std::string bytes = BytesOf(MakeDrawing({path}));
    EXPECT_NE(bytes.find("\"M0,50 L70,50 A30,10 0 0,0 100,60 A30,10 0 0,0 130,50 L200,50 \""),
              std::string::npos)
        << bytes;
    path.arcs[0] = {0, 4, {100, 50}, 100, 20, -30.5, 0, 45};
    EXPECT_NE(BytesOf(MakeDrawing({path})).find("\"M0,50 A100,20 -30.5 0,1 200,50 \""),
              std::string::npos);
}

TEST(Svg, WritesAnEmptyDrawingAndLongPaths) {
    EXPECT_EQ(Parse(BytesOf(kxdrawing::Drawing())).children.size(), 1U);
    tool_test::Path zigzag;
    for (int i = 0; i < 100000; ++i) {
        zigzag.points.push_back({0.002 * i, 100.0 + i % 2});
    }
    const std::string bytes = BytesOf(MakeDrawing({zigzag}));
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 'L'), 99999);
}

TEST(Svg, WritesTheSameBytesWhateverTheLocale) {
    const std::string bytes = BytesOf(tool_test::RichDrawing());
    const tool_test::CommaLocale locale;
    EXPECT_EQ(BytesOf(tool_test::RichDrawing()), bytes);
}

TEST(Svg, SaysWhyItFails) {
    tool_test::ExpectReasons([](std::ostream& out) { WriteSvg(kxdrawing::Drawing(), out); });
    const kxdrawing::Drawing large = MakeDrawing({CirclePath({0, 0}, 50, 0, 360, 100000)});
    tool_test::ExpectReasons([&](std::ostream& out) { WriteSvg(large, out); });
}

/// Nothing but title, groups and paths.
TEST(Svg, WritesPlainDrawingsLikeThis) {
    kxdrawing::Drawing drawing;
    kxcontour::PathGroup red = MakeGroup({MakePath({{1, 2}, {3, 4}})});
    red.style = {0.25, {255, 0, 1}, {}};
    kxcontour::PathGroup grey = MakeGroup({MakePath({{5, 6}, {7, 8}})});
    grey.style = {0.1, {127, 128, 254}, {}};
    grey.hidden = true;
    drawing.layers.push_back({"", {red, MakeGroup({}), grey}});
    drawing.title = "a & b";
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

TEST(Svg, HasClassesWhereThereAreLayersDashesOrArcs) {
    const auto hasClasses = [](const kxdrawing::Drawing& drawing) {
        return BytesOf(drawing).find("class=") != std::string::npos;
    };
    kxdrawing::Drawing drawing = MakeDrawing({MakePath({{1, 2}, {3, 4}})});
    EXPECT_FALSE(hasClasses(drawing));
    kxdrawing::Drawing dashed = drawing;
    dashed.layers[0].groups[0].style.dashes = {1.0, 1.0};
    EXPECT_TRUE(hasClasses(dashed));
    drawing.layers[0].name = "a";
    EXPECT_TRUE(hasClasses(drawing));
    EXPECT_TRUE(hasClasses(MakeDrawing({CirclePath({0, 0}, 1, 0, 90, 4)})));
}

TEST(Svg, WritesPathsPointByPoint) {
    const std::string bytes = BytesOf(MakeDrawing(
        {MakePath({{10, 10}, {20, 10}, {10, 10}, {20, 10}}), MakePath({{1, 2}, {1, 2}}),
         MakePath({{0, 0}, {-1e-60, 0}, {0, 0}}), MakePath({{10, 10}, {10, 10}, {20, 10}}),
         MakePath({{0.001234567, 1e-7}, {209.99996, -3.25}, {1e6, 12.3456789}})}));
    EXPECT_EQ(PathLines(bytes), "  <path d=\"M10,10 L20,10 L10,10 L20,10 \"/>\n"
                                "  <path d=\"M1,2 L1,2 \"/>\n"
                                "  <path d=\"M0,0 L0,0 L0,0 \"/>\n"
                                "  <path d=\"M10,10 L10,10 L20,10 \"/>\n"
                                "  <path d=\"M0.00123457,1e-07 L210,-3.25 L1e+06,12.3457 \"/>\n");
}

} // namespace
