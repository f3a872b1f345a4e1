// DXF of AC1015 (AutoCAD 2000 DXF Reference): the first version with line weights, plus true
// colours (group 420), which older readers ignore.
//
// Angles go counter-clockwise and y goes up, so every drawing is mirrored: an arc that turns from x
// towards y on paper turns the other way here, and its ends change places.
#include "drawing/common/Angles.h"
#include "drawing/output/DxfFrame.h"
#include "drawing/output/DxfNames.h"
#include "drawing/output/Writers.h"
#include "drawing/paper/Plane.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <utility>

namespace kxcontour {
namespace {

constexpr double kFullTurn = 360.0;

/// The paths of one group with the layer that they are on.
struct LayeredGroup {
    const PathGroup* group;
    std::size_t layer;
};

struct DxfDrawing {
    DxfSummary summary;
    std::vector<LayeredGroup> groups;
};

const char* LayerNameOf(const PathGroup& group) {
    constexpr std::array kNames{"SILHOUETTE", "CREASE", "INTERSECTION"}; // By kind.
    return group.hidden ? "HIDDEN" : kNames[static_cast<std::size_t>(group.kind)];
}

std::size_t CountPieces(const PathGroup& group) {
    std::size_t count = 0;
    for (const Path& path : group.paths) {
        ForEachPiece(
            path, [&](std::size_t, std::size_t) { ++count; }, [&](const Arc&) { ++count; });
    }
    return count;
}

Point Mirrored(const Point& point, PageSize page) {
    return {point.x, page.height - point.y};
}

/// The box around all points, y up; the page where there are none.
PageLine ExtentsOf(const kxdrawing::Drawing& drawing) {
    plane::Bounds box;
    for (const kxdrawing::Layer& layer : drawing.layers) {
        for (const PathGroup& group : layer.groups) {
            for (const Path& path : group.paths) {
                for (const Point& point : path.points) {
                    box.add(Mirrored(point, drawing.page));
                }
            }
        }
    }
    return box.low.x <= box.high.x ? PageLine{box.low, box.high}
                                   : PageLine{{}, {drawing.page.width, drawing.page.height}};
}

/// Collects layers in the order of the drawing.
class DrawingBuilder {
public:
    DxfDrawing build(const kxdrawing::Drawing& drawing) {
        result_.summary.page = drawing.page;
        result_.summary.extents = ExtentsOf(drawing);
        for (const kxdrawing::Layer& layer : drawing.layers) {
            if (!layer.name.empty()) {
                addNamed(layer);
                continue;
            }
            for (const PathGroup& group : layer.groups) {
                addByKind(group);
            }
        }
        return std::move(result_);
    }

private:
    void addNamed(const kxdrawing::Layer& layer) {
        const StrokeStyle style = layer.groups.empty() ? StrokeStyle() : layer.groups[0].style;
        result_.summary.layers.push_back({names_.make(layer.name), style});
        for (const PathGroup& group : layer.groups) {
            addGroup(group, result_.summary.layers.size() - 1);
        }
    }

    void addByKind(const PathGroup& group) {
        const std::string name = LayerNameOf(group);
        const auto [found, isNew] = layersByKind_.try_emplace(name, result_.summary.layers.size());
        if (isNew) {
            result_.summary.layers.push_back({names_.make(name), group.style});
        }
        addGroup(group, found->second);
    }

    void addGroup(const PathGroup& group, std::size_t layer) {
        result_.groups.push_back({&group, layer});
        result_.summary.entityCount += CountPieces(group);
        AddLineType(result_.summary.lineTypes, group.style);
    }

    DxfDrawing result_;
    DxfNames names_;
    std::map<std::string, std::size_t> layersByKind_;
};

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
                 const DxfSummary& drawing,
                 const LayeredGroup& group,
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
    /// Properties that equal those of the layer are omitted, so that its lines follow changes of
    /// it.
    void startEntity(const char* type) {
        file_.startObject(type, file_.newHandle(), modelSpace_);
        file_.write(100, "AcDbEntity", 8, layer_.name);
        if (style_.dashes != layer_.style.dashes) {
            file_.write(6, lineType_);
        }
        if (style_.color != layer_.style.color) {
            WriteColor(file_, style_.color);
        }
        if (style_.width != layer_.style.width) {
            file_.write(370, LineWeight(style_.width));
        }
    }

