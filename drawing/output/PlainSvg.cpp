// Drawings through the library's own exporter.
//
// The exporter welds equal positions and chains what meets at them, which would make other paths
// than the drawing has, and it searches chains for arcs, which takes time and may turn pieces of a
// chain round. Both look at positions in space, while only x and y reach the page here: z is free.
//
// - Every point of every path gets a z of its own, so nothing is welded.
// - Along a path the points lie in pairs on far levels of z in turn, so that one of two successive
//   segments is always over three times as long as the other. No arc fit holds for such a pair
//   (FittingSystem.h): the search gives up after two segments, everywhere, and changes nothing.
#include <ctr/SVGExporter.h>

#include <kxSceneGraph/kxAttributes.h>

#include "drawing/output/BufferedFile.h"
#include "drawing/output/PathShape.h"
#include "drawing/output/Writers.h"
#include "drawing/output/XmlText.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <streambuf>
#include <string>
#include <string_view>

namespace kxcontour {
namespace {

/// The one style that the exporter knows at a time.
const char* const kStyleName = "stroke";

bool IsPlainGroup(const PathGroup& group) {
    return group.style.dashes.empty() &&
           std::all_of(group.paths.begin(), group.paths.end(),
                       [](const Path& path) { return path.arcs.empty(); });
}

/// Levels of z. Pages are 100 m at most, so lines on one level are shorter than 1.5e5 mm, while the
/// way from one level to another is longer than 1e6 mm.
enum class Level { Middle, Upper, Lower };

/// A z on a level, another one for each number below 5e8.
float DepthOf(Level level, std::uint32_t number) {
    constexpr float kMiddle = 0x1p-60F;
    constexpr float kOuter = 0x1p21F;
    const float least = level == Level::Middle ? kMiddle : kOuter;
    const auto depth = std::bit_cast<float>(std::bit_cast<std::uint32_t>(least) + number);
    return level == Level::Lower ? -depth : depth;
}

/// The level of point i of a path of so many different points. The first pair, of one point where
/// the count is odd, is alone on its level, so that the way back to it is a long one, too.
Level LevelOf(std::size_t i, std::size_t pointCount) {
    const std::size_t pair = (i + pointCount % 2) / 2;
    if (pair == 0) {
        return Level::Middle;
    }
    return pair % 2 == 1 ? Level::Upper : Level::Lower;
}

/// Fills the buffers of a line set, path by path.
class SetBuilder {
public:
    SetBuilder(std::size_t vertexCount, std::size_t segmentCount)
        : vertices_(new kx::kxVertexBuffer(Positions(), static_cast<int>(vertexCount))),
          lines_(new kx::kxIndexBuffer(static_cast<int>(2 * segmentCount), kx::IBT_LINES)) {}

    void add(const Path& path) {
        const bool closed = path.isClosed();
        const std::size_t count = path.points.size() - (closed ? 1 : 0);
        const std::uint32_t first = next_;
        // A loop is written from where the first segment that is given of it ends: here, its last.
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t point = closed ? (i + count - 1) % count : i;
            addPoint(path.points[point], LevelOf(point, count));
        }
        for (std::uint32_t vertex = first; vertex + 1 < next_; ++vertex) {
            addSegment(vertex, vertex + 1);
        }
        if (closed) {
            addSegment(next_ - 1, first);
        }
    }

    void giveTo(ctr::LineSegmentSet& set) const {
        set.SetVertexBuffer(vertices_.get());
        set.SetIndexBuffer(lines_.get());
    }

private:
    static kx::kxAttributes Positions() {
        kx::kxAttributes attributes;
        attributes.SetPositionChannels(3);
        return attributes;
    }

    void addPoint(const Point& point, Level level) {
        vertices_->Position3(static_cast<int>(next_)) = {
            static_cast<float>(point.x), static_cast<float>(point.y), DepthOf(level, next_)};
        ++next_;
    }

    void addSegment(std::uint32_t from, std::uint32_t to) {
        lines_->GetData()[nextIndex_++] = from;
        lines_->GetData()[nextIndex_++] = to;
    }

