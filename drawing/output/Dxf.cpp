// DXF of AC1015 (AutoCAD 2000 DXF Reference): the first version with line weights, plus true
// colours (group 420), which older readers pass over.
//
// A file of this version has to have all tables, the two blocks of model and paper space, and their
// layouts, plot styles and dictionaries, however little is in them. Angles go counter-clockwise and
// y goes up, so every drawing is turned over: an arc that turns from x towards y on paper turns the
// other way here, and its ends change places.
#include "drawing/common/Angles.h"
#include "drawing/output/DxfFile.h"
#include "drawing/output/DxfNames.h"
#include "drawing/output/PathShape.h"
#include "drawing/output/Writers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <map>
#include <utility>

namespace kxcontour {
namespace {

constexpr double kFullTurn = 360.0;

// ------------------------------------------------------------------ What the drawing becomes

/// A layer of the file and how lines on it look unless they say otherwise.
struct DxfLayer {
    std::string name;
    StrokeStyle style;
};

/// The paths of one group with the layer that they are on.
struct DxfGroup {
    const PathGroup* group;
    std::size_t layer;
};

using LineTypes = std::vector<std::pair<std::string, std::vector<double>>>;

struct DxfDrawing {
    PageSize page;
    std::vector<DxfLayer> layers;
    std::vector<DxfGroup> groups;
    LineTypes lineTypes; ///< Dashed ones, without repetition.
    std::size_t entityCount = 0;
};

const char* FamilyLayer(const PathGroup& group) {
    if (group.hidden) {
        return "HIDDEN";
    }
    switch (group.kind) {
    case LineKind::Crease:
        return "CREASE";
    case LineKind::Intersection:
        return "INTERSECTION";
    case LineKind::Silhouette:
        break;
    }
    return "SILHOUETTE";
}

/// Cuts a path into its arcs and the runs of lines between them, in order.
template <class OnRun, class OnArc>
void ForEachPiece(const Path& path, const OnRun& onRun, const OnArc& onArc) {
    std::size_t next = 0;
    for (const Arc& arc : path.arcs) {
        if (arc.first > next) {
            onRun(next, arc.first);
        }
        onArc(arc);
        next = arc.last;
    }
    if (next + 1 < path.points.size()) {
        onRun(next, path.points.size() - 1);
    }
}

std::size_t CountPieces(const PathGroup& group) {
    std::size_t count = 0;
    for (const Path& path : group.paths) {
        ForEachPiece(
            path, [&](std::size_t, std::size_t) { ++count; }, [&](const Arc&) { ++count; });
    }
    return count;
}

std::string LineTypeOf(const LineTypes& lineTypes, const StrokeStyle& style) {
    const auto found = std::find_if(lineTypes.begin(), lineTypes.end(), [&](const auto& lineType) {
        return lineType.second == style.dashes;
    });
    return found != lineTypes.end() ? found->first : "Continuous";
}

void AddLineType(LineTypes& lineTypes, const StrokeStyle& style) {
    if (!style.dashes.empty() && LineTypeOf(lineTypes, style) == "Continuous") {
        const std::string number = lineTypes.empty() ? "" : std::to_string(lineTypes.size() + 1);
        lineTypes.emplace_back("DASHED" + number, style.dashes);
    }
}

/// Gathers layers in the order in which the drawing has them.
class DrawingBuilder {
public:
    DxfDrawing build(const kxdrawing::Drawing& drawing) {
        result_.page = drawing.page;
        for (const kxdrawing::Layer& layer : drawing.layers) {
            if (!layer.name.empty()) {
                addNamed(layer);
                continue;
            }
            for (const PathGroup& group : layer.groups) {
                addByFamily(group);
            }
        }
        return std::move(result_);
    }

private:
    void addNamed(const kxdrawing::Layer& layer) {
        const StrokeStyle style = layer.groups.empty() ? StrokeStyle() : layer.groups[0].style;
        result_.layers.push_back({names_.make(layer.name), style});
        for (const PathGroup& group : layer.groups) {
            addGroup(group, result_.layers.size() - 1);
        }
    }