    void writeRun(const Path& path, std::size_t first, std::size_t last) {
        if (last == first + 1) {
            startEntity("LINE");
            file_.write(100, "AcDbLine", 10, spacePoint(path.points[first]), 11,
                        spacePoint(path.points[last]));
            return;
        }
        // There and back again is no loop.
        const bool closed = last - first + 1 == path.points.size() && last > 2 && path.isClosed();
        const std::size_t count = last - first + (closed ? 0 : 1);
        startEntity("LWPOLYLINE");
        file_.write(100, "AcDbPolyline", 90, count, 70, closed ? 1 : 0, 43, 0.0);
        for (std::size_t i = first; i < first + count; ++i) {
            file_.write(10, Mirrored(path.points[i], page_));
        }
    }

    void writeArc(const Arc& arc) {
        if (arc.radiusX != arc.radiusY) {
            writeEllipse(arc);
            return;
        }
        startEntity(IsFullTurn(arc) ? "CIRCLE" : "ARC");
        file_.write(100, "AcDbCircle", 10, spacePoint(arc.center), 40, arc.radiusX);
        if (!IsFullTurn(arc)) {
            const double first = -(arc.rotation + arc.start);
            const double last = first - arc.sweep;
            file_.write(100, "AcDbArc", 50, PositiveAngle(arc.sweep > 0.0 ? last : first), 51,
                        PositiveAngle(arc.sweep > 0.0 ? first : last));
        }
    }

    /// DXF measures parameters from the longer axis; from the second axis they are less by 90.
    void writeEllipse(const Arc& arc) {
        constexpr double kQuarterTurn = 90.0;
        constexpr double kLeastRatio = 1e-6;
        const double turn = arc.radiusY > arc.radiusX ? kQuarterTurn : 0.0;
        const double longer = std::max(arc.radiusX, arc.radiusY);
        const double shorter = std::min(arc.radiusX, arc.radiusY);
        const Turn direction = TurnBy(-(arc.rotation + turn));
        // Parameters in radians, the end over the start.
        const double first = -(arc.start - turn);
        const double start =
            IsFullTurn(arc) ? 0.0 : PositiveAngle(arc.sweep > 0.0 ? first - arc.sweep : first);
        const double sweep = IsFullTurn(arc) ? kFullTurn : std::fabs(arc.sweep);
        startEntity("ELLIPSE");
        file_.write(100, "AcDbEllipse", 10, spacePoint(arc.center), 11,
                    DxfPoint{{longer * direction.cosine, longer * direction.sine}}, 40,
                    std::max(shorter / longer, kLeastRatio), 41, start * kDegree, 42,
                    (start + sweep) * kDegree);
    }

    DxfPoint spacePoint(Point point) const { return {Mirrored(point, page_)}; }

    DxfFile& file_;
    PageSize page_;
    const DxfLayer& layer_;
    const StrokeStyle& style_;
    std::string lineType_;
    DxfHandle modelSpace_;
};

} // namespace

void WriteDxf(const kxdrawing::Drawing& drawing, std::ostream& out) {
    const DxfDrawing dxf = DrawingBuilder().build(drawing);
    DxfFile file(out);
    DxfFrame frame(file, dxf.summary);
    frame.writeBeforeEntities();
    file.startSection("ENTITIES");
    for (const LayeredGroup& group : dxf.groups) {
        EntityWriter writer(file, dxf.summary, group, frame.modelSpace());
        for (const Path& path : group.group->paths) {
            writer.write(path);
        }
    }
    file.endSection();
    frame.writeAfterEntities();
    file.finish();
}

} // namespace kxcontour
