// Writes line sets as SVG groups: visible pieces, chained into polylines, mapped to the page. All
// arithmetic is in floats, in a fixed order, and numbers have six significant digits. O(n log n)
// for n segments.
#include <ctr/SVGExporter.h>
#include <ctr/detail/PageMap.h>

#include <kxSystem/kxStringUtils.h>

#include "linesets/SetConstruction.h"
#include "svg/PathText.h"

#include <bit>
#include <cstddef>
#include <fstream>
#include <locale>
#include <optional>
#include <ostream>

namespace ctr {
namespace {

constexpr float kSilhouetteWidth = 0.2F;
/// Slightly below 2/15; prints as 0.133333.
constexpr float kCreaseWidth = std::bit_cast<float>(0x3E088888U);

/// A colour channel from 0 to 1 as 0 to 255, truncated.
unsigned int ChannelByte(float channel) {
    const float scaled = channel * 255.0F;
    return scaled > 0.0F ? static_cast<unsigned int>(scaled < 4294967040.0F ? scaled : 255.0F) : 0U;
}

/// Maps the vertices of a set to the page.
class VertexToPage {
public:
    VertexToPage(const ExportParameters& parameters, const LineSegmentSet& set)
        : parameters_(parameters), set_(set) {}

    Wm4::Vector2<float> operator()(unsigned int vertex) const {
        const Wm4::Vector3<float> world = set_.GetWorldTransformation().ApplyForward(
            set_.GetVertexBuffer()->Position3(static_cast<int>(vertex)), true);
        return detail::ToPage<float>(parameters_, world);
    }

private:
    const ExportParameters& parameters_;
    const LineSegmentSet& set_;
};

PathText& operator<<(PathText& out, const Wm4::Vector2<float>& point) {
    return out << point[0] << "," << point[1];
}

/// The segments of a set as paths; a path continues while consecutive segments share a vertex
/// index.
void WritePaths(PathText& out, const LineSegmentSet& set, const VertexToPage& toPage) {
    const unsigned int* indices = set.GetIndexBuffer()->GetData();
    const std::size_t indexCount = 2 * SegmentCount(set.GetIndexBuffer());
    for (std::size_t i = 0; i < indexCount; i += 2) {
        if (i > 0 && indices[i] == indices[i - 1]) {
            out << "L" << toPage(indices[i + 1]) << " ";
            continue;
        }
        out << (i > 0 ? "\"/>\n" : "\">\n") << "  <path d=\"M" << toPage(indices[i]) << " L"
            << toPage(indices[i + 1]) << " ";
    }
    out << "\"/>\n";
}

} // namespace

struct SVGExporter::tInternal {
    bool writeHeader();
    bool writeFooter();
    bool exportLines(const std::string& groupId,
                     const LineSegmentSet& set,
                     const std::string& styleName);
    bool isOpen() const { return stream.rdbuf() != nullptr; }
    bool isWritable() const { return isOpen() && stream.good(); }
    bool start(std::streambuf& buffer);

