// A model file from the input, on the tool's whole way from the importer to a drawing: what comes
// of it is a drawing that can be read, or a refusal. The importer runs in a child process, of which
// the fuzzer sees nothing; so that it can look for more, some inputs are what an importer hands
// over instead, bad indices, coordinates and normals included, and go on from there.
#include <kxDrawing/Errors.h>

#include "drawing/scene/Placing.h"
#include "drawing/scene/Scene.h"
#include "fuzz/FuzzBytes.h"
#include "import/SceneReader.h"
#include "tool/ModelText.h"
#include "tool/SvgFile.h"
#include "tool/jobs/DrawingJob.h"

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <libxml/parser.h>
#include <pthread.h>
#include <sanitizer/allocator_interface.h>
#include <sanitizer/common_interface_defs.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using fuzz::FuzzBytes;
using fuzz::Require;
using kxcontour::DrawingOptions;
using kxcontour::Model;
using kxcontour::Scene;

constexpr std::size_t kLargestFile = 8192;

/// The endings of the files that are imported.
constexpr std::array kEndings{"obj", "stl", "ply", "off", "gltf", "glb", "3mf", "dxf",
                              "fbx", "x3d", "dae", "amf", "ifc",  "3ds", "ac",  "lwo"};

/// @name The importer's process
/// @{

bool isImporter = false;
std::size_t importerBytes = 0;

/// What the importer does to itself is its own affair: it ends soon, and without a word to the
/// fuzzer.
void BecomeImporter() {
    isImporter = true;
    __sanitizer_set_death_callback(nullptr);
    const rlimit seconds{2, 2};
    ::setrlimit(RLIMIT_CPU, &seconds);
    for (const int number : {SIGSEGV, SIGBUS, SIGABRT, SIGILL, SIGFPE, SIGTERM}) {
        std::signal(number, SIG_DFL);
    }
}

/// Stands in for the limit of memory, which sanitizers do not go together with.
void CountMemory(const volatile void*, std::size_t size) {
    constexpr std::size_t kMost = std::size_t{2} << 30U;
    importerBytes += isImporter ? size : 0;
    if (importerBytes > kMost) {
        ::_exit(1);
    }
}

void ForgetMemory(const volatile void*) {}
/// @}

const tool_test::TemporaryFolder& Folder() {
    static const tool_test::TemporaryFolder folder;
    return folder;
}

/// A small sheet, and what is drawn on it in which way.
DrawingOptions TakeOptions(FuzzBytes& bytes, const std::string& model) {
    constexpr std::array kOutputs{"o.svg", "o.pdf", "o.png", "o.dxf", "o.json"};
    DrawingOptions options;
    options.input.models = {model};
    options.page.size = {60.0, 40.0};
    options.page.margin = 2.0;
    const unsigned int choice = bytes.byte();
    options.output.format = static_cast<kxcontour::OutputFormat>(choice % kOutputs.size());
    options.output.path = Folder().path(kOutputs[choice % kOutputs.size()]);
    options.output.dotsPerInch = 20.0;
    const unsigned int flags = bytes.byte();
    options.lines.hidden = (flags & 1U) != 0;
    options.lines.layering = (flags & 2U) != 0   ? kxcontour::Layering::Type
                             : (flags & 4U) != 0 ? kxcontour::Layering::Object
                                                 : kxcontour::Layering::None;
    if ((flags & 8U) != 0) {
        options.lines.arcTolerance = 0.05;
    }
    if ((flags & 16U) != 0) {
        options.page.views = {kxdrawing::Direction::Front, kxdrawing::Direction::Top};
    } else if ((flags & 32U) != 0) {
        options.camera.projection = kxdrawing::Projection::Perspective;
    }
    if ((flags & 64U) != 0) {
        options.input.surface.creaseAngle = 20.0;
    }
    options.camera.direction = static_cast<kxdrawing::Direction>((flags >> 5U) % 7U);
    return options;
}

/// @name Scenes
/// @{

Scene ImportScene(FuzzBytes& bytes, std::size_t ending, DrawingOptions& options) {
    const std::string path =
        Folder().write(std::string("m.") + kEndings[ending], std::string(bytes.rest()));
    options.input.models = {path};
    return kxcontour::LoadScene(options.input);
}

kxcontour::Shape TakeShape(FuzzBytes& bytes) {
    const int vertexCount = static_cast<int>(bytes.below(24));
    const bool withNormals = bytes.flag();
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(withNormals ? 3 : 0);
    kxcontour::Shape shape;
    shape.vertices = new kx::kxVertexBuffer(attributes, vertexCount);
    for (int i = 0; i < vertexCount; ++i) {
        shape.vertices->Position3(i) = bytes.point();
        if (withNormals) {
            shape.vertices->Normal3(i) = bytes.point();
        }
    }
    const int indexCount = static_cast<int>(3 * bytes.below(40));
    shape.triangles = new kx::kxIndexBuffer(indexCount, kx::IBT_TRIANGLES);
    for (int i = 0; i < indexCount; ++i) {
        shape.triangles->GetData()[i] = bytes.below(25);
    }
    return shape;
}

