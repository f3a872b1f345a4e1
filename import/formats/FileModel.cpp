// Renumbers the vertices of each object and subtracts an origin from their positions.
#include "import/formats/FileModel.h"

#include <kxDrawing/Errors.h>

#include "drawing/scene/Box.h"
#include "drawing/scene/CoordinateSteps.h"
#include "drawing/scene/Placing.h"
#include "drawing/scene/SharedVertices.h"
#include "import/formats/FormatRules.h"

#include <algorithm>
#include <cmath>

namespace kxcontour {
namespace {

using Vector = Wm4::Vector3<double>;

/// Whether single precision can represent the position.
bool FitsFloat(const FilePoint& p) {
    const auto limit = static_cast<double>(std::numeric_limits<float>::max());
    return std::abs(p[0]) <= limit && std::abs(p[1]) <= limit && std::abs(p[2]) <= limit;
}

/// The box of all corners of triangles.
Box CornerBox(const FileModel& file) {
    Box box;
    for (const FileObject& object : file.objects) {
        for (const std::uint32_t corner : object.corners) {
            if (corner < file.positions.size() && FitsFloat(file.positions[corner])) {
                const FilePoint& p = file.positions[corner];
                box.add({p[0], p[1], p[2]});
            }
        }
    }
    return box;
}

/// Makes the shapes of objects.
class ShapeMaker {
public:
    ShapeMaker(const FileModel& file, const Vector& origin)
        : file_(file), origin_(origin), first_(file.positions.size(), kNoIndex) {}

    Shape make(const FileObject& object) {
        gatherVertices(object);
        Shape shape;
        shape.vertices = vertices(!object.normals.empty());
        shape.triangles =
            new kx::kxIndexBuffer(static_cast<int>(corners_.size()), kx::IBT_TRIANGLES);
        std::copy(corners_.begin(), corners_.end(), shape.triangles->GetData());
        if (object.normals.empty()) {
            ShareVertices(shape);
        }
        return shape;
    }

    /// Of the coordinates of the last shape in the file, if they were floats.
    FloatSteps steps() const {
        return MeasureSteps(vertices_.size(),
                            [&](std::size_t i) { return file_.positions[vertices_[i].position]; });
    }

private:
    /// A vertex of the shape; those of one position are a chain.
    struct Vertex {
        std::uint32_t position;
        std::uint32_t normal;
        std::uint32_t next; ///< Of the same position, or kNoIndex.
    };

    /// Positions that have more normals than this get vertices of their own for the rest.
    static constexpr int kLongestChain = 64;

    void gatherVertices(const FileObject& object) {
        for (const Vertex& vertex : vertices_) {
            first_[vertex.position] = kNoIndex;
        }
        vertices_.clear();
        corners_.clear();
        for (std::size_t i = 0; i < object.corners.size(); ++i) {
            const std::uint32_t position = object.corners[i];
            corners_.push_back(position >= file_.positions.size() ? kNoIndex
                               : object.normals.empty()           ? vertexAt(position)
                                                        : vertexAt(position, object.normals[i]));
        }
    }

    std::uint32_t vertexAt(std::uint32_t position) {
        return first_[position] == kNoIndex ? addVertex(position, kNoIndex) : first_[position];
    }

    /// Corners without a normal are each a vertex, so that each may get the normal of its triangle.
    std::uint32_t vertexAt(std::uint32_t position, std::uint32_t normal) {
        std::uint32_t at = normal == kNoIndex ? kNoIndex : first_[position];
        for (int i = 0; i < kLongestChain && at != kNoIndex; ++i) {
            if (vertices_[at].normal == normal) {
                return at;
            }
            at = vertices_[at].next;
        }
        return addVertex(position, normal);
    }

    std::uint32_t addVertex(std::uint32_t position, std::uint32_t normal) {
        const auto number = static_cast<std::uint32_t>(vertices_.size());
        vertices_.push_back({position, normal, first_[position]});
        first_[position] = number;
        return number;
    }

