// The parts of a DXF file around its entities.
#pragma once

#include "drawing/output/DxfFile.h"
#include "drawing/output/DxfStyles.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kxcontour {

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
