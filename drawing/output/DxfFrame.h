// The parts of a DXF file around its entities, and stroke styles as DXF has them.
#pragma once

#include "drawing/output/DxfFile.h"
#include "drawing/paper/Paper.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kxcontour {

/// Names and dashes of the line types of a file, without repetition.
using LineTypes = std::vector<std::pair<std::string, std::vector<double>>>;

/// Adds the line type of a style; a style without dashes needs none.
void AddLineType(LineTypes& lineTypes, const StrokeStyle& style);

/// The name of a style's line type; "Continuous" where there is none.
std::string LineTypeOf(const LineTypes& lineTypes, const StrokeStyle& style);

/// The nearest line width of DXF, in hundredths of a millimetre.
std::int64_t LineWeight(double width);

/// Writes the nearest colour of the index and, unless it is black, the true colour. Colour 7 is
/// black on white and white on black; a true black would be invisible on a dark screen.
void WriteColor(DxfFile& file, const std::array<std::uint8_t, 3>& color);

/// A layer of the file and the style of lines on it that have none of their own.
struct DxfLayer {
    std::string name;
    StrokeStyle style;
};

/// The properties of a drawing that the parts around its entities depend on.
struct DxfSummary {
    PageSize page;
    PageLine extents; ///< The lower left and the upper right corner, y up.
    std::vector<DxfLayer> layers;
    LineTypes lineTypes;
    std::size_t entityCount = 0;
};

/// Writes the sections before and after that of the entities.
///
/// A file of this version has to have all tables, the blocks of model and paper space, and their
/// layouts, plot styles and dictionaries, however little is in them.
class DxfFrame {
public:
    DxfFrame(DxfFile& file, const DxfSummary& drawing)
        : file_(file), drawing_(drawing), modelSpace_(file.newHandle()),
          paperSpace_(file.newHandle()), modelLayout_(file.newHandle()),
          paperLayout_(file.newHandle()), plotStyle_(file.newHandle()) {}

    /// Header, classes, tables and blocks.
    void writeBeforeEntities();
    /// Objects.
    void writeAfterEntities();

    /// The owner of all entities.
    DxfHandle modelSpace() const { return modelSpace_; }

private:
    void writeHeader();
    void writeClasses();
    void writeTables();
    void writeViewports();
    void writeLineTypes();
    void writeLayers();
    void writeSmallTables();
    void writeBlockRecords();
    void writeBlocks();
    void writeLayout(bool isModel, DxfHandle owner);

    DxfFile& file_;
    const DxfSummary& drawing_;
    DxfHandle modelSpace_;
    DxfHandle paperSpace_;
    DxfHandle modelLayout_;
    DxfHandle paperLayout_;
    DxfHandle plotStyle_;
};

} // namespace kxcontour
