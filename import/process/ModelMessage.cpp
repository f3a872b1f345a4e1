// Values as they lie in memory: both ends are one program on one machine.
#include "import/process/ModelMessage.h"

#include <kxDrawing/Errors.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
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

constexpr std::size_t kAnyLength = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kPointSize = 3 * sizeof(float);

void Require(bool holds) {
    if (!holds) {
        throw BadMessage();
    }
}

/// Appends values to a message.
class MessageWriter {
public:
    explicit MessageWriter(Outcome outcome) { value(outcome); }

    void bytes(const void* data, std::size_t size) {
        message_.append(static_cast<const char*>(data), size);
    }

    template <class T> void value(const T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        bytes(&value, sizeof value);
    }

    void flag(bool flag) { value(flag); }

    void text(const std::string& text, std::size_t) {
        value(text.size());
        message_ += text;
    }

    /// Calls put for each element.
    template <class T, class Put> void list(const std::vector<T>& list, const Put& put) {
        value(list.size());
        for (const T& element : list) {
            put(*this, element);
        }
    }

    void reserve(std::size_t size) { message_.reserve(size); }
    std::string take() { return std::move(message_); }

private:
    std::string message_;
};

/// Takes values off the start of a message. Throws BadMessage where it is too short for one.
class MessageReader {
public:
    explicit MessageReader(std::string_view message) : rest_(message) {}

    std::string_view take(std::size_t size) {
        Require(size <= rest_.size());
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(size);
        return taken;
    }

    template <class T> void value(T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        std::memcpy(&value, take(sizeof value).data(), sizeof value);
    }

    template <class T> T value() {
        T result{};
        value(result);
        return result;
    }

    /// Of the values of a byte, only 0 and 1 are a bool.
    void flag(bool& flag) {
        const auto byte = value<unsigned char>();
        Require(byte <= 1);
        flag = byte == 1;
    }

    void text(std::string& text, std::size_t longest) {
        const auto size = value<std::size_t>();
        Require(size <= longest);
        text = take(size);
    }

    /// Calls get for each element. The list grows only as elements come.
    template <class T, class Get> void list(std::vector<T>& list, const Get& get) {
        for (auto left = value<std::size_t>(); left > 0; --left) {
            get(*this, list.emplace_back());
        }
    }

private:
    std::string_view rest_;
};

/// @name Fields in their order, for writing and reading
/// @{
constexpr auto kTextFields = [](auto& stream, auto& text) { stream.text(text, kAnyLength); };

template <class Stream, class SomeMatrix> void MatrixFields(Stream& stream, SomeMatrix& matrix) {
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            stream.value(matrix[row][column]);
        }
    }
}

constexpr auto kPlacementFields = [](auto& stream, auto& placement) {
    stream.value(placement.shape);
    stream.value(placement.object);
    MatrixFields(stream, placement.world);
};

template <class Stream, class SomeModel> void FactFields(Stream& stream, SomeModel& model) {
    stream.list(model.objects, kTextFields);
    stream.text(model.format, kLongestMessage);
    stream.value(model.millimetresPerUnit);
    stream.flag(model.unitStated);
    MatrixFields(stream, model.fileToWorld);
    stream.value(model.floatStep);
    stream.value(model.coordinateStep);
    stream.value(model.cutPolygons);
    stream.value(model.leftOutPolygons);
    stream.text(model.refusedFile, kLongestMessage);
    stream.list(model.sideFiles, kTextFields);
}
/// @}

/// @name Shapes
/// @{
std::size_t SizeOf(const Shape& shape) {
    return 2 * kPointSize * static_cast<std::size_t>(shape.vertices->GetVertexQuantity()) +
           sizeof(unsigned int) * static_cast<std::size_t>(shape.triangles->GetIndexQuantity());
}

