// One drawing: the library's way from meshes to an SVG file.
#pragma once

#include <ctr/DiscreteProjectionSpace.h>
#include <ctr/GeometricFeaturesGenerator.h>

#include "camera/PageSize.h"
#include "scene/MeshBuilder.h"

#include <cstddef>
#include <optional>
#include <string>

namespace kxcontour {

/// What a drawing's file says besides its lines.
struct Sheet {
    PageSize page;
    std::optional<std::string> title;       ///< Plain text; none: the exporter's own.
    std::optional<std::string> description; ///< Plain text.
};

/// Call bake(), findLines() and write(), in this order.
class Drawing {
public:
    explicit Drawing(const ctr::DiscreteProjectionSpace& camera);

    /// Borrows the meshes until findLines() has returned.
    void bake(const MeshList& meshes, const MeshList& occluders);

    /// Finds the lines and what of them is hidden. Creases that are silhouettes too count once.
    void findLines(kx::kxProgressNotifierInterface& progress);

    /// Writes the visible lines to a file that exists. False, with errno set where the system gave
    /// a reason, when it could not be written whole.
    bool write(const std::string& path, const Sheet& sheet) const;

private:
    ctr::DiscreteProjectionSpace camera_;
    ctr::GeometricFeaturesGenerator generator_;
    /// Of the occluders alone: the library hides intersection lines behind drawn meshes only.
    ctr::GeometricFeaturesGenerator occluderGenerator_;
    ctr::GeometricFeatures features_;
};

/// The number of lines (paths) in a drawing that was written.
std::size_t CountLines(const std::string& path);

} // namespace kxcontour
