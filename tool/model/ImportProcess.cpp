// The child process, and the messages that it sends through the pipe.
//
// A message is either Outcome::Failed, an exit code and a text, or Outcome::Read and the model, and
// nothing follows it. Both ends are one program on one machine, so values travel as they lie in
// memory.
#include "model/ImportProcess.h"

#include "common/Failure.h"
#include "model/ModelReader.h"
#include "model/Pipe.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace kxcontour {
namespace {

constexpr rlim_t kSecondsOfWork = 600;

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

void SendModel(PipeWriter& pipe, const Model& model) {
    pipe.value(Outcome::Read);
    pipe.value(model.shapes.size());
    for (const Shape& shape : model.shapes) {
        SendShape(pipe, shape);
    }
    pipe.value(model.placements.size());
    for (const Placement& placement : model.placements) {
        pipe.value(placement.shape);
        pipe.bytes(&placement.world[0][0], 16 * sizeof(double));
    }
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
        pipe.bytes(&placement.world[0][0], 16 * sizeof(double));
        model.placements.push_back(placement);
    }
    return model;
}

void SendFailure(PipeWriter& pipe, const Failure& failure) {
    const std::string text = failure.what();
    pipe.value(Outcome::Failed);
    pipe.value(failure.code());
    pipe.value(text.size());
    pipe.bytes(text.data(), text.size());
}

Failure ReceiveFailure(PipeReader& pipe) {
    const auto code = pipe.value<ExitCode>();
    std::string text(pipe.value<std::size_t>(), '\0');
    pipe.bytes(text.data(), text.size());
    return {code, text};
}

/// No word of the importer reaches the user, and nothing of a crash but its signal.
void SetUpChild(const std::string& path) {
    const int nowhere = ::open("/dev/null", O_RDWR);
    if (nowhere >= 0) {
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
    }
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    const rlimit work{kSecondsOfWork, kSecondsOfWork};
    ::setrlimit(RLIMIT_CPU, &work);
    std::error_code unknown;
    const std::uintmax_t fileSize = std::filesystem::file_size(path, unknown);
    const rlim_t most = kMemoryForAnyFile + kMemoryPerByte * (unknown ? 0 : fileSize);
    const rlimit memory{most, most};
    if (kMayLimitMemory) {
        ::setrlimit(RLIMIT_AS, &memory);
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
}

/// The model, or what went wrong, through the pipe.
void ReadAndSend(const std::string& path, PipeWriter& pipe) {
    const auto failed = [&](const std::string& why) {
        SendFailure(pipe, Failure(ExitCode::Unreadable, path + ": cannot read the model: " + why));
    };
    try {
        SendModel(pipe, ReadModel(path));
    } catch (const Failure& failure) {
        SendFailure(pipe, failure);
    } catch (const std::bad_alloc&) {
        failed("it asks for more memory than there is");
    } catch (const std::exception& error) {
        failed(error.what());
    }
}

[[noreturn]] void RunChild(const std::string& path, int descriptor) {
    SetUpChild(path);
    bool sent = false;
    try {
        PipeWriter pipe(descriptor);
        ReadAndSend(path, pipe);
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

/// What the end of a child that sent no whole message says about the file.
std::string Describe(int status) {
    if (!WIFSIGNALED(status)) {
        return "the importer gave up";
    }
    if (WTERMSIG(status) == SIGXCPU) {
        return "the importer worked for ten minutes without an end";
    }
    if (WTERMSIG(status) == SIGKILL) {
        return "the importer was killed, perhaps for want of memory";
    }
    return "the importer crashed; the file may be damaged or cut short";
}

/// The message of a child; waits for the child whatever happens.
Model Receive(const std::string& path, pid_t child, int descriptor) {
    PipeReader pipe(descriptor);
    try {
        if (pipe.value<Outcome>() == Outcome::Failed) {
            throw ReceiveFailure(pipe);
        }
        Model model = ReceiveModel(pipe);
        Join(child);
        return model;
    } catch (const PipeEnded&) {
        throw Failure(ExitCode::Unreadable,
                      path + ": cannot read the model: " + Describe(Join(child)));
    } catch (...) {
        ::kill(child, SIGKILL);
        Join(child);
        throw;
    }
}

} // namespace

Model ImportModel(const std::string& path) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    const pid_t child = ::fork();
    if (child < 0) {
        const int reason = errno;
        ::close(ends[0]);
        ::close(ends[1]);
        throw std::system_error(reason, std::generic_category(), "fork");
    }
    if (child == 0) {
        ::close(ends[0]);
        RunChild(path, ends[1]);
    }
    ::close(ends[1]);
    return Receive(path, child, ends[0]);
}

} // namespace kxcontour
