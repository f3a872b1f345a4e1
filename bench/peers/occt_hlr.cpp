// The polygonal hidden-line removal of OpenCASCADE on one model; run by bench/compare:
//
//     bench_occt_hlr MODEL.obj
//
// It works on faces with edges in common, so each triangle becomes a plane face; edges with a
// dihedral angle below 30 degrees are marked as smooth, since it has no limit of its own. Prints
// the seconds from loading these shapes into the algorithm to its lines; making the shapes takes
// longer, and is not counted. It draws no intersections.
#include "bench/ObjFile.h"

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Builder.hxx>
#include <HLRAlgo_Projector.hxx>
#include <HLRBRep_PolyAlgo.hxx>
#include <HLRBRep_PolyHLRToShape.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Wire.hxx>
#include <algorithm>
#include <chrono>
#include <exception>
#include <gp_Ax2.hxx>
#include <gp_Dir.hxx>
#include <gp_Pln.hxx>
#include <iomanip>
#include <iostream>
#include <map>
#include <utility>

namespace {

using bench::Part;
using bench::Point;
using bench::Triangle;

constexpr double kCreaseInRadians = 30.0 * 3.14159265358979323846 / 180.0;

gp_Pnt Wide(const Point& p) {
    return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

/// The faces of one part.
class ShapeMaker {
public:
    explicit ShapeMaker(const Part& part) : part_(part) { builder_.MakeCompound(faces_); }

    TopoDS_Compound make() {
        for (const Point& p : part_.positions) {
            TopoDS_Vertex vertex;
            builder_.MakeVertex(vertex, Wide(p), 1e-7);
            vertices_.push_back(vertex);
        }
        for (const Triangle& triangle : part_.triangles) {
            addFace(triangle);
        }
        const BRepMesh_IncrementalMesh mesher(faces_, 0.1);
        return faces_;
    }

private:
    /// An edge with the first of its faces.
    struct Edge {
        TopoDS_Edge shape;
        TopoDS_Face face;
        gp_Dir normal;
    };

    void addFace(const Triangle& t) {
        const gp_Pnt a = Wide(part_.positions[t[0]]);
        const gp_Vec up =
            gp_Vec(a, Wide(part_.positions[t[1]])).Crossed(gp_Vec(a, Wide(part_.positions[t[2]])));
        if (up.SquareMagnitude() == 0.0) {
            return;
        }
        TopoDS_Wire outline;
        builder_.MakeWire(outline);
        for (std::size_t corner = 0; corner < 3; ++corner) {
            const bool forward = t[corner] < t[(corner + 1) % 3];
            const TopoDS_Edge& edge = edgeOf(t, corner).shape;
            if (edge.IsNull()) {
                return; // Its ends are too close to each other.
            }
            builder_.Add(outline, forward ? edge : TopoDS::Edge(edge.Reversed()));
        }
        outline.Closed(Standard_True);
        const BRepBuilderAPI_MakeFace maker(gp_Pln(a, gp_Dir(up)), outline, Standard_True);
        builder_.Add(faces_, maker.Face());
        for (std::size_t corner = 0; corner < 3; ++corner) {
            markSmooth(edgeOf(t, corner), maker.Face(), gp_Dir(up));
        }
    }

    Edge& edgeOf(const Triangle& t, std::size_t corner) {
        const auto [low, high] = std::minmax(t[corner], t[(corner + 1) % 3]);
        const auto [entry, isNew] = edges_.try_emplace({low, high});
        if (isNew) {
            BRepBuilderAPI_MakeEdge maker(vertices_[low], vertices_[high]);
            if (maker.IsDone()) {
                entry->second.shape = maker.Edge();
            }
        }
        return entry->second;
    }

    void markSmooth(Edge& edge, const TopoDS_Face& face, const gp_Dir& normal) {
        if (edge.face.IsNull()) {
            edge.face = face;
            edge.normal = normal;
        } else if (edge.normal.Angle(normal) <= kCreaseInRadians) {
            builder_.Continuity(edge.shape, edge.face, face, GeomAbs_CN);
        }
    }

    const Part& part_;
    BRep_Builder builder_;
    TopoDS_Compound faces_;
    std::vector<TopoDS_Vertex> vertices_;
    std::map<std::pair<std::uint32_t, std::uint32_t>, Edge> edges_;
};

int EdgeCount(const TopoDS_Shape& shape) {
    int count = 0;
    if (!shape.IsNull()) {
        for (TopExp_Explorer edge(shape, TopAbs_EDGE); edge.More(); edge.Next()) {
            ++count;
        }
    }
    return count;
}

int Run(const std::string& path) {
    BRep_Builder builder;
    TopoDS_Compound all;
    builder.MakeCompound(all);
    for (const Part& part : bench::ReadObj(path)) {
        builder.Add(all, ShapeMaker(part).make());
    }
    // The view's own middle does not matter: nothing is drawn to scale here.
    const gp_Dir back(1.0, -1.3, 0.8);
    const gp_Ax2 axes(gp_Pnt(0.0, 0.0, 0.0), back, gp_Dir(0.0, 0.0, 1.0).Crossed(back));
    const auto start = std::chrono::steady_clock::now();
    const Handle(HLRBRep_PolyAlgo) algorithm = new HLRBRep_PolyAlgo();
    algorithm->Projector(HLRAlgo_Projector(axes));
    algorithm->Load(all);
    algorithm->Update();
    HLRBRep_PolyHLRToShape lines;
    lines.Update(algorithm);
    const int count = EdgeCount(lines.VCompound()) + EdgeCount(lines.OutLineVCompound());
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::cout << std::fixed << std::setprecision(6) << "BENCH seconds " << seconds.count()
              << "\nBENCH lines " << count << "\n";
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: bench_occt_hlr MODEL.obj\n";
        return 2;
    }
    try {
        return Run(argv[1]);
    } catch (const Standard_Failure& failure) {
        std::cerr << "bench_occt_hlr: " << failure.GetMessageString() << "\n";
    } catch (const std::exception& error) {
        std::cerr << "bench_occt_hlr: " << error.what() << "\n";
    }
    return 1;
}