void WriteShape(MessageWriter& writer, const Shape& shape) {
    const kx::kxVertexBuffer& vertices = *shape.vertices;
    const int count = vertices.GetVertexQuantity();
    const bool withNormals = vertices.GetAttributes().GetNormalChannels() == 3;
    writer.value(count);
    writer.flag(withNormals);
    for (int i = 0; i < count; ++i) {
        writer.bytes(&vertices.Position3(i)[0], kPointSize);
    }
    for (int i = 0; withNormals && i < count; ++i) {
        writer.bytes(&vertices.Normal3(i)[0], kPointSize);
    }
    const int corners = shape.triangles->GetIndexQuantity();
    writer.value(corners);
    if (corners > 0) { // Without any, there may be no data.
        writer.bytes(shape.triangles->GetData(),
                     sizeof(unsigned int) * static_cast<std::size_t>(corners));
    }
}

Wm4::Vector3<float> PointAt(std::string_view points, int i) {
    Wm4::Vector3<float> point;
    std::memcpy(&point[0], points.data() + kPointSize * static_cast<std::size_t>(i), kPointSize);
    return point;
}

kx::kxPointer<kx::kxVertexBuffer> ReadVertices(MessageReader& reader) {
    const int count = reader.value<int>();
    bool withNormals = false;
    reader.flag(withNormals);
    Require(count >= 0);
    const std::size_t size = kPointSize * static_cast<std::size_t>(count);
    const std::string_view positions = reader.take(size);
    const std::string_view normals = reader.take(withNormals ? size : 0);
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(withNormals ? 3 : 0);
    kx::kxPointer<kx::kxVertexBuffer> vertices(new kx::kxVertexBuffer(attributes, count));
    for (int i = 0; i < count; ++i) {
        vertices->Position3(i) = PointAt(positions, i);
    }
    for (int i = 0; withNormals && i < count; ++i) {
        vertices->Normal3(i) = PointAt(normals, i);
    }
    return vertices;
}

kx::kxPointer<kx::kxIndexBuffer> ReadTriangles(MessageReader& reader) {
    const int count = reader.value<int>();
    Require(count >= 0 && count % 3 == 0);
    const std::string_view indices =
        reader.take(sizeof(unsigned int) * static_cast<std::size_t>(count));
    kx::kxPointer<kx::kxIndexBuffer> triangles(new kx::kxIndexBuffer(count, kx::IBT_TRIANGLES));
    if (count > 0) {
        std::memcpy(triangles->GetData(), indices.data(), indices.size());
    }
    return triangles;
}

void ReadShape(MessageReader& reader, Shape& shape) {
    shape.vertices = ReadVertices(reader);
    shape.triangles = ReadTriangles(reader);
}
/// @}

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
    MessageWriter writer(Outcome::Opened);
    writer.value(size);
    return writer.take();
}

std::string PackModel(const Model& model) {
    MessageWriter writer(Outcome::Read);
    writer.reserve(
        std::accumulate(model.shapes.begin(), model.shapes.end(), std::size_t{1} << 16U,
                        [](std::size_t sum, const Shape& shape) { return sum + SizeOf(shape); }));
    writer.list(model.shapes, WriteShape);
    writer.list(model.placements, kPlacementFields);
    FactFields(writer, model);
    return writer.take();
}

std::string PackFailure(const std::string& message) {
    MessageWriter writer(Outcome::Failed);
    writer.text(message.substr(0, kLongestMessage), kLongestMessage);
    return writer.take();
}

std::optional<std::uint64_t> TakeOpened(std::string_view& message) {
    constexpr std::size_t kSize = sizeof(Outcome) + sizeof(std::uint64_t);
    if (message.size() < kSize || message.front() != static_cast<char>(Outcome::Opened)) {
        return std::nullopt;
    }
    std::uint64_t size = 0;
    std::memcpy(&size, message.data() + sizeof(Outcome), sizeof size);
    message.remove_prefix(kSize);
    return size;
}

Model UnpackModel(std::string_view message) {
    MessageReader reader(message);
    const auto outcome = reader.value<std::uint8_t>();
    if (outcome == static_cast<std::uint8_t>(Outcome::Failed)) {
        std::string text;
        reader.text(text, kLongestMessage);
        Require(!text.empty());
        throw kxdrawing::CannotRead(text);
    }
    Require(outcome == static_cast<std::uint8_t>(Outcome::Read));
    Model model;
    reader.list(model.shapes, ReadShape);
    reader.list(model.placements, kPlacementFields);
    FactFields(reader, model);
    RequireSound(model);
    return model;
}

} // namespace kxcontour