    void addByFamily(const PathGroup& group) {
        const std::string family = FamilyLayer(group);
        const auto [place, isNew] = families_.try_emplace(family, result_.layers.size());
        if (isNew) {
            result_.layers.push_back({names_.make(family), group.style});
        }
        addGroup(group, place->second);
    }

    void addGroup(const PathGroup& group, std::size_t layer) {
        result_.groups.push_back({&group, layer});
        result_.entityCount += CountPieces(group);
        AddLineType(result_.lineTypes, group.style);
    }

    DxfDrawing result_;
    DxfNames names_;
    std::map<std::string, std::size_t> families_;
};

Point TurnOver(const Point& point, PageSize page) {
    return {point.x, page.height - point.y};
}

/// The box of all points, y up; the page where there are none.
PageLine ExtentsOf(const DxfDrawing& drawing) {
    constexpr double kFar = std::numeric_limits<double>::infinity();
    PageLine box{{kFar, kFar}, {-kFar, -kFar}};
    for (const DxfGroup& group : drawing.groups) {
        for (const Path& path : group.group->paths) {
            for (const Point& point : path.points) {
                const Point p = TurnOver(point, drawing.page);
                box.a = {std::min(box.a.x, p.x), std::min(box.a.y, p.y)};
                box.b = {std::max(box.b.x, p.x), std::max(box.b.y, p.y)};
            }
        }
    }
    return box.a.x <= box.b.x ? box : PageLine{{}, {drawing.page.width, drawing.page.height}};
}

// ------------------------------------------------------------------ How lines look

/// The widths that DXF knows, in hundredths of a millimetre.
std::int64_t LineWeight(double width) {
    constexpr std::array<int, 24> kWeights{0,  5,  9,  13, 15, 18,  20,  25,  30,  35,  40,  50,
                                           53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211};
    const auto distance = [width](int weight) { return std::fabs(weight - 100.0 * width); };
    return *std::min_element(kWeights.begin(), kWeights.end(),
                             [&](int a, int b) { return distance(a) < distance(b); });
}

/// The nearest of the first colours of the index, for readers that know no true colours.
std::int64_t ColorIndex(const std::array<std::uint8_t, 3>& color) {
    constexpr std::array<std::array<int, 3>, 9> kColors{{{255, 0, 0},
                                                         {255, 255, 0},
                                                         {0, 255, 0},
                                                         {0, 255, 255},
                                                         {0, 0, 255},
                                                         {255, 0, 255},
                                                         {0, 0, 0},
                                                         {128, 128, 128},
                                                         {192, 192, 192}}};
    const auto distance = [&](const std::array<int, 3>& other) {
        int sum = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            sum += (color[i] - other[i]) * (color[i] - other[i]);
        }
        return sum;
    };
    const auto* nearest =
        std::min_element(kColors.begin(), kColors.end(),
                         [&](const auto& a, const auto& b) { return distance(a) < distance(b); });
    return nearest - kColors.begin() + 1;
}

/// Colour 7 is black on white and white on black; a true black could not be seen on a dark screen.
void WriteColor(DxfFile& file, const std::array<std::uint8_t, 3>& color) {
    file.whole(62, ColorIndex(color));
    const auto& [red, green, blue] = color;
    if (red != 0 || green != 0 || blue != 0) {
        file.whole(420, red * 65536 + green * 256 + blue);
    }
}

// ------------------------------------------------------------------ Header and tables

/// Objects that others point to.
struct Anchors {
    explicit Anchors(DxfFile& file)
        : modelSpace(file.newHandle()), paperSpace(file.newHandle()), modelLayout(file.newHandle()),
          paperLayout(file.newHandle()), plotStyle(file.newHandle()) {}

