// Values as they lie in memory: both ends are one program on one machine.
#include "import/process/ModelMessage.h"

#include <kxDrawing/Errors.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <type_traits>
#include <utility>
#include <vector>

namespace kxcontour {
namespace {

enum class Outcome : std::uint8_t { Failed, Read, Opened };

/// Upper bound on the length of the text of a failure.
constexpr std::size_t kLongestMessage = 1U << 16U;

constexpr std::size_t kPointSize = 3 * sizeof(float);

void Require(bool holds) {
    if (!holds) {
        throw BadMessage();
    }
}

/// A message that is written or read: an operation appends a value to it, or takes one off its
/// start, so that one list of fields serves both ends. Reading throws BadMessage where the message
/// is too short, before memory is taken for a value, and for values that no importer sends.
class Message {
public:
    /// To be written.
    explicit Message(Outcome outcome) { value(outcome); }
    /// To be read.
    explicit Message(std::string_view received) : rest_(received), isRead_(true) {}

    bool isRead() const { return isRead_; }

    /// For what has to hold of a value that was read.
    void require(bool holds) const { Require(!isRead_ || holds); }
    void requireLeft(std::size_t size) const { require(size <= rest_.size()); }

    void bytes(void* data, std::size_t size) {
        if (!isRead_) {
            written_.append(static_cast<const char*>(data), size);
            return;
        }
        requireLeft(size);
        rest_.copy(static_cast<char*>(data), size);
        rest_.remove_prefix(size);
    }

    template <class T> void value(T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        bytes(&value, sizeof value);
    }

    /// Of the values of a byte, only 0 and 1 are a bool.
    void flag(bool& flag) {
        unsigned char byte = flag ? 1 : 0;
        value(byte);
        require(byte <= 1);
        flag = byte == 1;
    }

    void text(std::string& text, std::size_t longest) {
        std::size_t size = text.size();
        value(size);
        require(size <= longest);
        requireLeft(size);
        text.resize(size);
        bytes(text.data(), size);
    }

    /// Passes each element to the function. A list that is read grows only as elements come.
    template <class T> void list(std::vector<T>& list, void (*fields)(Message&, T&)) {
        std::size_t size = list.size();
        value(size);
        for (std::size_t i = 0; i < size; ++i) {
            fields(*this, isRead_ ? list.emplace_back() : list[i]);
        }
    }

