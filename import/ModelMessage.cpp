// Values as they lie in memory: both ends are one program on one machine.
#include "import/ModelMessage.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace kxcontour {
namespace {

enum class Outcome : std::uint8_t { Failed, Read, Opened };

/// No message of a failure is longer.
constexpr std::size_t kLongestMessage = 1U << 16U;

constexpr std::size_t kAnyLength = std::numeric_limits<std::size_t>::max();

void Require(bool holds) {
    if (!holds) {
        throw PipeSpoiled();
    }
}

/// Receives values in blocks, as no count is to be believed before so many bytes have come.
template <class T> class Blocks {
public:
    Blocks(PipeReader& pipe, std::size_t count) {
        while (count > 0) {
            const std::size_t size = std::min(count, kBlockSize);
            blocks_.push_back({std::make_unique_for_overwrite<T[]>(size), size});
            pipe.bytes(blocks_.back().values.get(), size * sizeof(T));
            count -= size;
        }
    }

    /// Hands over the values in their order, and lets go of the memory on the way.
    template <class Take> void drain(const Take& take) {
        for (Block& block : blocks_) {
            std::for_each_n(block.values.get(), block.size, take);
            block.values.reset();
        }
    }

private:
    static constexpr std::size_t kBlockSize = std::size_t{1} << 14U;

    struct Block {
        std::unique_ptr<T[]> values;
        std::size_t size;
    };

    std::vector<Block> blocks_;
};

struct Triple {
    float x;
    float y;
    float z;
};

void SendShape(PipeWriter& pipe, const Shape& shape) {
    const kx::kxVertexBuffer& vertices = *shape.vertices;
    const int count = vertices.GetVertexQuantity();
    const bool withNormals = vertices.GetAttributes().GetNormalChannels() == 3;
    pipe.value(count);
    pipe.value(withNormals);
    for (int i = 0; i < count; ++i) {
        pipe.bytes(&vertices.Position3(i)[0], 3 * sizeof(float));
    }
    for (int i = 0; withNormals && i < count; ++i) {
        pipe.bytes(&vertices.Normal3(i)[0], 3 * sizeof(float));
    }
    const kx::kxIndexBuffer& triangles = *shape.triangles;
    pipe.value(triangles.GetIndexQuantity());
    pipe.bytes(triangles.GetData(),
               sizeof(unsigned int) * static_cast<std::size_t>(triangles.GetIndexQuantity()));
}

kx::kxPointer<kx::kxVertexBuffer> ReceiveVertices(PipeReader& pipe) {
    const int count = pipe.value<int>();
    const bool withNormals = pipe.flag();
    Require(count >= 0);
    Blocks<Triple> positions(pipe, static_cast<std::size_t>(count));
    Blocks<Triple> normals(pipe, withNormals ? static_cast<std::size_t>(count) : 0);
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(withNormals ? 3 : 0);
    kx::kxPointer<kx::kxVertexBuffer> vertices(new kx::kxVertexBuffer(attributes, count));
    int at = 0;
    positions.drain([&](const Triple& p) { vertices->Position3(at++) = {p.x, p.y, p.z}; });
    at = 0;
    normals.drain([&](const Triple& n) { vertices->Normal3(at++) = {n.x, n.y, n.z}; });
    return vertices;
}

kx::kxPointer<kx::kxIndexBuffer> ReceiveTriangles(PipeReader& pipe) {
    const int count = pipe.value<int>();
    Require(count >= 0 && count % 3 == 0);
    Blocks<unsigned int> indices(pipe, static_cast<std::size_t>(count));
    kx::kxPointer<kx::kxIndexBuffer> triangles(new kx::kxIndexBuffer(count, kx::IBT_TRIANGLES));
    unsigned int* to = triangles->GetData();
    indices.drain([&](unsigned int index) { *to++ = index; });
    return triangles;
}

Shape ReceiveShape(PipeReader& pipe) {
    Shape shape;
    shape.vertices = ReceiveVertices(pipe);
    shape.triangles = ReceiveTriangles(pipe);
    return shape;
}

Placement ReceivePlacement(PipeReader& pipe) {
    Placement placement;
    placement.shape = pipe.value<std::size_t>();
    placement.object = pipe.value<std::size_t>();
    pipe.bytes(&placement.world[0][0], 16 * sizeof(double));
    return placement;
}

void SendTexts(PipeWriter& pipe, const std::vector<std::string>& texts) {
    pipe.value(texts.size());
    for (const std::string& text : texts) {
        pipe.text(text);
    }
}

std::vector<std::string> ReceiveTexts(PipeReader& pipe) {
    std::vector<std::string> texts;
    for (auto left = pipe.value<std::size_t>(); left > 0; --left) {
        texts.push_back(pipe.text(kAnyLength));
    }
    return texts;
}

void SendFacts(PipeWriter& pipe, const Model& model) {
    SendTexts(pipe, model.objects);
    pipe.text(model.format);
    pipe.value(model.millimetresPerUnit);
    pipe.value(model.unitStated);
    pipe.bytes(&model.fileToWorld[0][0], 16 * sizeof(double));
    pipe.value(model.floatStep);
    pipe.value(model.coordinateStep);
    pipe.value(model.cutPolygons);
    pipe.value(model.leftOutPolygons);
    pipe.text(model.refusedFile);
    SendTexts(pipe, model.sideFiles);
}

void ReceiveFacts(PipeReader& pipe, Model& model) {
    model.objects = ReceiveTexts(pipe);
    model.format = pipe.text(kLongestMessage);
    model.millimetresPerUnit = pipe.value<double>();
    model.unitStated = pipe.flag();
    pipe.bytes(&model.fileToWorld[0][0], 16 * sizeof(double));
    model.floatStep = pipe.value<double>();
    model.coordinateStep = pipe.value<double>();
    model.cutPolygons = pipe.value<std::size_t>();
    model.leftOutPolygons = pipe.value<std::size_t>();
    model.refusedFile = pipe.text(kLongestMessage);
    model.sideFiles = ReceiveTexts(pipe);
}

bool IsFinite(const Wm4::Matrix4<double>& matrix) {
    const double* const entries = &matrix[0][0];
    return std::all_of(entries, entries + 16, [](double entry) { return std::isfinite(entry); });
}

bool IsStep(double step) {
    return std::isfinite(step) && step >= 0.0;
}

/// What the rest of the tool relies on.
void RequireSound(const Model& model) {
    const double unit = model.millimetresPerUnit;
    Require(std::isfinite(unit) && unit > 0.0);
    Require(IsStep(model.floatStep) && IsStep(model.coordinateStep));
    Require(IsFinite(model.fileToWorld));
    for (const Placement& placement : model.placements) {
        Require(placement.shape < model.shapes.size() && placement.object < model.objects.size());
    }
}

Model ReceiveWholeModel(PipeReader& pipe) {
    Model model;
    for (auto left = pipe.value<std::size_t>(); left > 0; --left) {
        model.shapes.push_back(ReceiveShape(pipe));
    }
    for (auto left = pipe.value<std::size_t>(); left > 0; --left) {
        model.placements.push_back(ReceivePlacement(pipe));
    }
    ReceiveFacts(pipe, model);
    RequireSound(model);
    return model;
}

Failure ReceiveFailure(PipeReader& pipe) {
    const auto code = pipe.value<ExitCode>();
    Require(code == ExitCode::Unreadable || code == ExitCode::Usage);
    return {code, pipe.text(kLongestMessage)};
}

} // namespace

