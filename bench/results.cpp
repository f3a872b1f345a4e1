// Prints a fingerprint of all results of the library, to verify that two versions give the same
// ones; bench/same-results compares with an earlier commit.
//
//     bench_results MODEL...
//
// A model is a name of bench_make_model or an OBJ file written by it. Prints one line per view, of
// three: the 64-bit hash (FNV-1a of G. Fowler, L. C. Noll and K.-P. Vo) of all line sets, bit for
// bit and in order, with their occluded intervals as fractions and their clip records, and of the
// SVG document.
#include <ctr/ctr.h>

#include "bench/ObjFile.h"
#include "bench/Subject.h"

#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace {

using bench::Subject;
using bench::View;
using ctr::GeometricFeaturesGenerator;
using ctr::LineSegmentSet;
using LinePointer = kx::kxPointer<LineSegmentSet>;

class Fingerprint {
public:
    void add(const void* data, std::size_t size) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        for (std::size_t i = 0; i < size; ++i) {
            hash_ = (hash_ ^ bytes[i]) * 0x100000001b3U;
        }
    }

    template <class Number> void addNumber(Number number) { add(&number, sizeof number); }

    void add(const LineSegmentSet* set) {
        if (set == nullptr) {
            return addNumber('-');
        }
        addVertices(*set);
        for (const auto& ranges : set->occlusionIntervals) {
            addNumber(ranges.size());
            for (const ctr::RationalInterval& range : ranges) {
                for (const auto& end : {range.start, range.end}) {
                    addNumber(end[0]);
                    addNumber(end[1]);
                }
            }
        }
        for (const LineSegmentSet::ClipRange& clip : set->clipRanges) {
            for (const float value : {clip.t0, clip.t1, clip.w0, clip.w1}) {
                addNumber(value);
            }
        }
    }

    std::uint64_t hash() const { return hash_; }

private:
    void addVertices(const LineSegmentSet& set) {
        const kx::kxIndexBuffer& lines = *set.GetIndexBuffer();
        addNumber(lines.GetIndexQuantity());
        for (int i = 0; i < lines.GetIndexQuantity(); ++i) {
            const auto vertex = static_cast<int>(lines.GetData()[i]);
            const Wm4::Vector3<float>& p = set.GetVertexBuffer()->Position3(vertex);
            addNumber(vertex);
            for (int axis = 0; axis < 3; ++axis) {
                addNumber(p[axis]);
            }
        }
    }

    std::uint64_t hash_ = 0xcbf29ce484222325U;
};

void AddDocument(const ctr::GeometricFeatures& features,
                 const ctr::DiscreteProjectionSpace& camera,
                 Fingerprint& fingerprint) {
    const std::string path = (std::filesystem::temp_directory_path() /
                              ("bench-results-" + std::to_string(getpid()) + ".svg"))
                                 .string();
    ctr::SVGExporter exporter;
    exporter.setExportParameters(ctr::ExportParameters(camera));
    if (!exporter.openFile(path) || !exporter.streamGeometricFeatures(features) ||
        !exporter.closeFile()) {
        throw std::runtime_error(path + ": cannot be written");
    }
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    std::filesystem::remove(path);
    fingerprint.add(text.data(), text.size());
}

std::uint64_t FingerprintOf(const Subject& subject) {
    GeometricFeaturesGenerator generator;
    generator.setProjectionSpace(subject.camera);
    generator.setSingleExportCluster(subject.borrowed, nullptr);
    ctr::GeometricFeatures features;
    generator.computeGeometricFeatures(features, 0, true);
    Fingerprint fingerprint;
    fingerprint.add(features.creaseEdges.get());
    fingerprint.add(features.silhouetteEdges.get());
    fingerprint.add(features.intersectionEdges.get());
    LinePointer hidden;
    const LinePointer visible(generator.computeIntersectionEdges(0, &hidden));
    fingerprint.add(visible.get());
    fingerprint.add(hidden.get());
    AddDocument(features, subject.camera, fingerprint);
    return fingerprint.hash();
}

bool IsFile(const std::string& model) {
    return model.find('.') != std::string::npos;
}

void Print(const std::string& model) {
    const bench::Scene scene = IsFile(model) ? bench::ReadObj(model) : bench::MakeScene(model);
    const std::string name = IsFile(model) ? std::filesystem::path(model).stem().string() : model;
    struct NamedView {
        const char* name;
        View view;
    };
    constexpr NamedView kViews[] = {
        {"turned", View::Turned}, {"aligned", View::Aligned}, {"perspective", View::Perspective}};
    for (const auto& [viewName, view] : kViews) {
        const std::uint64_t hash = FingerprintOf(bench::MakeSubject(scene, view));
        std::printf("%-12s %-12s %016llx\n", name.c_str(), viewName,
                    static_cast<unsigned long long>(hash));
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char** argv) {
    try {
        for (int i = 1; i < argc; ++i) {
            Print(argv[i]);
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "bench_results: " << error.what() << "\n";
        return 1;
    }
}