    void reserve(std::size_t size) { written_.reserve(size); }
    std::string take() { return std::move(written_); }

private:
    std::string written_;
    std::string_view rest_;
    bool isRead_ = false;
};

/// @name Fields in their order
/// @{
void NameFields(Message& message, std::string& name) {
    message.text(name, std::numeric_limits<std::size_t>::max());
}

void MatrixFields(Message& message, Wm4::Matrix4<double>& matrix) {
    message.bytes(&matrix[0][0], 16 * sizeof(double));
}

void PlacementFields(Message& message, Placement& placement) {
    message.value(placement.shape);
    message.value(placement.object);
    MatrixFields(message, placement.world);
}

std::size_t PointBytes(int count, bool withNormals) {
    return kPointSize * static_cast<std::size_t>(count) * (withNormals ? 2 : 1);
}

std::size_t IndexBytes(int count) {
    return sizeof(unsigned int) * static_cast<std::size_t>(count);
}

bool HasNormals(const kx::kxVertexBuffer& vertices) {
    return vertices.GetAttributes().GetNormalChannels() == 3;
}

void VertexFields(Message& message, kx::kxPointer<kx::kxVertexBuffer>& vertices) {
    int count = message.isRead() ? 0 : vertices->GetVertexQuantity();
    bool withNormals = !message.isRead() && HasNormals(*vertices);
    message.value(count);
    message.flag(withNormals);
    if (message.isRead()) {
        Require(count >= 0);
        message.requireLeft(PointBytes(count, withNormals));
        kx::kxAttributes attributes;
        attributes.SetPositionChannels(3);
        attributes.SetNormalChannels(withNormals ? 3 : 0);
        vertices = new kx::kxVertexBuffer(attributes, count);
    }
    for (int i = 0; i < count; ++i) {
        message.bytes(&vertices->Position3(i)[0], kPointSize);
    }
    for (int i = 0; withNormals && i < count; ++i) {
        message.bytes(&vertices->Normal3(i)[0], kPointSize);
    }
}

void TriangleFields(Message& message, kx::kxPointer<kx::kxIndexBuffer>& triangles) {
    int count = message.isRead() ? 0 : triangles->GetIndexQuantity();
    message.value(count);
    if (message.isRead()) {
        Require(count >= 0 && count % 3 == 0);
        message.requireLeft(IndexBytes(count));
        triangles = new kx::kxIndexBuffer(count, kx::IBT_TRIANGLES);
    }
    if (count > 0) { // Without any, there may be no data.
        message.bytes(triangles->GetData(), IndexBytes(count));
    }
}

void ShapeFields(Message& message, Shape& shape) {
    VertexFields(message, shape.vertices);
    TriangleFields(message, shape.triangles);
}

void ModelFields(Message& message, Model& model) {
    message.list(model.shapes, ShapeFields);
    message.list(model.placements, PlacementFields);
    message.list(model.objects, NameFields);
    message.text(model.format, kLongestMessage);
    message.value(model.millimetresPerUnit);
    message.flag(model.unitStated);
    MatrixFields(message, model.fileToWorld);
    message.value(model.floatStep);
    message.value(model.coordinateStep);
    message.value(model.cutPolygons);
    message.value(model.leftOutPolygons);
    message.text(model.refusedFile, kLongestMessage);
    message.list(model.sideFiles, NameFields);
}
/// @}

/// The size of the buffers of a shape in a message.
std::size_t SizeOf(const Shape& shape) {
    return PointBytes(shape.vertices->GetVertexQuantity(), HasNormals(*shape.vertices)) +
           IndexBytes(shape.triangles->GetIndexQuantity());
}

bool IsFinite(const Wm4::Matrix4<double>& matrix) {
    const double* const entries = &matrix[0][0];
    return std::all_of(entries, entries + 16, [](double entry) { return std::isfinite(entry); });
}

bool IsStep(double step) {
    return std::isfinite(step) && step >= 0.0;
}

/// Checks the invariants of Model.
void RequireSound(const Model& model) {
    const double unit = model.millimetresPerUnit;
    Require(std::isfinite(unit) && unit > 0.0);
    Require(IsStep(model.floatStep) && IsStep(model.coordinateStep));
    Require(IsFinite(model.fileToWorld));
    for (const Placement& placement : model.placements) {
        Require(placement.shape < model.shapes.size() && placement.object < model.objects.size());
    }
}

} // namespace

std::string PackOpened(std::uint64_t size) {
    Message message(Outcome::Opened);
    message.value(size);
    return message.take();
}

std::string PackModel(Model model) {
    Message message(Outcome::Read);
    message.reserve(
        std::accumulate(model.shapes.begin(), model.shapes.end(), std::size_t{1} << 16U,
                        [](std::size_t sum, const Shape& shape) { return sum + SizeOf(shape); }));
    ModelFields(message, model);
    return message.take();
}

std::string PackFailure(const std::string& failure) {
    Message message(Outcome::Failed);
    std::string text = failure.substr(0, kLongestMessage);
    message.text(text, kLongestMessage);
    return message.take();
}

std::optional<std::uint64_t> TakeOpened(std::string_view& message) {
    Outcome outcome{};
    std::uint64_t size = 0;
    if (message.size() < sizeof outcome + sizeof size) {
        return std::nullopt;
    }
    Message reader(message);
    reader.value(outcome);
    reader.value(size);
    if (outcome != Outcome::Opened) {
        return std::nullopt;
    }
    message.remove_prefix(sizeof outcome + sizeof size);
    return size;
}

Model UnpackModel(std::string_view received) {
    Message message(received);
    Outcome outcome{};
    message.value(outcome);
    if (outcome == Outcome::Failed) {
        std::string text;
        message.text(text, kLongestMessage);
        Require(!text.empty());
        throw kxdrawing::CannotRead(text);
    }
    Require(outcome == Outcome::Read);
    Model model;
    ModelFields(message, model);
    RequireSound(model);
    return model;
}

} // namespace kxcontour