void SendOpened(PipeWriter& pipe, std::uint64_t size) {
    pipe.value(Outcome::Opened);
    pipe.value(size);
    pipe.flush();
}

void SendModel(PipeWriter& pipe, const Model& model) {
    pipe.value(Outcome::Read);
    pipe.value(model.shapes.size());
    for (const Shape& shape : model.shapes) {
        SendShape(pipe, shape);
    }
    pipe.value(model.placements.size());
    for (const Placement& placement : model.placements) {
        pipe.value(placement.shape);
        pipe.value(placement.object);
        pipe.bytes(&placement.world[0][0], 16 * sizeof(double));
    }
    SendFacts(pipe, model);
}

void SendFailure(PipeWriter& pipe, const Failure& failure) {
    pipe.value(Outcome::Failed);
    pipe.value(failure.code());
    pipe.text(std::string(failure.what()).substr(0, kLongestMessage));
}

Model ReceiveModel(PipeReader& pipe, const std::function<void(std::uint64_t)>& opened) {
    auto outcome = pipe.value<std::uint8_t>();
    while (outcome == static_cast<std::uint8_t>(Outcome::Opened)) {
        opened(pipe.value<std::uint64_t>());
        outcome = pipe.value<std::uint8_t>();
    }
    if (outcome == static_cast<std::uint8_t>(Outcome::Failed)) {
        throw ReceiveFailure(pipe);
    }
    Require(outcome == static_cast<std::uint8_t>(Outcome::Read));
    return ReceiveWholeModel(pipe);
}

} // namespace kxcontour
