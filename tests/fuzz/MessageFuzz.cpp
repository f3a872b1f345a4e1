// A message of an importing process from the input: what comes of it is a model that the tool can
// draw, or a refusal. No message takes more memory than a few times its bytes.
#include "drawing/common/Failure.h"
#include "drawing/scene/Scene.h"
#include "fuzz/FuzzBytes.h"
#include "import/ModelInfo.h"
#include "import/ModelMessage.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace {

using fuzz::Require;
using kxcontour::Failure;
using kxcontour::Model;
using kxcontour::PipeEnded;
using kxcontour::PipeReader;
using kxcontour::PipeSpoiled;

constexpr std::size_t kLongestMessage = 1U << 16U;

/// A descriptor from which the bytes are read.
int FileOf(const void* bytes, std::size_t size) {
    const int file = ::memfd_create("message", MFD_CLOEXEC);
    Require(file >= 0 && ::write(file, bytes, size) == static_cast<ssize_t>(size),
            "no file in memory");
    ::lseek(file, 0, SEEK_SET);
    return file;
}

std::optional<Model> Receive(const void* bytes, std::size_t size) {
    PipeReader pipe(FileOf(bytes, size));
    try {
        return kxcontour::ReceiveModel(pipe, [](std::uint64_t) {});
    } catch (const Failure& failure) {
        Require(failure.code() == kxcontour::ExitCode::Unreadable ||
                    failure.code() == kxcontour::ExitCode::Usage,
                "a failure that no importer has");
    } catch (const PipeEnded&) {
    } catch (const PipeSpoiled&) {
    }
    return std::nullopt;
}

std::string MessageOf(const Model& model) {
    const int file = ::memfd_create("message", MFD_CLOEXEC);
    {
        kxcontour::PipeWriter pipe(::dup(file));
        kxcontour::SendModel(pipe, model);
        Require(pipe.flush(), "a message that is not written");
    }
    std::string bytes(static_cast<std::size_t>(::lseek(file, 0, SEEK_END)), '\0');
    Require(::pread(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
            "a message that is not read");
    ::close(file);
    return bytes;
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
    const std::string message = MessageOf(model);
    const std::optional<Model> again = Receive(message.data(), message.size());
    Require(again && MessageOf(*again) == message, "another model the second time");
}

/// The rest of the way of a model, up to where lines are looked for.
void UseModel(Model model) {
    Model inspected = model;
    try {
        kxcontour::MakeScene(std::move(model));
    } catch (const Failure& failure) {
        Require(failure.code() == kxcontour::ExitCode::NothingToDraw, failure.what());
    }
    kxcontour::Inspect("model", inspected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLongestMessage) {
        return 0;
    }
    try {
        if (std::optional<Model> model = Receive(data, size)) {
            CheckModel(*model);
            UseModel(std::move(*model));
        }
    } catch (const std::exception& error) {
        fuzz::Fail(std::string("an exception that is no refusal: ") + error.what());
    }
    return 0;
}
