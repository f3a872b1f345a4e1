// A host application: builds two boxes in memory, draws them with progress and cancellation, prints
// the hidden parts of their lines, and writes the visible ones as SVG.
//
//   g++ host_application.cpp $(pkg-config --cflags --libs kxContouringLib) -o host_application
//   ./host_application OUT.svg [STEPS]      with STEPS, cancels after that many steps
//
// The library prints nothing and throws nothing but std::bad_alloc: operations that fail return
// false or a null pointer. Exit codes here: 0 drawn, 1 cannot write, 2 wrong usage, 130 cancelled.
#include <ctr/ctr.h>

#include <kxSystem/kxProgressNotifierInterface.h>

#include "Scene.h"

#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <limits>

namespace {

// The library calls this on the thread that draws. A window would show a progress bar here, and its
// cancel button would set a std::atomic<bool> that isCanceled() returns. Baking does not poll here.
class Progress : public kx::kxProgressNotifierInterface {
public:
    explicit Progress(double cancelAfter) : cancelAfter_(cancelAfter) {}

    bool isCanceled() const override { return done_ >= cancelAfter_; }
    void setTotal(double steps) override { done_ = 0.0, total_ = steps; } // Of lines and triangles.
    void getRange(double& done, double& total) const override { done = done_, total = total_; }
    void advance(double steps) override {
        done_ += steps; // Some are parts of a step.
        const int percent = static_cast<int>(100.0 * done_ / total_);
        if (percent > shown_) {
            std::cerr << (shown_ = percent) << " %\n";
        }
    }

private:
    double cancelAfter_, done_ = 0.0, total_ = 1.0;
    int shown_ = 0;
};

// Occluded intervals are exact: fractions of the part of a line inside the view, as projected, from
// 0 at its first vertex to 1 at its second. Visible lines have none, hidden ones 0/1 to 1/1.
void PrintHiddenParts(const char* name, const ctr::LineSegmentSet* lines) {
    const auto vertex = [lines](std::size_t place) {
        const unsigned int index = lines->GetIndexBuffer()->GetData()[place];
        return lines->GetVertexBuffer()->Position3(static_cast<int>(index)); // In the world.
    };
    for (std::size_t i = 0; lines != nullptr && i < lines->occlusionIntervals.size(); ++i) {
        for (const auto& [start, end] : lines->occlusionIntervals[i]) {
            std::cout << name << " from " << vertex(2 * i) << " to " << vertex(2 * i + 1)
                      << ": hidden from " << start[0] << '/' << start[1] << " to " << end[0] << '/'
                      << end[1] << '\n';
        }
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2 && argumentCount != 3) {
        std::cerr << "usage: host_application OUT.svg [STEPS]\n";
        return 2;
    }
    // The generator borrows meshes and notifier: they must outlive its last call.
    const auto plate = example::MakeBox({-50, -10, -40}, {50, 0, 40});
    const auto block = example::MakeBox({-30, -5, -20}, {10, 40, 20});
    plate->AddMetadata(ctr::FindFeatureEdges(*plate).get()); // By the angles of faces: each crease
    block->AddMetadata(ctr::FindFeatureEdges(*block).get()); // once, whatever normals say.
    const ctr::DiscreteProjectionSpace camera =
        example::MakeCamera({40, 35, {0, 10, 0}, {160, 120, 400}});
    const double never = std::numeric_limits<double>::infinity();
    Progress progress(argumentCount == 3 ? std::atof(arguments[2]) : never);
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(camera);
    generator.setProgressNotifier(&progress);
    generator.setSingleExportCluster({plate.get(), block.get()}, nullptr); // None that only hide.
    ctr::GeometricFeatures features; // Three sets, each null where there are no such lines.
    // True: an edge that is both a crease and a silhouette is drawn once, as a silhouette.
    generator.computeGeometricFeatures(features, 0, true);
    if (progress.isCanceled()) {
        std::cerr << "cancelled\n";
        return 130;
    }
    PrintHiddenParts("crease", features.creaseEdges.get());
    PrintHiddenParts("silhouette", features.silhouetteEdges.get());
    ctr::ExportParameters page(camera);     // Copies the camera; the page is A4.
    page.setPageSizeInMM({160.0F, 120.0F}); // As wide and high as the view: 1 mm is 1 unit.
    page.computeBestFitTransform();
    ctr::SVGExporter svg;
    svg.setExportParameters(page);
    if (!svg.openFile(arguments[1]) || !svg.streamGeometricFeatures(features) || !svg.closeFile()) {
        std::cerr << "cannot write " << arguments[1] << '\n';
        return 1;
    }
    return 0;
}