kxcontour::Placement TakePlacement(FuzzBytes& bytes, std::size_t shapes, std::size_t objects) {
    kxcontour::Placement placement;
    placement.shape = bytes.byte() % shapes;
    placement.object = bytes.byte() % objects;
    placement.world = Wm4::Matrix4<double>(false);
    if (bytes.flag()) {
        for (int i = 0; i < 12; ++i) {
            const double value = static_cast<double>(bytes.number());
            placement.world[i / 3][i % 3] = value;
        }
    }
    return placement;
}

Model TakeModel(FuzzBytes& bytes) {
    Model model;
    for (unsigned int count = 1 + bytes.below(3); count > 0; --count) {
        model.shapes.push_back(TakeShape(bytes));
    }
    for (unsigned int count = 1 + bytes.below(2); count > 0; --count) {
        model.objects.emplace_back(bytes.text(bytes.below(8)));
    }
    for (unsigned int count = 1 + bytes.below(4); count > 0; --count) {
        model.placements.push_back(TakePlacement(bytes, model.shapes.size(), model.objects.size()));
    }
    model.unitStated = bytes.flag();
    model.millimetresPerUnit = model.unitStated ? 25.4 : 1.0;
    return model;
}

/// As the scene of one model is made.
Scene BuildScene(FuzzBytes& bytes, const DrawingOptions& options) {
    Model model = TakeModel(bytes);
    Scene scene;
    scene.dropped = CleanShapes(model);
    scene.origin = ChooseOrigin(model);
    scene.millimetresPerUnit = model.millimetresPerUnit;
    kxcontour::MeshRules rules;
    rules.origin = scene.origin;
    rules.creaseAngle = options.input.surface.creaseAngle;
    kxcontour::BuiltMeshes built = BuildMeshes(model, rules);
    if (built.meshes.empty()) {
        throw kxdrawing::NothingToDraw("nothing to draw");
    }
    scene.meshes = built.meshes;
    scene.objectOf = built.objects;
    scene.objects = model.objects;
    return scene;
}
/// @}

/// A drawing of each format begins as such a file does, and XML is well-formed.
void CheckDrawing(const DrawingOptions& options) {
    constexpr std::array kBeginnings{"<?xml", "%PDF-", "\x89PNG", "0\nSECTION\n", "{"};
    const std::string bytes = tool_test::ReadBytes(options.output.path);
    const auto format = static_cast<std::size_t>(options.output.format);
    Require(bytes.rfind(kBeginnings[format], 0) == 0, "a drawing of another format");
    if (options.output.format != kxcontour::OutputFormat::Svg) {
        return;
    }
    xmlDoc* const document = xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr,
                                           nullptr, XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    Require(document != nullptr, "a drawing that is not well-formed");
    xmlFreeDoc(document);
    if (!options.lines.arcTolerance) {
        Require(tool_test::ReadSvg(options.output.path).pathCount() > 0, "a drawing of nothing");
    }
}

void CheckFailure(const kxdrawing::Error& failure) {
    const std::string message = failure.what();
    Require(!message.empty() && message.find('\n') == std::string::npos, "no line of text");
}

void Draw(const Scene& scene, const DrawingOptions& options) {
    kxcontour::DrawingObserver observer;
    DrawToFile(scene, options, observer);
    CheckDrawing(options);
    const std::string once = tool_test::ReadBytes(options.output.path);
    DrawToFile(scene, options, observer);
    Require(once == tool_test::ReadBytes(options.output.path), "another drawing the second time");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Before the fuzzer's own hooks, so that it never sees what an importer asks for.
    __sanitizer_install_malloc_and_free_hooks(&CountMemory, &ForgetMemory);
    ::pthread_atfork(nullptr, nullptr, &BecomeImporter);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLargestFile) {
        return 0;
    }
    FuzzBytes bytes(data, size);
    const std::size_t choice = bytes.byte();
    DrawingOptions options = TakeOptions(bytes, "m");
    try {
        Draw(choice < kEndings.size() ? ImportScene(bytes, choice, options)
                                      : BuildScene(bytes, options),
             options);
    } catch (const kxdrawing::CannotRead& failure) {
        CheckFailure(failure);
    } catch (const kxdrawing::NothingToDraw& failure) {
        CheckFailure(failure);
    } catch (const std::exception& error) {
        fuzz::Fail(std::string("an exception that is no refusal: ") + error.what());
    }
    for (const auto& entry : std::filesystem::directory_iterator(Folder().path("."))) {
        std::filesystem::remove(entry.path());
        const std::string name = entry.path().filename().string();
        Require(name.rfind("m.", 0) == 0 || name.rfind("o.", 0) == 0, "a file is left behind");
    }
    return 0;
}
