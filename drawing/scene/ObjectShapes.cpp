// Runs over the placements once; what objects are made of is looked up by the list of their shapes.
#include "drawing/scene/ObjectShapes.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

namespace kxcontour {
namespace {

using ShapeList = std::vector<std::size_t>;

class ShapeJoiner {
public:
    explicit ShapeJoiner(Model& model) : model_(model) {}

    void run() {
        const std::vector<Placement> placements = std::move(model_.placements);
        model_.placements.clear();
        for (std::size_t first = 0; first < placements.size();) {
            std::size_t end = first + 1;
            while (end < placements.size() && isTogether(placements[first], placements[end])) {
                ++end;
            }
            for (const bool normals : {true, false}) {
                place(shapesOf(placements, first, end, normals), placements[first]);
            }
            first = end;
        }
        model_.shapes = std::move(shapes_);
    }

private:
    static bool isTogether(const Placement& a, const Placement& b) {
        return a.object == b.object && a.world == b.world;
    }

    ShapeList shapesOf(const std::vector<Placement>& placements,
                       std::size_t first,
                       std::size_t end,
                       bool normals) const {
        ShapeList list;
        for (std::size_t i = first; i < end; ++i) {
            if (model_.shapes[placements[i].shape].hasNormals() == normals) {
                list.push_back(placements[i].shape);
            }
        }
        return list;
    }

    void place(const ShapeList& list, const Placement& at) {
        for (const ShapeList& part : partsOf(list)) {
            const auto [found, isNew] = numbers_.emplace(part, shapes_.size());
            if (isNew) {
                shapes_.push_back(part.size() == 1 ? model_.shapes[part.front()] : join(part));
            }
            model_.placements.push_back({found->second, at.object, at.world});
        }
    }

    /// The list in pieces whose vertices and corners can be numbered.
    std::vector<ShapeList> partsOf(const ShapeList& list) const {
        constexpr std::int64_t kMost = std::numeric_limits<int>::max();
        std::vector<ShapeList> parts;
        std::int64_t vertices = 0;
        std::int64_t corners = 0;
        for (const std::size_t number : list) {
            const Shape& shape = model_.shapes[number];
            vertices += shape.vertices->GetVertexQuantity();
            corners += shape.triangles->GetIndexQuantity();
            if (parts.empty() || vertices > kMost || corners > kMost) {
                parts.emplace_back();
                vertices = shape.vertices->GetVertexQuantity();
                corners = shape.triangles->GetIndexQuantity();
            }
            parts.back().push_back(number);
        }
        return parts;
    }

    Shape join(const ShapeList& list) const {
        int vertexCount = 0;
        int cornerCount = 0;
        for (const std::size_t number : list) {
            vertexCount += model_.shapes[number].vertices->GetVertexQuantity();
            cornerCount += model_.shapes[number].triangles->GetIndexQuantity();
        }
        Shape joined;
        joined.vertices = new kx::kxVertexBuffer(
            model_.shapes[list.front()].vertices->GetAttributes(), vertexCount);
        joined.triangles = new kx::kxIndexBuffer(cornerCount, kx::IBT_TRIANGLES);
        int vertex = 0;
        unsigned int* next = joined.triangles->GetData();
        for (const std::size_t number : list) {
            const Shape& shape = model_.shapes[number];
            const unsigned int* indices = shape.triangles->GetData();
            next = std::transform(
                indices, indices + shape.triangles->GetIndexQuantity(), next,
                [vertex](unsigned int index) { return index + static_cast<unsigned int>(vertex); });
            vertex = appendVertices(*shape.vertices, *joined.vertices, vertex);
        }
        return joined;
    }

    /// Returns the number of the vertex after the last one.
    static int appendVertices(const kx::kxVertexBuffer& from, kx::kxVertexBuffer& to, int first) {
        const bool normals = from.GetAttributes().GetNormalChannels() == 3;
        for (int i = 0; i < from.GetVertexQuantity(); ++i) {
            to.Position3(first + i) = from.Position3(i);
            if (normals) {
                to.Normal3(first + i) = from.Normal3(i);
            }
        }
        return first + from.GetVertexQuantity();
    }

    Model& model_;
    std::vector<Shape> shapes_; ///< The model's, when all is joined.
    std::map<ShapeList, std::size_t> numbers_;
};

} // namespace

void JoinShapesOfObjects(Model& model) {
    ShapeJoiner(model).run();
}

} // namespace kxcontour
