// The child process, and the messages that it sends through the pipe.
//
// A message is either Outcome::Failed, an exit code and a text, or Outcome::Read and the model, and
// nothing follows it. Both ends are one program on one machine, so values travel as they lie in
// memory.
#include "model/ImportProcess.h"

#include "common/Failure.h"
#include "model/ModelReader.h"
#include "model/Pipe.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <locale>
#include <new>
#include <sstream>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace kxcontour {
namespace {

/// The memory that an importer may ask for: enough for any file of reason, and far from what a
/// damaged count in a header can ask for.
constexpr rlim_t kMemoryForAnyFile = rlim_t{4} << 30U;
constexpr rlim_t kMemoryPerByte = 64;

/// Sanitizers reserve terabytes of address space, so no limit can be set under them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMayLimitMemory = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kMayLimitMemory = false;
#else
constexpr bool kMayLimitMemory = true;
#endif
#else
constexpr bool kMayLimitMemory = true;
#endif

enum class Outcome : std::uint8_t { Failed, Read };

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

Shape ReceiveShape(PipeReader& pipe) {
    const int count = pipe.value<int>();
    const bool withNormals = pipe.value<bool>();
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(withNormals ? 3 : 0);
    Shape shape;
    shape.vertices = new kx::kxVertexBuffer(attributes, count);
    for (int i = 0; i < count; ++i) {
        pipe.bytes(&shape.vertices->Position3(i)[0], 3 * sizeof(float));
    }
    for (int i = 0; withNormals && i < count; ++i) {
        pipe.bytes(&shape.vertices->Normal3(i)[0], 3 * sizeof(float));
    }
    const int indexCount = pipe.value<int>();
    shape.triangles = new kx::kxIndexBuffer(indexCount, kx::IBT_TRIANGLES);
    pipe.bytes(shape.triangles->GetData(),
               sizeof(unsigned int) * static_cast<std::size_t>(indexCount));
    return shape;
}

void SendFacts(PipeWriter& pipe, const Model& model) {
    pipe.value(model.objects.size());
    for (const std::string& name : model.objects) {
        pipe.text(name);
    }
    pipe.text(model.format);
    pipe.value(model.millimetresPerUnit);
    pipe.value(model.unitStated);
    pipe.bytes(&model.fileToWorld[0][0], 16 * sizeof(double));
    pipe.value(model.floatStep);
    pipe.value(model.coordinateStep);
    pipe.value(model.cutPolygons);
    pipe.value(model.leftOutPolygons);
}

void ReceiveFacts(PipeReader& pipe, Model& model) {
    const auto objectCount = pipe.value<std::size_t>();
    for (std::size_t i = 0; i < objectCount; ++i) {
        model.objects.push_back(pipe.text());
    }
    model.format = pipe.text();
    model.millimetresPerUnit = pipe.value<double>();
    model.unitStated = pipe.value<bool>();
    pipe.bytes(&model.fileToWorld[0][0], 16 * sizeof(double));
    model.floatStep = pipe.value<double>();
    model.coordinateStep = pipe.value<double>();
    model.cutPolygons = pipe.value<std::size_t>();
    model.leftOutPolygons = pipe.value<std::size_t>();
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

Model ReceiveModel(PipeReader& pipe) {
    Model model;
    const auto shapeCount = pipe.value<std::size_t>();
    for (std::size_t i = 0; i < shapeCount; ++i) {
        model.shapes.push_back(ReceiveShape(pipe));
    }
    const auto placementCount = pipe.value<std::size_t>();
    for (std::size_t i = 0; i < placementCount; ++i) {
        Placement placement;
        placement.shape = pipe.value<std::size_t>();
        placement.object = pipe.value<std::size_t>();
        pipe.bytes(&placement.world[0][0], 16 * sizeof(double));
        model.placements.push_back(placement);
    }
    ReceiveFacts(pipe, model);
    return model;
}

void SendFailure(PipeWriter& pipe, const Failure& failure) {
    pipe.value(Outcome::Failed);
    pipe.value(failure.code());
    pipe.text(failure.what());
}

Failure ReceiveFailure(PipeReader& pipe) {
    const auto code = pipe.value<ExitCode>();
    return {code, pipe.text()};
}

/// What is to be imported, as the child is given it.
struct Task {
    const ModelRequest& request;
    const std::string& standardInput;
    const ImportLimits& limits;
};

/// Lowers a limit; one that is lower already stays.
void Limit(decltype(RLIMIT_AS) resource, rlim_t most) {
    rlimit now{};
    ::getrlimit(resource, &now);
    now.rlim_cur = std::min(now.rlim_cur, most);
    ::setrlimit(resource, &now);
}

/// Enough for the model, and for standard input, which the child has in memory.
rlim_t MemoryFor(const Task& task) {
    std::error_code unknown;
    const std::uintmax_t fileSize = std::filesystem::file_size(task.request.path, unknown);
    return kMemoryForAnyFile +
           kMemoryPerByte * (unknown ? task.standardInput.size() : rlim_t{fileSize});
}

/// No word of the importer reaches the user, and nothing of a crash but its signal.
void SetUpChild(const Task& task) {
    const int nowhere = ::open("/dev/null", O_RDWR);
    if (nowhere >= 0) {
        ::dup2(nowhere, STDIN_FILENO);
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
    }
    Limit(RLIMIT_CORE, 0);
    Limit(RLIMIT_CPU, static_cast<rlim_t>(task.limits.work.count()));
    if (kMayLimitMemory) {
        Limit(RLIMIT_AS, MemoryFor(task));
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
}

/// The model, or what went wrong, through the pipe.
void ReadAndSend(const Task& task, PipeWriter& pipe) {
    const auto failed = [&](const std::string& why) {
        SendFailure(pipe, Failure(ExitCode::Unreadable,
                                  NameOf(task.request) + ": cannot read the model: " + why));
    };
    try {
        SendModel(pipe, ReadModelOnce(task.request, task.standardInput));
    } catch (const Failure& failure) {
        SendFailure(pipe, failure);
    } catch (const std::bad_alloc&) {
        failed("it asks for more memory than there is");
    } catch (const std::exception& error) {
        failed(error.what());
    }
}

[[noreturn]] void RunChild(const Task& task, int descriptor) {
    SetUpChild(task);
    bool sent = false;
    try {
        PipeWriter pipe(descriptor);
        ReadAndSend(task, pipe);
        sent = pipe.flush();
    } catch (...) {
        sent = false;
    }
    // Without the parent's exit handlers and buffered output.
    ::_exit(sent ? 0 : 1);
}

/// Waits for the child and returns its status.
int Join(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

std::string TookLonger(std::chrono::duration<double> limit) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "the importer took longer than " << limit.count()
         << (limit.count() == 1.0 ? " second" : " seconds");
    return text.str();
}

/// What the end of a child that sent no whole message says about the file.
std::string Describe(int status, const ImportLimits& limits) {
    if (!WIFSIGNALED(status)) {
        return "the importer gave up";
    }
    if (WTERMSIG(status) == SIGXCPU) {
        return TookLonger(limits.work);
    }
    if (WTERMSIG(status) == SIGKILL) {
        return "the importer was killed, perhaps for want of memory";
    }
    return "the importer crashed; the file may be damaged or cut short";
}

/// The message of a child; waits for the child whatever happens.
Model Receive(const Task& task, pid_t child, PipeReader& pipe) {
    const auto failure = [&](const std::string& why) {
        return Failure(ExitCode::Unreadable,
                       NameOf(task.request) + ": cannot read the model: " + why);
    };
    try {
        if (pipe.value<Outcome>() == Outcome::Failed) {
            throw ReceiveFailure(pipe);
        }
        Model model = ReceiveModel(pipe);
        Join(child);
        return model;
    } catch (const PipeEnded&) {
        throw failure(Describe(Join(child), task.limits));
    } catch (const PipeTimedOut&) {
        ::kill(child, SIGKILL);
        Join(child);
        throw failure(TookLonger(task.limits.time));
    } catch (...) {
        ::kill(child, SIGKILL);
        Join(child);
        throw;
    }
}

} // namespace

Model ImportModel(const ModelRequest& request, const ImportLimits& limits) {
    const std::string standardInput = ReadStandardInput(request);
    const Task task{request, standardInput, limits};
    const auto deadline = PipeReader::Clock::now() + limits.time;
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    // As much as anyone may have; with less, the two processes take turns more often.
    ::fcntl(ends[1], F_SETPIPE_SZ, 1 << 20);
    const pid_t child = ::fork();
    if (child < 0) {
        const int reason = errno;
        ::close(ends[0]);
        ::close(ends[1]);
        throw std::system_error(reason, std::generic_category(), "fork");
    }
    if (child == 0) {
        ::close(ends[0]);
        RunChild(task, ends[1]);
    }
    ::close(ends[1]);
    PipeReader pipe(ends[0], deadline);
    return Receive(task, child, pipe);
}

} // namespace kxcontour
