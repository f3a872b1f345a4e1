// DXF files, read back by a program that audits them.
#include "ModelText.h"
#include "ToolRun.h"
#include "drawing/output/DxfNames.h"
#include "drawing/output/PaperDrawings.h"
#include "support/Random.h"

#include <array>
#include <map>
#include <sstream>

namespace {

using kxcontour::DxfNames;
using kxcontour::LineKind;
using kxcontour::WriteDxf;
using tool_test::CirclePath;
using tool_test::MakeDrawing;
using tool_test::MakeGroup;
using tool_test::MakePath;
using tool_test::NewFile;
using tool_test::Path;
using tool_test::PathGroup;
using tool_test::ReadBytes;
using tool_test::TemporaryFolder;

/// Reads a file with ezdxf, audits it and prints what the code after that asks for. The file is
/// `doc`, its model space `msp`, numbers are printed by `n`.
std::string Ask(const kxdrawing::Drawing& drawing, const std::string& code) {
    const TemporaryFolder folder;
    WriteDxf(drawing, NewFile(folder.path("a.dxf")));
    const std::string script = "import sys, ezdxf\n"
                               "from ezdxf import bbox\n"
                               "doc = ezdxf.readfile(sys.argv[1])\n"
                               "audit = doc.audit()\n"
                               "for entry in audit.errors + audit.fixes:\n"
                               "    print('AUDIT', entry.code, entry.message)\n"
                               "msp = doc.modelspace()\n"
                               "n = lambda *v: ' '.join('%.6g' % (x + 0.0) for x in v)\n" +
                               code;
    const tool_test::RunResult run =
        tool_test::Run("/usr/bin/python3", {"-c", script, folder.path("a.dxf")});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return run.out;
}

/// Every entity with what matters of it.
std::string Entities(const kxdrawing::Drawing& drawing) {
    return Ask(drawing, R"(
for e in msp:
    t, d = e.dxftype(), e.dxf
    if t == 'LINE': print(t, d.layer, n(*d.start, *d.end))
    elif t == 'CIRCLE': print(t, d.layer, n(*d.center, d.radius))
    elif t == 'ARC': print(t, d.layer, n(*d.center, d.radius, d.start_angle, d.end_angle))
    elif t == 'ELLIPSE': print(t, d.layer, n(*d.center, *d.major_axis, d.ratio, d.start_param, d.end_param))
    elif t == 'LWPOLYLINE': print(t, d.layer, e.closed, n(*[x for p in e.get_points('xy') for x in p]))
    else: print(t)
)");
}

TEST(Dxf, SaysWhatItIs) {
    kxdrawing::Drawing drawing = MakeDrawing({MakePath({{10, 20}, {30, 25}})});
    drawing.page = {420, 297};
    EXPECT_EQ(Ask(drawing, R"(
h = doc.header
print(doc.dxfversion, h['$INSUNITS'], h['$MEASUREMENT'], h['$LWDISPLAY'])
print(n(*h['$EXTMIN'], *h['$EXTMAX']))
print(n(*h['$LIMMIN'], *h['$LIMMAX']))
print(sorted(layout.name for layout in doc.layouts))
e = bbox.extents(msp)
print(n(*e.extmin, *e.extmax))
)"),
              "AC1015 4 1 1\n"
              "10 272 0 30 277 0\n"
              "0 0 420 297\n"
              "['Layout1', 'Model']\n"
              "10 272 0 30 277 0\n");
}

TEST(Dxf, WritesAnEmptyDrawing) {
    EXPECT_EQ(Ask(kxdrawing::Drawing(), "print(len(msp), n(*doc.header['$EXTMAX']))"),
              "0 210 297 0\n");
    EXPECT_EQ(Ask(MakeDrawing({}), "print(len(msp))"), "0\n");
}

TEST(Dxf, WritesLinesAndPolylines) {
    const kxdrawing::Drawing drawing = MakeDrawing({
        MakePath({{10, 20}, {30, 20}}),
        MakePath({{10, 20}, {10, 20}}),
        MakePath({{10, 20}, {30, 20}, {40, 30}}),
        MakePath({{10, 20}, {30, 20}, {40, 30}, {10, 20}}),
        MakePath({{10, 20}, {30, 20}, {10, 20}}),
    });
    EXPECT_EQ(Entities(drawing), "LINE SILHOUETTE 10 277 0 30 277 0\n"
                                 "LINE SILHOUETTE 10 277 0 10 277 0\n"
                                 "LWPOLYLINE SILHOUETTE False 10 277 30 277 40 267\n"
                                 "LWPOLYLINE SILHOUETTE True 10 277 30 277 40 267\n"
                                 "LWPOLYLINE SILHOUETTE False 10 277 30 277 10 277\n");
}

TEST(Dxf, WritesCirclesAndArcs) {
    // On paper, with y down, positive angles turn clockwise; here they turn the other way.
    const kxdrawing::Drawing drawing = MakeDrawing({
        CirclePath({100, 100}, 25, 17, 360, 40),
        CirclePath({100, 100}, 25, 0, 90, 10),
        CirclePath({100, 100}, 25, 0, -90, 10),
        CirclePath({100, 100}, 25, 350, 40, 10),
    });
    EXPECT_EQ(Entities(drawing), "CIRCLE SILHOUETTE 100 197 0 25\n"
                                 "ARC SILHOUETTE 100 197 0 25 270 0\n"
                                 "ARC SILHOUETTE 100 197 0 25 0 90\n"
                                 "ARC SILHOUETTE 100 197 0 25 330 10\n");
}

TEST(Dxf, PutsTheEndsOfArcsWhereThePathsAre) {
    std::vector<Path> paths;
    for (double start = -360; start <= 360; start += 45) {
        for (const double sweep : {-300.0, -100.0, 30.0, 200.0}) {
            paths.push_back(CirclePath({100, 100}, 50, start, sweep, 30));
        }
    }
    const std::string ends = Ask(MakeDrawing(paths), R"(
for e in msp:
    a, b = e.start_point, e.end_point
    m = e.dxf.start_angle + (e.dxf.end_angle - e.dxf.start_angle) % 360 / 2
    from math import radians, cos, sin
    print(a.x, a.y, b.x, b.y, e.dxf.center.x + 50 * cos(radians(m)), e.dxf.center.y + 50 * sin(radians(m)))
)");
    std::istringstream numbers(ends);
    for (const Path& path : paths) {
        std::array<kxcontour::Point, 3> p{};
        for (kxcontour::Point& point : p) {
            ASSERT_TRUE(numbers >> point.x >> point.y);
            point.y = 297 - point.y;
        }
        const bool turned = path.arcs[0].sweep > 0;
        const kxcontour::Point& first = turned ? path.points.back() : path.points.front();
        const kxcontour::Point& last = turned ? path.points.front() : path.points.back();
        EXPECT_NEAR(p[0].x, first.x, 1e-6);
        EXPECT_NEAR(p[0].y, first.y, 1e-6);
        EXPECT_NEAR(p[1].x, last.x, 1e-6);
        EXPECT_NEAR(p[1].y, last.y, 1e-6);
        EXPECT_NEAR(p[2].x, path.points[15].x, 1e-6);
        EXPECT_NEAR(p[2].y, path.points[15].y, 1e-6);
    }
}

TEST(Dxf, PutsEllipsesWhereThePathsAre) {
    std::vector<Path> paths;
    for (const double rotation : {0.0, 30.0, 100.0, -60.0}) {
        for (const double radiusY : {10.0, 60.0}) {
            for (const double sweep : {-250.0, 70.0, 360.0}) {
                kxcontour::Arc arc{0, 10, {100, 100}, 30, radiusY, rotation, 20, sweep};
                Path path;
                const double c = std::cos(rotation * M_PI / 180);
                const double s = std::sin(rotation * M_PI / 180);
                for (int i = 0; i <= 10; ++i) {
                    const double t = (arc.start + sweep * i / 10) * M_PI / 180;
                    const double u = 30 * std::cos(t);
                    const double v = radiusY * std::sin(t);
                    path.points.push_back({100 + c * u - s * v, 100 + s * u + c * v});
                }
                path.arcs = {arc};
                paths.push_back(path);
            }
        }
    }
    // The point in the middle tells the right way round from the wrong one; of a full ellipse it
    // may be any, so its nearest is looked for.
    const std::string points = Ask(MakeDrawing(paths), R"(
for e in msp:
    assert e.dxftype() == 'ELLIPSE' and 0 < e.dxf.ratio <= 1
    a, b = e.dxf.start_param, e.dxf.end_param
    assert a < b
    for p in e.vertices([a, b, (a + b) / 2]):
        print(p.x, p.y)
)");
    std::istringstream numbers(points);
    for (const Path& path : paths) {
        std::array<kxcontour::Point, 3> p{};
        for (kxcontour::Point& point : p) {
            ASSERT_TRUE(numbers >> point.x >> point.y);
            point.y = 297 - point.y;
        }
        const bool turned = path.arcs[0].sweep > 0;
        if (std::fabs(path.arcs[0].sweep) == 360.0) {
            EXPECT_NEAR(p[0].x, p[1].x, 1e-6);
            EXPECT_NEAR(p[0].y, p[1].y, 1e-6);
            continue;
        }
        const kxcontour::Point& first = turned ? path.points.back() : path.points.front();
        const kxcontour::Point& last = turned ? path.points.front() : path.points.back();
        EXPECT_NEAR(p[0].x, first.x, 1e-6);
        EXPECT_NEAR(p[0].y, first.y, 1e-6);
        EXPECT_NEAR(p[1].x, last.x, 1e-6);
        EXPECT_NEAR(p[1].y, last.y, 1e-6);
        EXPECT_NEAR(p[2].x, path.points[5].x, 1e-6);
        EXPECT_NEAR(p[2].y, path.points[5].y, 1e-6);
    }
}

TEST(Dxf, WritesRunsBetweenArcs) {
    Path path = MakePath({{0, 0}, {10, 0}});
    const Path arc = CirclePath({10, 10}, 10, -90, 90, 9);
    path.points.insert(path.points.end(), arc.points.begin() + 1, arc.points.end());
    path.points.push_back({20, 20});
    path.points.push_back({30, 30});
    path.arcs = {arc.arcs[0]};
    path.arcs[0].first = 1;
    path.arcs[0].last = 10;
    EXPECT_EQ(Entities(MakeDrawing({path})), "LINE SILHOUETTE 0 297 0 10 297 0\n"
                                             "ARC SILHOUETTE 10 287 0 10 0 90\n"
                                             "LWPOLYLINE SILHOUETTE False 20 287 20 277 30 267\n");
}

PathGroup FamilyGroup(LineKind family, bool hidden, kxcontour::StrokeStyle style) {
    PathGroup group = MakeGroup({MakePath({{10, 20}, {30, 20}})});
    group.kind = family;
    group.hidden = hidden;
    group.style = std::move(style);
    return group;
}

TEST(Dxf, HasOneLayerForEachFamily) {
    kxdrawing::Drawing drawing;
    drawing.layers.push_back({"",
                              {FamilyGroup(LineKind::Silhouette, false, {0.5, {0, 0, 0}, {}}),
                               FamilyGroup(LineKind::Crease, false, {0.13, {255, 0, 0}, {}}),
                               FamilyGroup(LineKind::Crease, true, {0.1, {51, 51, 51}, {1, 0.6}}),
                               FamilyGroup(LineKind::Intersection, false, {0.2, {0, 0, 0}, {}}),
                               FamilyGroup(LineKind::Crease, false, {0.3, {0, 0, 255}, {2}})}});
    EXPECT_EQ(Ask(drawing, R"(
def look(d): return [d.color, d.get('true_color'), d.linetype, d.lineweight]
for l in doc.layers:
    if l.dxf.name != 'Defpoints': print(l.dxf.name, *look(l.dxf)) # that one the reader adds
for e in msp: print(e.dxf.layer, *look(e.dxf))
for l in doc.linetypes: print(l.dxf.name, n(*[t.value for t in l.pattern_tags.tags if t.code == 49]))
)"),
              "0 7 None Continuous 20\n"
              "SILHOUETTE 7 None Continuous 50\n"
              "CREASE 1 16711680 Continuous 13\n"
              "HIDDEN 7 3355443 DASHED 9\n"
              "INTERSECTION 7 None Continuous 20\n"
              "SILHOUETTE 256 None BYLAYER -1\n"
              "CREASE 256 None BYLAYER -1\n"
              "HIDDEN 256 None BYLAYER -1\n"
              "INTERSECTION 256 None BYLAYER -1\n"
              "CREASE 5 255 DASHED2 30\n"
              "ByBlock \n"
              "ByLayer \n"
              "Continuous \n"
              "DASHED 1 -0.6\n"
              "DASHED2 2 -2\n");
}

TEST(Dxf, HasTheLayersOfTheDrawing) {
    kxdrawing::Drawing drawing;
    for (const char* name : {"Geh\xC3\xA4use", "GEH\xC3\x84USE", "a/b", "a:b", "0", "\xFF", "M8"}) {
        drawing.layers.push_back({name, {FamilyGroup(LineKind::Crease, false, {})}});
    }
    EXPECT_EQ(Ask(drawing, R"(
for e in msp:
    assert e.dxf.layer in doc.layers
    print(ascii(e.dxf.layer))
print(len(doc.layers) - ('Defpoints' in doc.layers))
)"),
              "'Geh\\xe4use'\n'GEH\\xc4USE_2'\n'a_b'\n'a_b_2'\n'0_2'\n'_'\n'M8'\n8\n");
}

TEST(Dxf, WritesNamesOfAllScripts) {
    // The strict reader leaves escapes as they are; the one that is made for files from the wild
    // reads them.
    const TemporaryFolder folder;
    kxdrawing::Drawing drawing;
    drawing.layers.push_back({"\xE5\x89\x8D \xCE\xA9 \xE2\x82\xAC \xC3\x9F",
                              {FamilyGroup(LineKind::Crease, false, {})}});
    WriteDxf(drawing, NewFile(folder.path("a.dxf")));
    const tool_test::RunResult run =
        tool_test::Run("/usr/bin/python3", {"-c",
                                            "import sys\nfrom ezdxf import recover\n"
                                            "doc, audit = recover.readfile(sys.argv[1])\n"
                                            "print(len(audit.errors), len(audit.fixes))\n"
                                            "print(ascii(doc.modelspace()[0].dxf.layer))\n",
                                            folder.path("a.dxf")});
    EXPECT_EQ(run.out, "0 0\n'\\u524d \\u03a9 \\u20ac \\xdf'\n") << run.err;
}

TEST(DxfNames, StayShortAndUnique) {
    DxfNames names;
    const std::string first = names.make(std::string(1000, 'x'));
    const std::string second = names.make(std::string(1001, 'x'));
    EXPECT_LE(first.size(), 255U);
    EXPECT_LE(second.size(), 255U);
    EXPECT_NE(first, second);
    EXPECT_EQ(names.make("a"), "a");
    EXPECT_EQ(names.make("A_2"), "A_2");
    EXPECT_EQ(names.make("A"), "A_3");
    EXPECT_EQ(names.make("\xF0\x9F\x9A\x9A"), "_") << "beyond four digits";
    EXPECT_EQ(names.make("\xE5\x89\x8D"), "\\U+524D");
    EXPECT_EQ(names.make("<>/\\\":;?*|,='`\n"), "_______________");
}

TEST(DxfNames, CountOnFromTheLastNumberOfAName) {
    DxfNames names;
    EXPECT_EQ(names.make("a_3"), "a_3");
    EXPECT_EQ(names.make("a"), "a");
    EXPECT_EQ(names.make("a"), "a_2");
    EXPECT_EQ(names.make("A"), "A_4");
    EXPECT_EQ(names.make("a_3"), "a_3_2");
    EXPECT_EQ(names.make("0"), "0_2");
    // Asked anew for every number from 2 on, the last name alone would take as many questions.
    const int count = test_support::Scaled(200000);
    std::string last;
    for (int i = 0; i < count; ++i) {
        last = names.make(std::string(300, 'x'));
    }
    EXPECT_EQ(last, std::string(240, 'x') + "_" + std::to_string(count));
}

TEST(Dxf, HasEveryHandleOnceBelowTheSeed) {
    std::istringstream lines(
        tool_test::BytesFrom([](std::ostream& out) { WriteDxf(tool_test::RichDrawing(), out); }));
    std::string code;
    std::string value;
    std::map<unsigned long, int> handles;
    unsigned long seed = 0;
    while (std::getline(lines, code) && std::getline(lines, value)) {
        if (seed == 0 && code == "5") {
            seed = std::stoul(value, nullptr, 16);
        } else if (code == "5" || code == "105") {
            EXPECT_EQ(++handles[std::stoul(value, nullptr, 16)], 1) << value;
        }
    }
    ASSERT_GT(handles.size(), 20U);
    EXPECT_LT(handles.rbegin()->first, seed);
}

TEST(Dxf, ReadsLongDrawings) {
    Path zigzag;
    for (int i = 0; i < 100000; ++i) {
        zigzag.points.push_back({0.002 * i, 100.0 + i % 2});
    }
    EXPECT_EQ(Ask(MakeDrawing({zigzag}), "print(len(msp), len(msp[0]))"), "1 100000\n");
}

TEST(Dxf, WritesTheSameBytesWhateverTheLocale) {
    const auto write = [](std::ostream& out) { WriteDxf(tool_test::RichDrawing(), out); };
    const std::string bytes = tool_test::BytesFrom(write);
    const tool_test::CommaLocale locale;
    EXPECT_EQ(tool_test::BytesFrom(write), bytes);
}

TEST(Dxf, SaysWhyItFails) {
    tool_test::ExpectReasons([](std::ostream& out) { WriteDxf(kxdrawing::Drawing(), out); });
}

} // namespace
