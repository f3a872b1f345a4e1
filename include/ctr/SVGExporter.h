// Output of line sets as SVG.
#pragma once

#include <ctr/Export.h>
#include <ctr/ExportParameters.h>
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/LineSegmentSet.h>

#include <Wm4Foundation.h>

#include <map>
#include <memory>
#include <streambuf>
#include <string>

namespace ctr {

/// A line style: a colour with channels from 0 to 1, and a stroke width in millimetres.
struct SVGLineStyle {
    Wm4::ColorRGB color; ///< Of the stroke; nothing is filled.
    float width;         ///< In millimetres.
};

/// Writes the visible lines of sets into an SVG file whose user unit is one millimetre.
///
/// Call setExportParameters(), openFile() or openBuffer(), any number of stream functions, and
/// closeFile(); then another file may follow with the same settings. Operations return false on
/// failure and print nothing; a failed stream stays failed until the file is closed. Numbers are
/// written with six significant digits, independent of locale. Streaming a set takes O(n log n) in
/// the number of its segments, all else constant time. An exporter is used by one thread at a time.
class CTR_EXPORT SVGExporter {
public:
    /// Title "Illustration", no description, styles "silhouette" (0.2 mm) and "crease" (0.13 mm).
    SVGExporter();
    /// Closes an open file without writing the end of the document.
    ~SVGExporter();
    SVGExporter(const SVGExporter&) = delete;
    SVGExporter& operator=(const SVGExporter&) = delete;

    /// Copies the parameters, for everything written later.
    void setExportParameters(const ExportParameters& parameters);

    /// The title of the next file, written exactly as given: the caller escapes markup. An empty
    /// text omits the element.
    void setTitle(const std::string& title);
    /// The description, likewise.
    void setDescription(const std::string& description);

    /// All styles by name; owned by the exporter.
    const std::map<std::string, SVGLineStyle>& getLineStyles() const;
    /// The style of a name; black and 1 mm wide for an unknown one.
    SVGLineStyle getLineStyle(const std::string& name) const;
    /// Replaces or adds a style.
    void setLineStyle(const std::string& name, const SVGLineStyle& style);

    /// Creates or truncates the file (UTF-8 path) and writes the head of the document.
    ///
    /// False if a file is already open, if the path cannot be written, or if no export parameters
    /// are set (the file is then open nevertheless).
    bool openFile(const std::string& path);
    /// Writes the document into the caller's buffer instead of a file, for example a
    /// std::stringbuf.
    ///
    /// The buffer must live until closeFile(), which flushes and releases it. Fails as openFile()
    /// does.
    bool openBuffer(std::streambuf& buffer);
    /// Writes the end of the document and closes. False if no file is open or writing failed.
    bool closeFile();

    /// Writes the visible pieces of a set as one group, one path per polyline.
    ///
    /// For a set with nothing visible, writes nothing and succeeds; an unknown style name fails.
    bool streamLineSegments(const LineSegmentSet& set, const std::string& styleName);

    /// Writes creases as "crease", then silhouettes and intersections as "silhouette".
    bool streamGeometricFeatures(const GeometricFeatures& features);

private:
    struct CTR_LOCAL tInternal;
    std::unique_ptr<tInternal> internal_;
};

} // namespace ctr
