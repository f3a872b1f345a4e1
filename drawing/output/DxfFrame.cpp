// The sections of AC1015 (AutoCAD 2000 DXF Reference), group by group.
#include "drawing/output/DxfFrame.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace kxcontour {
namespace {

constexpr const char* kContinuous = "Continuous";

/// The first colours of the index, from number 1 on, for readers that know no true colours.
constexpr std::array<std::array<int, 3>, 9> kIndexedColors{{{255, 0, 0},
                                                            {255, 255, 0},
                                                            {0, 255, 0},
                                                            {0, 255, 255},
                                                            {0, 0, 255},
                                                            {255, 0, 255},
                                                            {0, 0, 0},
                                                            {128, 128, 128},
                                                            {192, 192, 192}}};

constexpr std::array<int, 24> kLineWeights{0,  5,  9,  13, 15, 18,  20,  25,  30,  35,  40,  50,
                                           53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211};

/// The place of the item with the least distance, the first of several.
template <class List, class DistanceTo>
std::size_t NearestOf(const List& list, const DistanceTo& distanceTo) {
    const auto nearest =
        std::min_element(list.begin(), list.end(), [&](const auto& a, const auto& b) {
            return distanceTo(a) < distanceTo(b);
        });
    return static_cast<std::size_t>(nearest - list.begin());
}

constexpr DxfHandle kNoOwner{};
constexpr DxfPoint kOrigin{};

/// Starts a table and returns its handle.
DxfHandle StartTable(DxfFile& file, const char* name, std::size_t entryCount) {
    const DxfHandle own = file.newHandle();
    file.write(0, "TABLE", 2, name, 5, own, 330, kNoOwner, 100, "AcDbSymbolTable", 70, entryCount);
    return own;
}

void EndTable(DxfFile& file) {
    file.write(0, "ENDTAB");
}

/// Starts an entry of a table, with its name.
void StartEntry(DxfFile& file,
                const char* type,
                const char* subclass,
                std::string_view name,
                DxfHandle own,
                DxfHandle table) {
    file.startObject(type, own, table);
    file.write(100, "AcDbSymbolTableRecord", 100, subclass, 2, name);
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
    StartEntry(file, "LTYPE", "AcDbLinetypeTableRecord", name, file.newHandle(), table);
    file.write(70, 0, 3, dashes.empty() ? "" : "Dashed", 72, 65, 73, dashes.size(), 40,
               std::accumulate(dashes.begin(), dashes.end(), 0.0));
    for (std::size_t i = 0; i < dashes.size(); ++i) {
        file.write(49, i % 2 == 0 ? dashes[i] : -dashes[i], 74, 0);
    }
}

void WriteDictionary(DxfFile& file,
                     const char* type,
                     DxfHandle own,
                     DxfHandle owner,
                     const std::vector<std::pair<const char*, DxfHandle>>& entries) {
    file.startObject(type, own, owner);
    file.write(100, "AcDbDictionary", 281, 1);
    for (const auto& [name, entry] : entries) {
        file.write(3, name, 350, entry);
    }
}

} // namespace

void AddLineType(LineTypes& lineTypes, const StrokeStyle& style) {
    if (!style.dashes.empty() && LineTypeOf(lineTypes, style) == kContinuous) {
        const std::string number = lineTypes.empty() ? "" : std::to_string(lineTypes.size() + 1);
        lineTypes.emplace_back("DASHED" + number, style.dashes);
    }
}

std::string LineTypeOf(const LineTypes& lineTypes, const StrokeStyle& style) {
    const auto found = std::find_if(lineTypes.begin(), lineTypes.end(), [&](const auto& lineType) {
        return lineType.second == style.dashes;
    });
    return found != lineTypes.end() ? found->first : kContinuous;
}

std::int64_t LineWeight(double width) {
    return kLineWeights[NearestOf(kLineWeights,
                                  [&](int weight) { return std::fabs(weight - 100.0 * width); })];
}

void WriteColor(DxfFile& file, const std::array<std::uint8_t, 3>& color) {
    const std::size_t index = NearestOf(kIndexedColors, [&](const std::array<int, 3>& other) {
        int sum = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            sum += (color[i] - other[i]) * (color[i] - other[i]);
        }
        return sum;
    });
    file.write(62, index + 1);
    const auto& [red, green, blue] = color;
    if (red != 0 || green != 0 || blue != 0) {
        file.write(420, red * 65536 + green * 256 + blue);
    }
}

void DxfFrame::writeBeforeEntities() {
    writeHeader();
    writeClasses();
    writeTables();
    writeBlocks();
}

