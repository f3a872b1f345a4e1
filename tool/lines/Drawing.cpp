// Drives the generator and the exporter.
#include "lines/Drawing.h"

#include <ctr/ExportParameters.h>
#include <ctr/SVGExporter.h>

#include "output/XmlText.h"

#include <cerrno>
#include <fstream>

namespace kxcontour {
namespace {

std::vector<const kx::kxTriMesh*> Borrowed(const MeshList& meshes) {
    std::vector<const kx::kxTriMesh*> pointers;
    pointers.reserve(meshes.size());
    for (const kx::kxPointer<kx::kxTriMesh>& mesh : meshes) {
        pointers.push_back(mesh.get());
    }
    return pointers;
}

ctr::ExportParameters PageMap(const ctr::DiscreteProjectionSpace& camera, PageSize page) {
    ctr::ExportParameters parameters(camera);
    parameters.setPageSizeInMM({static_cast<float>(page.width), static_cast<float>(page.height)});
    parameters.computeBestFitTransform();
    return parameters;
}

} // namespace

Drawing::Drawing(const ctr::DiscreteProjectionSpace& camera) : camera_(camera) {}

void Drawing::bake(const MeshList& meshes, const MeshList& occluders) {
    const std::vector<const kx::kxTriMesh*> hiding = Borrowed(occluders);
    generator_.setProjectionSpace(camera_);
    generator_.setSingleExportCluster(Borrowed(meshes), &hiding);
    occluderGenerator_.setProjectionSpace(camera_);
    occluderGenerator_.setSingleExportCluster(hiding, nullptr);
}

void Drawing::findLines(kx::kxProgressNotifierInterface& progress) {
    generator_.setProgressNotifier(&progress);
    generator_.computeGeometricFeatures(features_, 0, true);
    generator_.setProgressNotifier(nullptr);
    if (features_.intersectionEdges) {
        occluderGenerator_.computeOcclusion(*features_.intersectionEdges, 0);
    }
}

bool Drawing::write(const std::string& path, const Sheet& sheet) const {
    ctr::SVGExporter exporter;
    exporter.setExportParameters(PageMap(camera_, sheet.page));
    if (sheet.title) {
        exporter.setTitle(EscapeXml(*sheet.title));
    }
    if (sheet.description) {
        exporter.setDescription(EscapeXml(*sheet.description));
    }
    errno = 0;
    const bool opened = exporter.openFile(path);
    const bool streamed = opened && exporter.streamGeometricFeatures(features_);
    // A disk may turn out to be full only when the last buffer is written.
    const int reason = errno;
    const bool closed = exporter.closeFile();
    if (!streamed && reason != 0) {
        errno = reason;
    }
    return streamed && closed;
}

std::size_t CountLines(const std::string& path) {
    // The exporter puts every path on a line of its own.
    std::ifstream file(path);
    std::string line;
    std::size_t count = 0;
    while (std::getline(file, line)) {
        count += line.compare(0, 8, "  <path ") == 0 ? 1 : 0;
    }
    return count;
}

} // namespace kxcontour
