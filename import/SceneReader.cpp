// Reads the models of a scene one after another.
#include "import/SceneReader.h"

#include <kxDrawing/Errors.h>

#include "import/ModelReader.h"

namespace kxcontour {
namespace {

Model Import(const ModelRequest& request) {
    Model model = ImportModel(request);
    if (model.placements.empty()) {
        throw kxdrawing::NothingToDraw(NameOf(request) + ": nothing to draw: it has no triangles");
    }
    return model;
}

} // namespace

std::vector<std::string> InputOptions::files() const {
    std::vector<std::string> all = models;
    all.insert(all.end(), occluders.begin(), occluders.end());
    return all;
}

ModelRequest RequestFor(const InputOptions& input, const std::string& path) {
    return {path, path == "-" ? input.format : std::nullopt, input.unit, input.up, input.reading};
}

Scene LoadScene(const InputOptions& input, const StageObserver& observer) {
    SceneBuilder builder(input.surface);
    const auto enter = [&](const char* stage) {
        if (observer) {
            observer(stage);
        }
    };
    const auto read = [&](const ModelRequest& request) {
        enter("read");
        Model model = Import(request);
        enter("prepare");
        return model;
    };
    for (const std::string& path : input.models) {
        const ModelRequest request = RequestFor(input, path);
        builder.addDrawn(read(request), NameOf(request));
    }
    for (const std::string& path : input.occluders) {
        const ModelRequest request = RequestFor(input, path);
        builder.addOccluder(read(request), NameOf(request));
    }
    return builder.finish();
}

} // namespace kxcontour