void DxfFrame::writeHeader() {
    // Far more than all other objects need.
    constexpr std::uint64_t kOthers = 0x1000;
    const DxfHandle seed{kOthers + 16 * (drawing_.layers.size() + drawing_.lineTypes.size()) +
                         drawing_.entityCount};
    constexpr int kMillimetres = 4;
    constexpr int kMetric = 1;
    const auto variable = [&](const char* name, int code, const auto& value) {
        file_.write(9, name, code, value);
    };
    file_.startSection("HEADER");
    variable("$ACADVER", 1, "AC1015");
    variable("$DWGCODEPAGE", 3, "ANSI_1252");
    variable("$HANDSEED", 5, seed);
    variable("$INSUNITS", 70, kMillimetres);
    variable("$MEASUREMENT", 70, kMetric);
    variable("$LTSCALE", 40, 1.0);
    variable("$LWDISPLAY", 290, 1);
    variable("$EXTMIN", 10, DxfPoint{drawing_.extents.a});
    variable("$EXTMAX", 10, DxfPoint{drawing_.extents.b});
    variable("$LIMMIN", 10, Point{});
    variable("$LIMMAX", 10, Point{drawing_.page.width, drawing_.page.height});
    file_.endSection();
}

void DxfFrame::writeClasses() {
    file_.startSection("CLASSES");
    for (const auto& [record, name] :
         {std::pair{"ACDBDICTIONARYWDFLT", "AcDbDictionaryWithDefault"},
          {"ACDBPLACEHOLDER", "AcDbPlaceHolder"},
          {"LAYOUT", "AcDbLayout"}}) {
        file_.write(0, "CLASS", 1, record, 2, name, 3, "ObjectDBX Classes", 90, 0, 280, 0, 281, 0);
    }
    file_.endSection();
}

void DxfFrame::writeTables() {
    file_.startSection("TABLES");
    writeViewports();
    writeLineTypes();
    writeLayers();
    writeSmallTables();
    writeBlockRecords();
    file_.endSection();
}

/// A window that shows the page.
void DxfFrame::writeViewports() {
    const auto [width, height] = drawing_.page;
    const DxfHandle table = StartTable(file_, "VPORT", 1);
    StartEntry(file_, "VPORT", "AcDbViewportTableRecord", "*ACTIVE", file_.newHandle(), table);
    file_.write(70, 0, 10, Point{}, 11, Point{1.0, 1.0});
    file_.write(12, Point{width / 2.0, height / 2.0}, 13, Point{});
    file_.write(14, Point{10.0, 10.0}, 15, Point{10.0, 10.0}, 16, DxfPoint{{}, 1.0}, 17, kOrigin);
    file_.write(40, height, 41, width / height, 42, 50.0, 43, 0.0, 44, 0.0, 50, 0.0, 51, 0.0);
    file_.write(71, 0, 72, 1000, 73, 1, 74, 3, 75, 0, 76, 0, 77, 0, 78, 0);
    EndTable(file_);
}

void DxfFrame::writeLineTypes() {
    const DxfHandle table = StartTable(file_, "LTYPE", 3 + drawing_.lineTypes.size());
    for (const char* name : {"ByBlock", "ByLayer", "Continuous"}) {
        WriteLineType(file_, table, name, {});
    }
    for (const auto& [name, dashes] : drawing_.lineTypes) {
        WriteLineType(file_, table, name, dashes);
    }
    EndTable(file_);
}

void DxfFrame::writeLayers() {
    std::vector<DxfLayer> layers{{"0", StrokeStyle()}};
    layers.insert(layers.end(), drawing_.layers.begin(), drawing_.layers.end());
    const DxfHandle table = StartTable(file_, "LAYER", layers.size());
    for (const DxfLayer& layer : layers) {
        StartEntry(file_, "LAYER", "AcDbLayerTableRecord", layer.name, file_.newHandle(), table);
        file_.write(70, 0);
        WriteColor(file_, layer.style.color);
        file_.write(6, LineTypeOf(drawing_.lineTypes, layer.style), 370,
                    LineWeight(layer.style.width), 390, plotStyle_);
    }
    EndTable(file_);
}

/// Tables with one entry that every file has, or none.
void DxfFrame::writeSmallTables() {
    DxfHandle table = StartTable(file_, "STYLE", 1);
    StartEntry(file_, "STYLE", "AcDbTextStyleTableRecord", "Standard", file_.newHandle(), table);
    file_.write(70, 0, 40, 0.0, 41, 1.0, 50, 0.0, 71, 0, 42, 2.5, 3, "txt", 4, "");
    EndTable(file_);
    for (const char* name : {"VIEW", "UCS"}) {
        StartTable(file_, name, 0);
        EndTable(file_);
    }
    table = StartTable(file_, "APPID", 1);
    StartEntry(file_, "APPID", "AcDbRegAppTableRecord", "ACAD", file_.newHandle(), table);
    file_.write(70, 0);
    EndTable(file_);
    table = StartTable(file_, "DIMSTYLE", 1);
    file_.write(100, "AcDbDimStyleTable", 71, 0);
    StartEntry(file_, "DIMSTYLE", "AcDbDimStyleTableRecord", "Standard", file_.newHandle(), table);
    file_.write(70, 0);
    EndTable(file_);
}

