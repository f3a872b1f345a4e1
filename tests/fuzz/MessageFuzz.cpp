// A message of an importing process from the input: what comes of it is a model that the tool can
// draw, or a refusal. No message takes more memory than a few times its bytes.
#include <kxDrawing/Errors.h>

#include "drawing/scene/Scene.h"
#include "fuzz/FuzzBytes.h"
#include "import/ModelInfo.h"
#include "import/process/ModelMessage.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace {

using fuzz::Require;
using kxcontour::BadMessage;
using kxcontour::Model;

constexpr std::size_t kLongestMessage = 1U << 16U;

std::optional<Model> Receive(std::string_view message) {
    while (kxcontour::TakeOpened(message)) {
    }
    try {
        return kxcontour::UnpackModel(message);
    } catch (const kxdrawing::CannotRead&) {
    } catch (const BadMessage&) {
    }
    return std::nullopt;
}

void CheckModel(const Model& model) {
    for (const kxcontour::Shape& shape : model.shapes) {
        Require(shape.triangles->GetIndexQuantity() % 3 == 0, "a part of a triangle");
    }
    for (const kxcontour::Placement& placement : model.placements) {
        Require(placement.shape < model.shapes.size(), "a shape that there is not");
        Require(placement.object < model.objects.size(), "an object that there is not");
    }
    Require(std::isfinite(model.millimetresPerUnit) && model.millimetresPerUnit > 0.0,
            "a unit without a length");
    // What was received is sent as it came.
    const std::string message = kxcontour::PackModel(model);
    const std::optional<Model> again = Receive(message);
    Require(again && kxcontour::PackModel(*again) == message, "another model the second time");
}

/// The rest of the way of a model, up to where lines are looked for.
void UseModel(Model model) {
    Model inspected = model;
    try {
        kxcontour::SceneBuilder({}).addDrawn(std::move(model), "model");
    } catch (const kxdrawing::NothingToDraw&) {
    }
    kxcontour::Inspect("model", inspected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestMessage) {
        return 0;
    }
    try {
        if (std::optional<Model> model = Receive({reinterpret_cast<const char*>(data), size})) {
            CheckModel(*model);
            UseModel(std::move(*model));
        }
    } catch (const std::exception& error) {
        fuzz::Fail(std::string("an exception that is no refusal: ") + error.what());
    }
    return 0;
}
