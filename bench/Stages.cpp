// Uses the public interface only, so that any version of the library can be measured.
#include "bench/Stages.h"

#include <ctr/ctr.h>

#include <kxCommonAddOns/kxLinearGenericBVHBuilder.h>
#include <kxSystem/kxCancelInterfaceReadOnly.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <unistd.h>

namespace bench {
namespace {

using ctr::BakedTriangles;
using ctr::GeometricFeatures;
using ctr::GeometricFeaturesGenerator;
using ctr::LineSegmentSet;
using LinePointer = kx::kxPointer<LineSegmentSet>;
using Lines = std::vector<LinePointer>; ///< One entry per mesh, null if it has none.

/// The crease angle of the library.
constexpr float kCreaseAngleInDegrees = 5.0F;
constexpr unsigned int kTrianglesInLeaf = 10;

double SegmentCount(const LinePointer& set) {
    const kx::kxIndexBuffer* lines = set ? set->GetIndexBuffer() : nullptr;
    return lines == nullptr ? 0.0 : static_cast<double>(lines->GetIndexQuantity()) / 2.0;
}

double SegmentCount(const Lines& lines) {
    double count = 0.0;
    for (const LinePointer& set : lines) {
        count += SegmentCount(set);
    }
    return count;
}

/// All lines as one set in world space.
LinePointer Fused(const Lines& lines) {
    std::vector<LineSegmentSet*> sets;
    sets.reserve(lines.size());
    for (const LinePointer& set : lines) {
        sets.push_back(set.get());
    }
    return LinePointer(LineSegmentSet::FuseLineSegmentSets(sets));
}

Lines CreasesOf(const Subject& subject) {
    const std::atomic<bool> never = false;
    const kx::kxCancelInterfaceProxyReadOnly neverCancel(never);
    Lines creases;
    for (const kx::kxTriMesh* mesh : subject.borrowed) {
        creases.emplace_back(LineSegmentSet::GetCreaseEdgesFromTriMesh(
            mesh, neverCancel, kCreaseAngleInDegrees, false));
    }
    return creases;
}

Lines SilhouettesOf(const BakedTriangles& baked) {
    std::vector<LineSegmentSet*> sets;
    baked.computeSilhouetteEdges(sets);
    return {sets.begin(), sets.end()};
}

/// Bakes the subject.
void SetUp(GeometricFeaturesGenerator& generator, const Subject& subject) {
    generator.setProjectionSpace(subject.camera);
    generator.setContactTolerance(subject.contactTolerance);
    generator.setSingleExportCluster(subject.borrowed, nullptr);
}

/// The same lines as a new set without occluded intervals.
LinePointer WithoutIntervals(const LinePointer& set) {
    return set ? LinePointer(LineSegmentSet::GetOutlineEdgesFromMesh(
                     set->GetVertexBuffer(), set->GetIndexBuffer(), set->GetWorldTransformation()))
               : set;
}

/// The boxes of baked triangles.
class TriangleBoxes : public kx::kxGenericBVHPrimitives {
public:
    explicit TriangleBoxes(const BakedTriangles& baked) : baked_(baked) {}

    unsigned int getPrimitiveQuantity() const override {
        return static_cast<unsigned int>(baked_.trianglePlanes.size());
    }

    kx::kxBBox getPrimitiveBox(unsigned int i) const override {
        const unsigned int* corner = baked_.triangleIndices.data() + 3 * std::size_t{i};
        kx::kxBBox box;
        for (int k = 0; k < 3; ++k) {
            const ctr::BakedVertex& v = baked_.vertices[corner[k]];
            const float point[3] = {static_cast<float>(v.x), static_cast<float>(v.y),
                                    static_cast<float>(v.z)};
            for (int axis = 0; axis < 3; ++axis) {
                box.min[axis] = std::min(box.min[axis], point[axis]);
                box.max[axis] = std::max(box.max[axis], point[axis]);
            }
        }
        return box;
    }

private:
    const BakedTriangles& baked_;
};

/// A file that is removed with the object.
class TemporaryFile {
public:
    TemporaryFile()
        : path_(std::filesystem::temp_directory_path() /
                ("kxcontour-bench-" + std::to_string(getpid()) + ".svg")) {}
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    std::string path() const { return path_.string(); }
    double size() const { return static_cast<double>(std::filesystem::file_size(path_)); }

private:
    std::filesystem::path path_;
};

void Write(const GeometricFeatures& features,
           const ctr::DiscreteProjectionSpace& camera,
           const std::string& path) {
    ctr::SVGExporter exporter;
    exporter.setExportParameters(ctr::ExportParameters(camera));
    if (!exporter.openFile(path) || !exporter.streamGeometricFeatures(features) ||
        !exporter.closeFile()) {
        throw std::runtime_error(path + ": cannot be written");
    }
}

std::vector<Counter> CountersOf(const GeometricFeatures& features) {
    return {{"creases", SegmentCount(features.creaseEdges)},
            {"silhouettes", SegmentCount(features.silhouetteEdges)},
            {"intersections", SegmentCount(features.intersectionEdges)}};
}

} // namespace

struct Stages::tInternal {
    explicit tInternal(Subject newSubject) : subject(std::move(newSubject)) {}