    std::string title = "Illustration";
    std::string description;
    std::filebuf file;
    std::ostream stream{
        nullptr}; ///< Into the file or the caller's buffer; without buffer if closed.
    std::optional<ExportParameters> exportParameters;
    std::map<std::string, SVGLineStyle> lineStyles;
};

bool SVGExporter::tInternal::start(std::streambuf& buffer) {
    stream.rdbuf(&buffer);
    return writeHeader();
}

bool SVGExporter::tInternal::writeHeader() {
    if (!exportParameters || !stream.good()) {
        return false;
    }
    const auto width = static_cast<double>(exportParameters->pageSizeInMM[0]);
    const auto height = static_cast<double>(exportParameters->pageSizeInMM[1]);
    stream << "<?xml version=\"1.0\"?>" << std::endl;
    stream << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "mm\" height=\""
           << height << "mm\" viewBox=\"0 0 " << width << ' ' << height << "\" >" << std::endl;
    if (!title.empty()) {
        stream << "<title>" << title << "</title>" << std::endl;
    }
    if (!description.empty()) {
        stream << "<desc>" << description << "</desc>" << std::endl;
    }
    return stream.good();
}

bool SVGExporter::tInternal::writeFooter() {
    stream << "</svg>" << std::endl;
    return stream.good();
}

bool SVGExporter::tInternal::exportLines(const std::string& groupId,
                                         const LineSegmentSet& set,
                                         const std::string& styleName) {
    if (!exportParameters) {
        return false;
    }
    if (set.GetVertexBuffer() == nullptr || SegmentCount(set.GetIndexBuffer()) == 0) {
        return true;
    }
    const auto found = lineStyles.find(styleName);
    if (found == lineStyles.end()) {
        return false;
    }
    const SVGLineStyle& style = found->second;
    stream << "<g";
    if (!groupId.empty()) {
        stream << " id=\"" << groupId << '"';
    }
    stream << " fill=\"none\" stroke-linecap=\"round\" stroke-linejoin=\"round\" stroke=\"rgb("
           << ChannelByte(style.color.R()) << ',' << ChannelByte(style.color.G()) << ','
           << ChannelByte(style.color.B()) << ")\" stroke-width=\""
           << static_cast<double>(style.width);
    PathText text(stream);
    WritePaths(text, set, VertexToPage(*exportParameters, set));
    text << "</g>\n";
    // One flush per group: when the call returns, the file is complete up to here.
    text.flush();
    return stream.good();
}

SVGExporter::SVGExporter() : internal_(std::make_unique<tInternal>()) {
    const Wm4::ColorRGB black(0.0F, 0.0F, 0.0F);
    internal_->stream.imbue(std::locale::classic());
    internal_->file.pubimbue(std::locale::classic());
    setLineStyle("silhouette", {black, kSilhouetteWidth});
    setLineStyle("crease", {black, kCreaseWidth});
}

SVGExporter::~SVGExporter() = default;

void SVGExporter::setExportParameters(const ExportParameters& parameters) {
    internal_->exportParameters.emplace(parameters);
}

void SVGExporter::setTitle(const std::string& title) {
    internal_->title = title;
}

void SVGExporter::setDescription(const std::string& description) {
    internal_->description = description;
}

const std::map<std::string, SVGLineStyle>& SVGExporter::getLineStyles() const {
    return internal_->lineStyles;
}

SVGLineStyle SVGExporter::getLineStyle(const std::string& name) const {
    const auto found = internal_->lineStyles.find(name);
    return found != internal_->lineStyles.end() ? found->second
                                                : SVGLineStyle{Wm4::ColorRGB(0, 0, 0), 1.0F};
}

void SVGExporter::setLineStyle(const std::string& name, const SVGLineStyle& style) {
    internal_->lineStyles.insert_or_assign(name, style);
}

bool SVGExporter::openFile(const std::string& path) {
    std::filebuf& file = internal_->file;
    if (internal_->isOpen()) {
        return false;
    }
    const std::string fileName = kx::kxStringUtils::convertCharset(
        path, kx::kxStringUtils::CS_UTF8, kx::kxStringUtils::CS_FILE_SYSTEM);
    try {
        if (file.open(fileName, std::ios::out) == nullptr) {
            return false;
        }
    } catch (...) {
        // The file was opened but its buffer could not be allocated: leave no open file behind.
        file.close();
        throw;
    }
    return internal_->start(file);
}

bool SVGExporter::openBuffer(std::streambuf& buffer) {
    return !internal_->isOpen() && internal_->start(buffer);
}

bool SVGExporter::closeFile() {
    if (!internal_->isOpen()) {
        return false;
    }
    const bool written = internal_->writeFooter();
    internal_->stream.rdbuf(nullptr);
    internal_->file.close();
    return written;
}

bool SVGExporter::streamLineSegments(const LineSegmentSet& set, const std::string& styleName) {
    if (!internal_->isWritable()) {
        return false;
    }
    const kx::kxPointer<LineSegmentSet> visible(LineSegmentSet::BakeVisibleSegments(&set));
    if (!visible) {
        return true;
    }
    std::vector<LineSegmentSet::ArcFeature> arcs;
    const kx::kxPointer<LineSegmentSet> polylines(
        LineSegmentSet::BuildPolylines(*visible, arcs, true));
    return !polylines || internal_->exportLines(std::string(), *polylines, styleName);
}

bool SVGExporter::streamGeometricFeatures(const GeometricFeatures& features) {
    if (!internal_->isWritable()) {
        return false;
    }
    const auto stream = [this](const kx::kxPointer<LineSegmentSet>& set, const char* style) {
        return !set || streamLineSegments(*set, style);
    };
    return stream(features.creaseEdges, "crease") &&
           stream(features.silhouetteEdges, "silhouette") &&
           stream(features.intersectionEdges, "silhouette");
}

} // namespace ctr