    DxfHandle modelSpace;
    DxfHandle paperSpace;
    DxfHandle modelLayout;
    DxfHandle paperLayout;
    DxfHandle plotStyle;
};

void WriteHeader(DxfFile& file, const DxfDrawing& drawing) {
    const auto variable = [&file](const char* name) { file.text(9, name); };
    const PageLine extents = ExtentsOf(drawing);
    file.startSection("HEADER");
    variable("$ACADVER");
    file.text(1, "AC1015");
    variable("$DWGCODEPAGE");
    file.text(3, "ANSI_1252");
    variable("$HANDSEED");
    // Far more than all other objects need.
    constexpr DxfHandle kOthers = 0x1000;
    file.handle(5, kOthers + 16 * (drawing.layers.size() + drawing.lineTypes.size()) +
                       drawing.entityCount);
    variable("$INSUNITS");
    file.whole(70, 4); // Millimetres.
    variable("$MEASUREMENT");
    file.whole(70, 1); // Metric.
    variable("$LTSCALE");
    file.real(40, 1.0);
    variable("$LWDISPLAY");
    file.whole(290, 1);
    variable("$EXTMIN");
    file.spacePoint(extents.a);
    variable("$EXTMAX");
    file.spacePoint(extents.b);
    variable("$LIMMIN");
    file.point({0.0, 0.0});
    variable("$LIMMAX");
    file.point({drawing.page.width, drawing.page.height});
    file.endSection();
}

void WriteClass(DxfFile& file, const char* record, const char* name) {
    file.text(0, "CLASS");
    file.text(1, record);
    file.text(2, name);
    file.text(3, "ObjectDBX Classes");
    file.whole(90, 0);
    file.whole(280, 0);
    file.whole(281, 0);
}

void WriteClasses(DxfFile& file) {
    file.startSection("CLASSES");
    WriteClass(file, "ACDBDICTIONARYWDFLT", "AcDbDictionaryWithDefault");
    WriteClass(file, "ACDBPLACEHOLDER", "AcDbPlaceHolder");
    WriteClass(file, "LAYOUT", "AcDbLayout");
    file.endSection();
}

/// Starts a table of so many entries and returns its handle.
DxfHandle StartTable(DxfFile& file, const char* name, std::size_t entryCount) {
    const DxfHandle own = file.newHandle();
    file.text(0, "TABLE");
    file.text(2, name);
    file.handle(5, own);
    file.handle(330, 0);
    file.text(100, "AcDbSymbolTable");
    file.whole(70, static_cast<std::int64_t>(entryCount));
    return own;
}

void EndTable(DxfFile& file) {
    file.text(0, "ENDTAB");
}

/// Starts an entry of a table, with its name.
void StartEntry(DxfFile& file,
                const char* type,
                const char* subclass,
                const std::string& name,
                DxfHandle own,
                DxfHandle table) {
    file.startObject(type, own, table);
    file.text(100, "AcDbSymbolTableRecord");
    file.text(100, subclass);
    file.text(2, name);
}

/// A window that shows the page.
void WriteViewports(DxfFile& file, PageSize page) {
    const DxfHandle table = StartTable(file, "VPORT", 1);
    StartEntry(file, "VPORT", "AcDbViewportTableRecord", "*ACTIVE", file.newHandle(), table);
    file.whole(70, 0);
    file.point({0.0, 0.0});
    file.point({1.0, 1.0}, 1);
    file.point({page.width / 2.0, page.height / 2.0}, 2);
    file.point({0.0, 0.0}, 3);
    file.point({10.0, 10.0}, 4);
    file.point({10.0, 10.0}, 5);
    file.spacePoint({0.0, 0.0}, 6, 1.0);
    file.spacePoint({0.0, 0.0}, 7);
    file.real(40, page.height);
    file.real(41, page.width / page.height);
    file.real(42, 50.0);
    file.real(43, 0.0);
    file.real(44, 0.0);
    file.real(50, 0.0);
    file.real(51, 0.0);
    for (const auto& [code, value] :
         {std::pair{71, 0}, {72, 1000}, {73, 1}, {74, 3}, {75, 0}, {76, 0}, {77, 0}, {78, 0}}) {
        file.whole(code, value);
    }
    EndTable(file);
}

/// Lengths on and off; an odd list is gone through twice, as in the other formats.
void WriteLineType(DxfFile& file,
                   DxfHandle table,
                   const std::string& name,
                   std::vector<double> dashes) {
    if (dashes.size() % 2 == 1) {
        const std::vector<double> again = dashes;
        dashes.insert(dashes.end(), again.begin(), again.end());
    }
    double sum = 0.0;
    for (const double dash : dashes) {
        sum += dash;
    }
    StartEntry(file, "LTYPE", "AcDbLinetypeTableRecord", name, file.newHandle(), table);
    file.whole(70, 0);
    file.text(3, dashes.empty() ? "" : "Dashed");
    file.whole(72, 65);
    file.whole(73, static_cast<std::int64_t>(dashes.size()));
    file.real(40, sum);
    for (std::size_t i = 0; i < dashes.size(); ++i) {
        file.real(49, i % 2 == 0 ? dashes[i] : -dashes[i]);
        file.whole(74, 0);
    }
}

void WriteLineTypes(DxfFile& file, const LineTypes& lineTypes) {
    const DxfHandle table = StartTable(file, "LTYPE", 3 + lineTypes.size());
    for (const char* name : {"ByBlock", "ByLayer", "Continuous"}) {
        WriteLineType(file, table, name, {});
    }
    for (const auto& [name, dashes] : lineTypes) {
        WriteLineType(file, table, name, dashes);
    }
    EndTable(file);
}

void WriteLayers(DxfFile& file, const DxfDrawing& drawing, const Anchors& anchors) {
    std::vector<DxfLayer> layers{{"0", StrokeStyle()}};
    layers.insert(layers.end(), drawing.layers.begin(), drawing.layers.end());
    const DxfHandle table = StartTable(file, "LAYER", layers.size());
    for (const DxfLayer& layer : layers) {
        StartEntry(file, "LAYER", "AcDbLayerTableRecord", layer.name, file.newHandle(), table);
        file.whole(70, 0);
        WriteColor(file, layer.style.color);
        file.text(6, LineTypeOf(drawing.lineTypes, layer.style));
        file.whole(370, LineWeight(layer.style.width));
        file.handle(390, anchors.plotStyle);
    }
    EndTable(file);
}

void WriteTextStyles(DxfFile& file) {
    const DxfHandle table = StartTable(file, "STYLE", 1);
    StartEntry(file, "STYLE", "AcDbTextStyleTableRecord", "Standard", file.newHandle(), table);
    file.whole(70, 0);
    file.real(40, 0.0);
    file.real(41, 1.0);
    file.real(50, 0.0);
    file.whole(71, 0);
    file.real(42, 2.5);
    file.text(3, "txt");
    file.text(4, "");
    EndTable(file);
}

void WriteApplications(DxfFile& file) {
    const DxfHandle table = StartTable(file, "APPID", 1);
    StartEntry(file, "APPID", "AcDbRegAppTableRecord", "ACAD", file.newHandle(), table);
    file.whole(70, 0);
    EndTable(file);
}

void WriteDimensionStyles(DxfFile& file) {
    const DxfHandle table = StartTable(file, "DIMSTYLE", 1);
    file.text(100, "AcDbDimStyleTable");
    file.whole(71, 0);
    StartEntry(file, "DIMSTYLE", "AcDbDimStyleTableRecord", "Standard", file.newHandle(), table);
    file.whole(70, 0);
    EndTable(file);
}

void WriteBlockRecords(DxfFile& file, const Anchors& anchors) {
    const DxfHandle table = StartTable(file, "BLOCK_RECORD", 2);
    const auto record = [&](const char* name, DxfHandle own, DxfHandle layout) {
        StartEntry(file, "BLOCK_RECORD", "AcDbBlockTableRecord", name, own, table);
        file.handle(340, layout);
    };
    record("*Model_Space", anchors.modelSpace, anchors.modelLayout);
    record("*Paper_Space", anchors.paperSpace, anchors.paperLayout);
    EndTable(file);
}

void WriteTables(DxfFile& file, const DxfDrawing& drawing, const Anchors& anchors) {
    file.startSection("TABLES");
    WriteViewports(file, drawing.page);
    WriteLineTypes(file, drawing.lineTypes);
    WriteLayers(file, drawing, anchors);
    WriteTextStyles(file);
    for (const char* name : {"VIEW", "UCS"}) {
        StartTable(file, name, 0);
        EndTable(file);
    }
    WriteApplications(file);
    WriteDimensionStyles(file);
    WriteBlockRecords(file, anchors);
    file.endSection();
}

void WriteBlock(DxfFile& file, const char* name, DxfHandle owner, bool onPaper) {
    const auto startEntity = [&](const char* type, const char* subclass) {
        file.startObject(type, file.newHandle(), owner);
        file.text(100, "AcDbEntity");
        if (onPaper) {
            file.whole(67, 1);
        }
        file.text(8, "0");
        file.text(100, subclass);
    };
    startEntity("BLOCK", "AcDbBlockBegin");
    file.text(2, name);
    file.whole(70, 0);
    file.spacePoint({0.0, 0.0});
    file.text(3, name);
    file.text(1, "");
    startEntity("ENDBLK", "AcDbBlockEnd");
}

void WriteBlocks(DxfFile& file, const Anchors& anchors) {
    file.startSection("BLOCKS");
    WriteBlock(file, "*Model_Space", anchors.modelSpace, false);
    WriteBlock(file, "*Paper_Space", anchors.paperSpace, true);
    file.endSection();
}

// ------------------------------------------------------------------ Entities

double PositiveAngle(double degrees) {
    const double angle = std::fmod(degrees, kFullTurn);
    return angle < 0.0 ? angle + kFullTurn : angle;
}

bool IsFullTurn(const Arc& arc) {
    constexpr double kTolerance = 1e-9;
    return std::fabs(arc.sweep) >= kFullTurn - kTolerance;
}

/// Writes the paths of one group.
class EntityWriter {
public:
    EntityWriter(DxfFile& file,
                 const DxfDrawing& drawing,
                 const DxfGroup& group,
                 DxfHandle modelSpace)
        : file_(file), page_(drawing.page), layer_(drawing.layers[group.layer]),
          style_(group.group->style), lineType_(LineTypeOf(drawing.lineTypes, style_)),
          modelSpace_(modelSpace) {}

