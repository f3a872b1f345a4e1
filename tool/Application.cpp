// The stages of a run in order.
#include "Application.h"

#include "camera/Camera.h"
#include "common/Failure.h"
#include "common/Progress.h"
#include "common/Timing.h"
#include "lines/Drawing.h"
#include "model/ImportProcess.h"
#include "output/OutputFile.h"
#include "scene/Cleaning.h"
#include "scene/MeshBuilder.h"
#include "scene/Placing.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace kxcontour {
namespace {

/// The models of a run, in the order of their paths: the drawn one first, then the occluders.
struct Input {
    std::vector<std::string> paths;
    std::vector<Model> models;
    DroppedTriangles dropped;
};

/// The meshes of a run, ready to be baked.
struct Scene {
    MeshList meshes;
    MeshList occluders;
};

/// A drawing must not take the place of a model it is made from.
void RequireOwnOutput(const Options& options) {
    const auto check = [&](const std::string& input) {
        std::error_code error;
        if (std::filesystem::equivalent(input, options.output, error)) {
            throw Failure(ExitCode::Usage,
                          options.output + ": is an input; the drawing would overwrite it");
        }
    };
    check(options.model);
    for (const std::string& occluder : options.occluders) {
        check(occluder);
    }
}

void RequireTriangles(const Model& model, const std::string& path) {
    if (model.placements.empty()) {
        throw Failure(ExitCode::NothingToDraw, path + ": nothing to draw: it has no triangles");
    }
}

Input ReadModels(const Options& options) {
    Input input;
    input.paths.push_back(options.model);
    input.paths.insert(input.paths.end(), options.occluders.begin(), options.occluders.end());
    for (const std::string& path : input.paths) {
        input.models.push_back(ImportModel(path));
        RequireTriangles(input.models.back(), path);
    }
    return input;
}

/// The meshes of one model; throws where bad triangles were all it had.
MeshList MakeMeshes(Input& input, std::size_t number, const MeshRules& rules) {
    BuiltMeshes built = BuildMeshes(input.models[number], rules);
    input.dropped += built.dropped;
    if (built.meshes.empty()) {
        throw Failure(ExitCode::NothingToDraw,
                      input.paths[number] + ": nothing to draw: every triangle is degenerate, not "
                                            "finite or has an index out of range");
    }
    return std::move(built.meshes);
}

Scene MakeScene(Input& input, const Options& options) {
    for (Model& model : input.models) {
        input.dropped += CleanShapes(model);
    }
    MeshRules rules;
    rules.origin = ChooseOrigin(input.models[0]);
    rules.creaseAngle = options.creaseAngle;
    Scene scene;
    scene.meshes = MakeMeshes(input, 0, rules);
    rules.drawn = false;
    for (std::size_t i = 1; i < input.models.size(); ++i) {
        const MeshList occluders = MakeMeshes(input, i, rules);
        scene.occluders.insert(scene.occluders.end(), occluders.begin(), occluders.end());
    }
    return scene;
}

ctr::DiscreteProjectionSpace AimCamera(const Scene& scene, const Options& options) {
    const ViewAxes axes = AxesOf(options.view);
    Box drawn;
    for (const kx::kxPointer<kx::kxTriMesh>& mesh : scene.meshes) {
        drawn.add(MeasureInView(*mesh, axes));
    }
    std::vector<Box> occluders;
    for (const kx::kxPointer<kx::kxTriMesh>& mesh : scene.occluders) {
        occluders.push_back(MeasureInView(*mesh, axes));
    }
    return MakeCamera(FitToPage(drawn, occluders, options.page), axes);
}

void Warn(const DroppedTriangles& dropped, const std::string& model, std::ostream& log) {
    if (dropped.total() > 0) {
        log << "kxcontour: warning: " + model + ": " + Describe(dropped) + "\n" << std::flush;
    }
}

[[noreturn]] void FailedToWrite(const std::string& path, int reason) {
    throw Failure(ExitCode::CannotWrite,
                  path + ": cannot write: " +
                      (reason != 0 ? std::generic_category().message(reason)
                                   : std::string("the drawing did not come out whole")));
}

/// Writes the drawing and puts it in place; returns its number of lines.
std::size_t Export(const Drawing& drawing, OutputFile& output, const Options& options) {
    const std::string& path = output.create();
    if (!drawing.write(path, {options.page, options.title, options.description})) {
        FailedToWrite(options.output, errno);
    }
    const std::size_t lines = CountLines(path);
    if (lines == 0) {
        throw Failure(ExitCode::NothingToDraw,
                      options.model + ": nothing to draw: no line of it is visible");
    }
    output.commit();
    return lines;
}

} // namespace

void Draw(const Options& options, std::ostream& out, std::ostream& log) {
    Timing timing;
    Progress progress(log, ::isatty(STDERR_FILENO) == 1);
    const auto enter = [&](const char* stage) {
        timing.enter(stage);
        progress.enter(stage);
    };
    RequireOwnOutput(options);
    OutputFile output(options.output);

    enter("read");
    Input input = ReadModels(options);

    enter("prepare");
    const Scene scene = MakeScene(input, options);
    Drawing drawing(AimCamera(scene, options));

    enter("bake");
    drawing.bake(scene.meshes, scene.occluders);

    enter("features");
    drawing.findLines(progress);

    enter("export");
    const std::size_t lines = Export(drawing, output, options);

    progress.finish();
    Warn(input.dropped, options.model, log);
    if (options.timing) {
        timing.report(log);
    }
    out << options.output + ": " + Describe(options.page) + ", " + std::to_string(lines) +
               (lines == 1 ? " line" : " lines") + "\n"
        << std::flush;
}

} // namespace kxcontour