    kx::kxPointer<kx::kxVertexBuffer> vertices_;
    kx::kxPointer<kx::kxIndexBuffer> lines_;
    std::uint32_t next_ = 0;
    std::size_t nextIndex_ = 0;
};

kx::kxPointer<ctr::LineSegmentSet> MakeSet(const PathGroup& group) {
    std::size_t vertexCount = 0;
    std::size_t segmentCount = 0;
    for (const Path& path : group.paths) {
        vertexCount += path.points.size() - (path.isClosed() ? 1 : 0);
        segmentCount += path.points.size() - 1;
    }
    SetBuilder builder(vertexCount, segmentCount);
    for (const Path& path : group.paths) {
        builder.add(path);
    }
    kx::kxPointer<ctr::LineSegmentSet> set(new ctr::LineSegmentSet());
    builder.giveTo(*set);
    return set;
}

ctr::ExportParameters SheetOf(PageSize page) {
    ctr::ExportParameters parameters{ctr::DiscreteProjectionSpace()};
    parameters.setPageSizeInMM({static_cast<float>(page.width), static_cast<float>(page.height)});
    return parameters;
}

/// The map of lines in page units, which leaves them as they are, to the bit: x and y through the
/// identity, no offset, and the exporter's turn of y about a page of no height undone.
ctr::ExportParameters PageUnits() {
    ctr::DiscreteProjectionSpace flat;
    Wm4::Matrix4<float> withoutDepth(false);
    withoutDepth[2][2] = 0.0F;
    // Nothing maps back from the page here, so the inverse, which there is none of, is not needed.
    flat.setViewProjection(withoutDepth, Wm4::Matrix4<float>(false));
    ctr::ExportParameters parameters(flat);
    parameters.setPageSizeInMM({0.0F, 0.0F});
    parameters.pageTransform = {1.0F, 0.0F, 0.0F, -1.0F};
    parameters.pageOffset = {0.0F, 0.0F};
    return parameters;
}

/// A channel that the exporter, which cuts off, makes the same byte again.
float Channel(std::uint8_t byte) {
    return (static_cast<float>(byte) + 0.5F) / 255.0F;
}

ctr::SVGLineStyle StyleOf(const StrokeStyle& style) {
    const auto& [red, green, blue] = style.color;
    return {{Channel(red), Channel(green), Channel(blue)}, static_cast<float>(style.width)};
}

/// Passes on what the exporter writes, and keeps the reason of a failure, of which a stream only
/// knows that it was one.
class ExporterBuffer : public std::streambuf {
public:
    explicit ExporterBuffer(int descriptor) : file_(descriptor) {}

    /// Writes the rest; throws WriteFailure for the first failure of all.
    void finish() {
        if (reason_ != 0) {
            throw WriteFailure(reason_);
        }
        file_.flush();
    }

protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        const auto size = static_cast<std::size_t>(count);
        return tryTo([&] { file_ << std::string_view(text, size); }) ? count : 0;
    }

    int_type overflow(int_type letter) override {
        const bool written = tryTo([&] { file_ << traits_type::to_char_type(letter); });
        return written ? traits_type::not_eof(letter) : traits_type::eof();
    }

private:
    /// Exceptions would not get through the stream.
    template <class Write> bool tryTo(const Write& write) {
        try {
            write();
        } catch (const WriteFailure& failure) {
            reason_ = failure.reason();
        }
        return reason_ == 0;
    }

    BufferedFile file_;
    int reason_ = 0; ///< Of the first failure; 0: none.
};

bool StreamGroups(ctr::SVGExporter& exporter, const kxdrawing::Drawing& drawing) {
    exporter.setExportParameters(PageUnits());
    for (const kxdrawing::Layer& layer : drawing.layers) {
        for (const PathGroup& group : layer.groups) {
            exporter.setLineStyle(kStyleName, StyleOf(group.style));
            if (!exporter.streamLineSegments(*MakeSet(group), kStyleName)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

bool IsPlain(const kxdrawing::Drawing& drawing) {
    return std::all_of(
        drawing.layers.begin(), drawing.layers.end(), [](const kxdrawing::Layer& layer) {
            return layer.name.empty() &&
                   std::all_of(layer.groups.begin(), layer.groups.end(), IsPlainGroup);
        });
}

void WritePlainSvg(const kxdrawing::Drawing& drawing, int descriptor) {
    ctr::SVGExporter exporter;
    exporter.setExportParameters(SheetOf(drawing.page));
    exporter.setTitle(EscapeXml(drawing.title));
    exporter.setDescription(EscapeXml(drawing.description));
    ExporterBuffer file(descriptor);
    const bool streamed = exporter.openBuffer(file) && StreamGroups(exporter, drawing);
    const bool closed = exporter.closeFile();
    file.finish();
    if (!streamed || !closed) {
        throw WriteFailure(0);
    }
}

} // namespace kxcontour