void DxfFrame::writeBlockRecords() {
    const DxfHandle table = StartTable(file_, "BLOCK_RECORD", 2);
    StartEntry(file_, "BLOCK_RECORD", "AcDbBlockTableRecord", "*Model_Space", modelSpace_, table);
    file_.write(340, modelLayout_);
    StartEntry(file_, "BLOCK_RECORD", "AcDbBlockTableRecord", "*Paper_Space", paperSpace_, table);
    file_.write(340, paperLayout_);
    EndTable(file_);
}

void DxfFrame::writeBlocks() {
    const auto startEntity = [&](const char* type, const char* subclass, bool onPage) {
        file_.startObject(type, file_.newHandle(), onPage ? paperSpace_ : modelSpace_);
        file_.write(100, "AcDbEntity");
        if (onPage) {
            file_.write(67, 1);
        }
        file_.write(8, "0", 100, subclass);
    };
    file_.startSection("BLOCKS");
    for (const bool onPage : {false, true}) {
        const char* name = onPage ? "*Paper_Space" : "*Model_Space";
        startEntity("BLOCK", "AcDbBlockBegin", onPage);
        file_.write(2, name, 70, 0, 10, kOrigin, 3, name, 1, "");
        startEntity("ENDBLK", "AcDbBlockEnd", onPage);
    }
    file_.endSection();
}

void DxfFrame::writeAfterEntities() {
    const DxfHandle root = file_.newHandle();
    const DxfHandle groups = file_.newHandle();
    const DxfHandle layouts = file_.newHandle();
    const DxfHandle plotStyles = file_.newHandle();
    file_.startSection("OBJECTS");
    WriteDictionary(
        file_, "DICTIONARY", root, kNoOwner,
        {{"ACAD_GROUP", groups}, {"ACAD_LAYOUT", layouts}, {"ACAD_PLOTSTYLENAME", plotStyles}});
    WriteDictionary(file_, "DICTIONARY", groups, root, {});
    WriteDictionary(file_, "DICTIONARY", layouts, root,
                    {{"Model", modelLayout_}, {"Layout1", paperLayout_}});
    WriteDictionary(file_, "ACDBDICTIONARYWDFLT", plotStyles, root, {{"Normal", plotStyle_}});
    file_.write(100, "AcDbDictionaryWithDefault", 340, plotStyle_);
    file_.startObject("ACDBPLACEHOLDER", plotStyle_, plotStyles);
    writeLayout(true, layouts);
    writeLayout(false, layouts);
    file_.endSection();
}

/// Of the model or of the paper. The page would be plotted in millimetres, at its own size.
void DxfFrame::writeLayout(bool isModel, DxfHandle owner) {
    const auto [width, height] = drawing_.page;
    const PageLine extents = isModel ? drawing_.extents : PageLine{{}, {width, height}};
    constexpr int kModelFlags = 1712;
    constexpr int kPaperFlags = 688;
    file_.startObject("LAYOUT", isModel ? modelLayout_ : paperLayout_, owner);
    file_.write(100, "AcDbPlotSettings", 1, "", 2, "none_device", 4, "", 6, "");
    for (const int code : {40, 41, 42, 43}) {
        file_.write(code, 0.0);
    }
    file_.write(44, width, 45, height);
    for (const int code : {46, 47, 48, 49, 140, 141}) {
        file_.write(code, 0.0);
    }
    file_.write(142, 1.0, 143, 1.0, 70, isModel ? kModelFlags : kPaperFlags, 72, 1, 73, 0, 74, 5);
    file_.write(7, "", 75, 16, 147, 1.0, 148, 0.0, 149, 0.0);
    file_.write(100, "AcDbLayout", 1, isModel ? "Model" : "Layout1", 70, 1, 71, isModel ? 0 : 1);
    file_.write(10, Point{}, 11, Point{width, height}, 12, kOrigin);
    file_.write(14, DxfPoint{extents.a}, 15, DxfPoint{extents.b}, 146, 0.0, 13, kOrigin);
    file_.write(16, DxfPoint{{1.0, 0.0}}, 17, DxfPoint{{0.0, 1.0}}, 76, 0);
    file_.write(330, isModel ? modelSpace_ : paperSpace_);
}

} // namespace kxcontour
