// Writes a scene, or a model file as one, as an OBJ file with z up:
//
//     bench_make_model boxes1000 boxes1000.obj
//     bench_make_model --convert house.ifc house.obj [x|y|z]
//
// Model files are read by the importer of the tool; the last argument is the up axis where the
// format defines none. Triangles without area are dropped, since some peers fail on them.
#include "bench/ObjFile.h"
#include "drawing/scene/Cleaning.h"
#include "drawing/scene/Placing.h"
#include "import/ModelReader.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <stdexcept>

namespace {

using kxcontour::Model;
using kxcontour::ModelRequest;
using kxcontour::UpAxis;

UpAxis AxisNamed(const std::string& name) {
    if (name == "x" || name == "y" || name == "z") {
        return static_cast<UpAxis>(name[0] - 'x');
    }
    throw std::invalid_argument("no axis is called '" + name + "'");
}

/// A point of a shape in the world, relative to the origin, rotated from y up to z up.
bench::Point Placed(const Wm4::Vector3<float>& p,
                    const Wm4::Matrix4<double>& world,
                    const Wm4::Vector3<double>& origin) {
    const auto along = [&](int axis) {
        double sum = world[3][axis] - origin[axis];
        for (int k = 0; k < 3; ++k) {
            sum += static_cast<double>(p[k]) * world[k][axis];
        }
        // A negative zero becomes a positive one.
        return static_cast<float>(sum) + 0.0F;
    };
    return {along(0), along(2) == 0.0F ? 0.0F : -along(2), along(1)};
}

/// Welds equal positions, which peers require of connected triangles, and drops unused ones. The
/// positions are sorted.
void Weld(bench::Part& part) {
    std::vector<bench::Point> positions;
    positions.reserve(3 * part.triangles.size());
    for (const bench::Triangle& triangle : part.triangles) {
        for (const std::uint32_t corner : triangle) {
            positions.push_back(part.positions[corner]);
        }
    }
    std::sort(positions.begin(), positions.end());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    for (bench::Triangle& triangle : part.triangles) {
        for (std::uint32_t& corner : triangle) {
            const auto position =
                std::lower_bound(positions.begin(), positions.end(), part.positions[corner]);
            corner = static_cast<std::uint32_t>(position - positions.begin());
        }
    }
    part.positions = std::move(positions);
}

bench::Part PartOf(const kxcontour::Shape& shape,
                   const Wm4::Matrix4<double>& world,
                   const Wm4::Vector3<double>& origin) {
    bench::Part part;
    for (int i = 0; i < shape.vertices->GetVertexQuantity(); ++i) {
        part.positions.push_back(Placed(shape.vertices->Position3(i), world, origin));
    }
    const unsigned int* corner = shape.triangles->GetData();
    for (int i = 0; i < shape.triangles->GetIndexQuantity(); i += 3, corner += 3) {
        part.triangles.push_back({corner[0], corner[1], corner[2]});
    }
    Weld(part);
    return part;
}

bench::Scene SceneOf(const Model& model) {
    const Wm4::Vector3<double> origin = kxcontour::ChooseOrigin(model);
    bench::Scene scene;
    for (const kxcontour::Placement& placement : model.placements) {
        bench::Part part = PartOf(model.shapes[placement.shape], placement.world, origin);
        if (!part.triangles.empty()) {
            part.name = "part" + std::to_string(scene.size());
            scene.push_back(std::move(part));
        }
    }
    return scene;
}

bench::Scene Convert(const std::string& path, const std::string& up) {
    ModelRequest request;
    request.path = path;
    if (!up.empty()) {
        request.up = AxisNamed(up);
    }
    Model model = kxcontour::ReadModel(request);
    kxcontour::CleanShapes(model);
    return SceneOf(model);
}

int Run(const std::vector<std::string>& words) {
    const bool converts = !words.empty() && words[0] == "--convert";
    if (converts ? words.size() < 3 || words.size() > 4 : words.size() != 2) {
        std::cerr << "usage: bench_make_model NAME OUT.obj\n"
                     "       bench_make_model --convert MODEL OUT.obj [x|y|z]\n";
        return 2;
    }
    const bench::Scene scene = converts ? Convert(words[1], words.size() == 4 ? words[3] : "")
                                        : bench::MakeScene(words[0]);
    bench::WriteObj(scene, words[converts ? 2 : 1]);
    std::cout << scene.size() << " parts, " << bench::TriangleCount(scene) << " triangles\n";
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::cerr << "bench_make_model: " << error.what() << "\n";
        return 1;
    }
}