    /// A generator that has baked.
    GeometricFeaturesGenerator& bakedGenerator() {
        if (!generator) {
            generator = std::make_unique<GeometricFeaturesGenerator>();
            SetUp(*generator, subject);
        }
        return *generator;
    }

    const BakedTriangles& bakedTriangles() { return bakedGenerator().getBakedTriangles(0); }

    const GeometricFeatures& allFeatures() {
        if (!features) {
            features.emplace();
            bakedGenerator().computeGeometricFeatures(*features, 0, true);
        }
        return *features;
    }

    Subject subject;
    std::unique_ptr<GeometricFeaturesGenerator> generator;
    std::optional<GeometricFeatures> features;
};

Stages::Stages(Subject subject) : internal_(std::make_unique<tInternal>(std::move(subject))) {}
Stages::~Stages() = default;

const Subject& Stages::subject() const {
    return internal_->subject;
}

Run Stages::bake() {
    GeometricFeaturesGenerator generator;
    const Cost cost = Measured([&] { SetUp(generator, internal_->subject); });
    const BakedTriangles& baked = generator.getBakedTriangles(0);
    return {cost, {{"nodes", static_cast<double>(baked.bvh.nodes.size())}}};
}

Run Stages::tree() {
    const TriangleBoxes boxes(internal_->bakedTriangles());
    kx::kxGenericBVH bvh;
    const Cost cost = Measured(
        [&] { kx::kxLinearGenericBVHBuilder::build(bvh, boxes, nullptr, kTrianglesInLeaf); });
    return {cost, {{"nodes", static_cast<double>(bvh.nodes.size())}}};
}

Run Stages::creases() {
    Lines lines;
    const Cost cost = Measured([&] { lines = CreasesOf(internal_->subject); });
    return {cost, {{"segments", SegmentCount(lines)}}};
}

Run Stages::silhouettes() {
    const BakedTriangles& baked = internal_->bakedTriangles();
    Lines lines;
    const Cost cost = Measured([&] { lines = SilhouettesOf(baked); });
    return {cost, {{"segments", SegmentCount(lines)}}};
}

Run Stages::commonLines() {
    const LinePointer creases = Fused(CreasesOf(internal_->subject));
    const LinePointer silhouettes = Fused(SilhouettesOf(internal_->bakedTriangles()));
    const double before = SegmentCount(creases);
    const Cost cost =
        Measured([&] { LineSegmentSet::RemoveCommonSegments(creases.get(), silhouettes.get()); });
    return {cost, {{"segments", before}, {"left", SegmentCount(creases)}}};
}

Run Stages::occlusion() {
    const GeometricFeatures& features = internal_->allFeatures();
    const Lines lines{WithoutIntervals(features.creaseEdges),
                      WithoutIntervals(features.silhouetteEdges)};
    const Cost cost = Measured([&] {
        for (const LinePointer& set : lines) {
            if (set) {
                internal_->bakedGenerator().computeOcclusion(*set, 0);
            }
        }
    });
    return {cost, {{"segments", SegmentCount(lines)}}};
}

Run Stages::intersections() {
    const ctr::TrianglesIntersection search(internal_->bakedTriangles());
    LinePointer lines;
    const Cost cost = Measured([&] { lines = LinePointer(search.computeIntersectionEdges()); });
    return {cost, {{"pieces", SegmentCount(lines)}}};
}

Run Stages::chaining() {
    const GeometricFeatures& features = internal_->allFeatures();
    double pieces = 0.0;
    const Cost cost = Measured([&] {
        for (const LinePointer& set :
             {features.creaseEdges, features.silhouetteEdges, features.intersectionEdges}) {
            const LinePointer visible(set ? LineSegmentSet::BakeVisibleSegments(set.get())
                                          : nullptr);
            if (visible) {
                std::vector<LineSegmentSet::ArcFeature> arcs;
                const LinePointer paths(LineSegmentSet::BuildPolylines(*visible, arcs, true));
                pieces += SegmentCount(paths);
            }
        }
    });
    return {cost, {{"pieces", pieces}}};
}

Run Stages::svg() {
    const GeometricFeatures& features = internal_->allFeatures();
    const TemporaryFile file;
    const Cost cost = Measured([&] { Write(features, internal_->subject.camera, file.path()); });
    return {cost, {{"file_bytes", file.size()}}};
}

Run Stages::everything() {
    const TemporaryFile file;
    GeometricFeatures features;
    const Cost cost = Measured([&] {
        GeometricFeaturesGenerator generator;
        SetUp(generator, internal_->subject);
        generator.computeGeometricFeatures(features, 0, true);
        Write(features, internal_->subject.camera, file.path());
    });
    return {cost, CountersOf(features)};
}

} // namespace bench