    void write(const Path& path) {
        ForEachPiece(
            path, [&](std::size_t first, std::size_t last) { writeRun(path, first, last); },
            [&](const Arc& arc) { writeArc(arc); });
    }

private:
    /// What is as on the layer is left to it, so that who changes the layer changes its lines.
    void startEntity(const char* type) {
        file_.startObject(type, file_.newHandle(), modelSpace_);
        file_.text(100, "AcDbEntity");
        file_.text(8, layer_.name);
        if (style_.dashes != layer_.style.dashes) {
            file_.text(6, lineType_);
        }
        if (style_.color != layer_.style.color) {
            WriteColor(file_, style_.color);
        }
        if (style_.width != layer_.style.width) {
            file_.whole(370, LineWeight(style_.width));
        }
    }

    void writeRun(const Path& path, std::size_t first, std::size_t last) {
        if (last == first + 1) {
            startEntity("LINE");
            file_.text(100, "AcDbLine");
            file_.spacePoint(TurnOver(path.points[first], page_));
            file_.spacePoint(TurnOver(path.points[last], page_), 1);
            return;
        }
        // There and back again is no loop.
        const bool closed = last - first + 1 == path.points.size() && last > 2 && path.isClosed();
        const std::size_t count = last - first + (closed ? 0 : 1);
        startEntity("LWPOLYLINE");
        file_.text(100, "AcDbPolyline");
        file_.whole(90, static_cast<std::int64_t>(count));
        file_.whole(70, closed ? 1 : 0);
        file_.real(43, 0.0);
        for (std::size_t i = first; i < first + count; ++i) {
            file_.point(TurnOver(path.points[i], page_));
        }
    }