    kx::kxPointer<kx::kxVertexBuffer> vertices(bool withNormals) const {
        kx::kxAttributes attributes;
        attributes.SetPositionChannels(3);
        attributes.SetNormalChannels(withNormals ? 3 : 0);
        const int count = static_cast<int>(vertices_.size());
        kx::kxPointer<kx::kxVertexBuffer> buffer(new kx::kxVertexBuffer(attributes, count));
        for (int i = 0; i < count; ++i) {
            const Vertex& vertex = vertices_[static_cast<std::size_t>(i)];
            const FilePoint& p = file_.positions[vertex.position];
            buffer->Position3(i) = {static_cast<float>(p[0] - origin_[0]),
                                    static_cast<float>(p[1] - origin_[1]),
                                    static_cast<float>(p[2] - origin_[2])};
            if (withNormals) {
                buffer->Normal3(i) = vertex.normal == kNoIndex ? Wm4::Vector3<float>(0, 0, 0)
                                                               : file_.normals[vertex.normal];
            }
        }
        return buffer;
    }

    const FileModel& file_;
    Vector origin_;
    std::vector<std::uint32_t> first_; ///< By position: where its chain begins.
    std::vector<Vertex> vertices_;
    std::vector<std::uint32_t> corners_;
};

double LargestOf(const FilePoint& p) {
    return std::max({p[0], p[1], p[2]});
}

Wm4::Matrix4<double> MoveBy(const Vector& v) {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, v[0], v[1], v[2], 1};
}

void RequireCountable(const FileModel& file, const ModelRequest& request) {
    const std::size_t limit = std::numeric_limits<int>::max();
    for (const FileObject& object : file.objects) {
        if (object.corners.size() > limit) {
            RefuseModel(request, "one of its meshes has too many triangles");
        }
    }
}

} // namespace

void Triangulate(FileFaces faces, FileModel& model, FileObject& object) {
    if (std::all_of(faces.sizes.begin(), faces.sizes.end(),
                    [](std::uint32_t size) { return size == 3; })) {
        object.corners = std::move(faces.corners);
        object.normals = std::move(faces.normals);
        return;
    }
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    PolygonTriangulator triangulator;
    std::vector<FilePoint> polygon;
    const std::uint32_t* corners = faces.corners.data();
    const std::uint32_t* normals = faces.normals.empty() ? nullptr : faces.normals.data();
    for (const std::uint32_t size : faces.sizes) {
        model.leftOutPolygons += size < 3 ? 1 : 0;
        model.cutPolygons += size > 3 ? 1 : 0;
        polygon.clear();
        std::for_each_n(corners, size, [&](std::uint32_t position) {
            polygon.push_back(position < model.positions.size() ? model.positions[position]
                                                                : FilePoint{kNone, kNone, kNone});
        });
        for (const std::uint32_t corner : triangulator.triangulate(polygon)) {
            object.corners.push_back(corners[corner]);
            if (normals != nullptr) {
                object.normals.push_back(normals[corner]);
            }
        }
        corners += size;
        normals += normals == nullptr ? 0 : size;
    }
}

Model ModelFromFile(const FileModel& file, const ModelRequest& request) {
    RequireCountable(file, request);
    const bool zUp = RulesOf(file.format).axes == SceneAxes::ZUp;
    const Vector origin = RoundOrigin(CornerBox(file));
    Model model;
    model.format = file.format;
    model.cutPolygons = file.cutPolygons;
    model.leftOutPolygons = file.leftOutPolygons;
    model.unitStated = request.unit.has_value();
    model.millimetresPerUnit = request.unit ? InMillimetres(*request.unit) : 1.0;
    model.fileToWorld = StandUp(request.up.value_or(zUp ? UpAxis::Z : UpAxis::Y));
    ShapeMaker maker(file, origin);
    for (const FileObject& object : file.objects) {
        if (object.corners.empty()) {
            continue;
        }
        model.placements.push_back(
            {model.shapes.size(), model.objects.size(), MoveBy(origin) * model.fileToWorld});
        model.shapes.push_back(maker.make(object));
        if (file.fromFloats) {
            const FloatSteps steps = maker.steps();
            model.floatStep = std::max(model.floatStep, LargestOf(steps.all));
            model.coordinateStep = std::max(model.coordinateStep, LargestOf(steps.lost));
        }
        model.objects.push_back(object.name);
    }
    return model;
}

void RefuseModel(const ModelRequest& request, const std::string& why) {
    throw UnreadableModel(request, why);
}

void RefuseWord(const ModelRequest& request, TextScanner scanner, const std::string& wanted) {
    constexpr std::size_t kLongest = 40;
    const std::string place = scanner.place();
    RefuseModel(request, place + ": '" + std::string(scanner.word().substr(0, kLongest)) +
                             "' is not " + wanted);
}

void RefuseCutModel(const ModelRequest& request) {
    throw kxdrawing::CannotRead(NameOf(request) + ": is truncated or damaged: its end is missing");
}

} // namespace kxcontour
