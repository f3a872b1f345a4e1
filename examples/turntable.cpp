// A turntable: the same meshes drawn from all around, by several threads.
//
//   g++ turntable.cpp $(pkg-config --cflags --libs kxContouringLib) -pthread -o turntable
//   ./turntable FOLDER CAMERAS THREADS      writes FOLDER/turntable-000.svg and so on
//
// The library starts no threads and has no locks. Any number of threads may read the same meshes
// while none modifies them; generators, exporters and line sets are used by one thread at a time.
// So each thread has its own, the meshes are shared, and no lock is needed. The drawings do not
// depend on the number of threads, byte for byte.
//
// Exit codes: 0 all drawn, 1 some not written, 2 wrong usage.
#include <ctr/ctr.h>

#include "Scene.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <future>
#include <iostream>
#include <string>
#include <vector>

namespace {

// Non-owning pointers, as the library expects: the meshes live in Run().
using MeshList = std::vector<const kx::kxTriMesh*>;

// Camera number i of count, on a circle around the middle of the scene.
ctr::DiscreteProjectionSpace CameraOnCircle(int i, int count) {
    example::View view;
    view.azimuth = 360.0 * i / count;
    view.elevation = 25.0;
    view.middle = {0.0F, 15.0F, 0.0F};
    view.size = {160.0F, 120.0F, 400.0F};
    return example::MakeCamera(view);
}

std::string PathOf(const std::string& folder, int i) {
    const std::string number = std::to_string(i);
    return folder + "/turntable-" + std::string(number.size() < 3 ? 3 - number.size() : 0, '0') +
           number + ".svg";
}

// One complete drawing. False if the file cannot be written; throws std::bad_alloc.
bool Draw(const MeshList& meshes,
          const ctr::DiscreteProjectionSpace& camera,
          const std::string& path) {
    ctr::GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(camera);
    generator.setSingleExportCluster(meshes, nullptr);
    ctr::GeometricFeatures features;
    generator.computeGeometricFeatures(features, 0, true);

    ctr::ExportParameters page(camera);
    page.setPageSizeInMM({160.0F, 120.0F});
    page.computeBestFitTransform();
    ctr::SVGExporter svg;
    svg.setExportParameters(page);
    return svg.openFile(path) && svg.streamGeometricFeatures(features) && svg.closeFile();
}

// Draws from every camera; returns 1 for each drawing that was written, otherwise 0. Threads write
// to different elements, which would be unsafe with the packed bits of std::vector<bool>.
std::vector<char>
DrawAll(const MeshList& meshes, const std::string& folder, int cameras, int threads) {
    std::vector<char> written(static_cast<std::size_t>(cameras), 0);
    std::atomic<int> next = 0;
    const auto work = [&] {
        for (int i = next++; i < cameras; i = next++) {
            try {
                const bool whole = Draw(meshes, CameraOnCircle(i, cameras), PathOf(folder, i));
                written[static_cast<std::size_t>(i)] = whole ? 1 : 0;
            } catch (const std::exception&) {
                // Out of memory: this drawing is missing, the next one may be smaller.
            }
        }
    };
    std::vector<std::future<void>> pool(static_cast<std::size_t>(threads));
    for (std::future<void>& thread : pool) {
        thread = std::async(std::launch::async, work);
    }
    pool.clear(); // Waits for all of them.
    return written;
}

int Run(const std::string& folder, int cameras, int threads) {
    // A plate, a cylinder standing in it, and a block that intersects both.
    const auto plate = example::MakeBox({-50, -10, -40}, {50, 0, 40});
    const auto tower = example::MakeCylinder({-10, -5, 0}, 25, 55, 72);
    const auto block = example::MakeBox({0, -5, -10}, {40, 20, 15});
    const std::vector<char> written =
        DrawAll({plate.get(), tower.get(), block.get()}, folder, cameras, threads);

    int missing = 0;
    for (int i = 0; i < cameras; ++i) {
        if (written[static_cast<std::size_t>(i)] == 0) {
            std::cerr << "cannot write " << PathOf(folder, i) << '\n';
            ++missing;
        }
    }
    std::cout << cameras - missing << " of " << cameras << " drawings by " << threads
              << " threads\n";
    return missing == 0 ? 0 : 1;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const int cameras = argumentCount == 4 ? std::atoi(arguments[2]) : 0;
    const int threads = argumentCount == 4 ? std::atoi(arguments[3]) : 0;
    if (cameras < 1 || threads < 1) {
        std::cerr << "usage: turntable FOLDER CAMERAS THREADS\n";
        return 2;
    }
    return Run(arguments[1], cameras, threads);
}