    void writeArc(const Arc& arc) {
        if (arc.radiusX != arc.radiusY) {
            writeEllipse(arc);
            return;
        }
        startEntity(IsFullTurn(arc) ? "CIRCLE" : "ARC");
        file_.text(100, "AcDbCircle");
        file_.spacePoint(TurnOver(arc.center, page_));
        file_.real(40, arc.radiusX);
        if (!IsFullTurn(arc)) {
            const double first = -(arc.rotation + arc.start);
            const double last = first - arc.sweep;
            file_.text(100, "AcDbArc");
            file_.real(50, PositiveAngle(arc.sweep > 0.0 ? last : first));
            file_.real(51, PositiveAngle(arc.sweep > 0.0 ? first : last));
        }
    }

    /// DXF counts parameters from the longer axis; from the second axis they are less by 90.
    void writeEllipse(const Arc& arc) {
        constexpr double kQuarterTurn = 90.0;
        constexpr double kLeastRatio = 1e-6;
        const bool secondIsLonger = arc.radiusY > arc.radiusX;
        const double turn = secondIsLonger ? kQuarterTurn : 0.0;
        const double longer = std::max(arc.radiusX, arc.radiusY);
        const double shorter = std::min(arc.radiusX, arc.radiusY);
        const Turn direction = TurnBy(-(arc.rotation + turn));
        startEntity("ELLIPSE");
        file_.text(100, "AcDbEllipse");
        file_.spacePoint(TurnOver(arc.center, page_));
        file_.spacePoint({longer * direction.cosine, longer * direction.sine}, 1);
        file_.real(40, std::max(shorter / longer, kLeastRatio));
        writeEllipseEnds(arc, -(arc.start - turn));
    }

    /// A range of parameters in radians, the end over the start.
    void writeEllipseEnds(const Arc& arc, double first) {
        if (IsFullTurn(arc)) {
            file_.real(41, 0.0);
            file_.real(42, kFullTurn * kDegree);
            return;
        }
        const double start = PositiveAngle(arc.sweep > 0.0 ? first - arc.sweep : first);
        file_.real(41, start * kDegree);
        file_.real(42, (start + std::fabs(arc.sweep)) * kDegree);
    }

    DxfFile& file_;
    PageSize page_;
    const DxfLayer& layer_;
    const StrokeStyle& style_;
    std::string lineType_;
    DxfHandle modelSpace_;
};

void WriteEntities(DxfFile& file, const DxfDrawing& drawing, const Anchors& anchors) {
    file.startSection("ENTITIES");
    for (const DxfGroup& group : drawing.groups) {
        EntityWriter writer(file, drawing, group, anchors.modelSpace);
        for (const Path& path : group.group->paths) {
            writer.write(path);
        }
    }
    file.endSection();
}

// ------------------------------------------------------------------ Objects

using DictionaryEntries = std::vector<std::pair<const char*, DxfHandle>>;

void WriteDictionary(DxfFile& file,
                     const char* type,
                     DxfHandle own,
                     DxfHandle owner,
                     const DictionaryEntries& entries) {
    file.startObject(type, own, owner);
    file.text(100, "AcDbDictionary");
    file.whole(281, 1);
    for (const auto& [name, entry] : entries) {
        file.text(3, name);
        file.handle(350, entry);
    }
}

/// What would be plotted: the page, in millimetres, at its own size.
void WritePlotSettings(DxfFile& file, PageSize page, bool isModel) {
    file.text(100, "AcDbPlotSettings");
    file.text(1, "");
    file.text(2, "none_device");
    file.text(4, "");
    file.text(6, "");
    for (const int code : {40, 41, 42, 43}) {
        file.real(code, 0.0);
    }
    file.real(44, page.width);
    file.real(45, page.height);
    for (const int code : {46, 47, 48, 49, 140, 141}) {
        file.real(code, 0.0);
    }
    file.real(142, 1.0);
    file.real(143, 1.0);
    constexpr int kModelFlags = 1712;
    constexpr int kPaperFlags = 688;
    file.whole(70, isModel ? kModelFlags : kPaperFlags);
    file.whole(72, 1);
    file.whole(73, 0);
    file.whole(74, 5);
    file.text(7, "");
    file.whole(75, 16);
    file.real(147, 1.0);
    file.real(148, 0.0);
    file.real(149, 0.0);
}

struct Layout {
    const char* name;
    DxfHandle own;
    DxfHandle owner;
    DxfHandle space;
    bool isModel;
};

void WriteLayout(DxfFile& file, const DxfDrawing& drawing, const Layout& layout) {
    const PageSize page = drawing.page;
    const PageLine extents =
        layout.isModel ? ExtentsOf(drawing) : PageLine{{}, {page.width, page.height}};
    file.startObject("LAYOUT", layout.own, layout.owner);
    WritePlotSettings(file, page, layout.isModel);
    file.text(100, "AcDbLayout");
    file.text(1, layout.name);
    file.whole(70, 1);
    file.whole(71, layout.isModel ? 0 : 1);
    file.point({0.0, 0.0});
    file.point({page.width, page.height}, 1);
    file.spacePoint({0.0, 0.0}, 2);
    file.spacePoint(extents.a, 4);
    file.spacePoint(extents.b, 5);
    file.real(146, 0.0);
    file.spacePoint({0.0, 0.0}, 3);
    file.spacePoint({1.0, 0.0}, 6);
    file.spacePoint({0.0, 1.0}, 7);
    file.whole(76, 0);
    file.handle(330, layout.space);
}

void WriteObjects(DxfFile& file, const DxfDrawing& drawing, const Anchors& anchors) {
    const DxfHandle root = file.newHandle();
    const DxfHandle groups = file.newHandle();
    const DxfHandle layouts = file.newHandle();
    const DxfHandle plotStyles = file.newHandle();
    file.startSection("OBJECTS");
    WriteDictionary(
        file, "DICTIONARY", root, 0,
        {{"ACAD_GROUP", groups}, {"ACAD_LAYOUT", layouts}, {"ACAD_PLOTSTYLENAME", plotStyles}});
    WriteDictionary(file, "DICTIONARY", groups, root, {});
    WriteDictionary(file, "DICTIONARY", layouts, root,
                    {{"Model", anchors.modelLayout}, {"Layout1", anchors.paperLayout}});
    WriteDictionary(file, "ACDBDICTIONARYWDFLT", plotStyles, root, {{"Normal", anchors.plotStyle}});
    file.text(100, "AcDbDictionaryWithDefault");
    file.handle(340, anchors.plotStyle);
    file.startObject("ACDBPLACEHOLDER", anchors.plotStyle, plotStyles);
    WriteLayout(file, drawing, {"Model", anchors.modelLayout, layouts, anchors.modelSpace, true});
    WriteLayout(file, drawing,
                {"Layout1", anchors.paperLayout, layouts, anchors.paperSpace, false});
    file.endSection();
}

} // namespace

void WriteDxf(const kxdrawing::Drawing& drawing, std::ostream& out) {
    const DxfDrawing dxf = DrawingBuilder().build(drawing);
    DxfFile file(out);
    const Anchors anchors(file);
    WriteHeader(file, dxf);
    WriteClasses(file);
    WriteTables(file, dxf, anchors);
    WriteBlocks(file, anchors);
    WriteEntities(file, dxf, anchors);
    WriteObjects(file, dxf, anchors);
    file.finish();
}

} // namespace kxcontour
