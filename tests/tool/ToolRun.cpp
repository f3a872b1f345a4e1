// fork and exec, with the output caught in files, or at the other end of a pseudo terminal.
#include "ToolRun.h"

#include "ModelText.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <linux/capability.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool_test {
namespace {

/// What a child returns that could not be set up as asked.
constexpr int kNotSetUp = 127;

void Require(bool succeeded) {
    if (!succeeded) {
        ::_exit(kNotSetUp);
    }
}

void Redirect(int descriptor, const std::string& path, int flags) {
    const int file = ::open(path.c_str(), flags, 0600);
    Require(file >= 0 && ::dup2(file, descriptor) >= 0);
}

void RedirectToNobody(int descriptor) {
    std::array<int, 2> ends{};
    Require(::pipe(ends.data()) == 0 && ::close(ends[0]) == 0 && ::dup2(ends[1], descriptor) >= 0);
}

/// The side of a new pseudo terminal from which all that is written to it is read; -1 for none.
int OpenTerminal() {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0 || ::grantpt(terminal) != 0 || ::unlockpt(terminal) != 0) {
        throw std::runtime_error("no terminal to be had");
    }
    return terminal;
}

/// Reads until no program has the terminal open any more, which the system reports as an error.
std::string ReadTerminal(int terminal) {
    std::string text;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t count = ::read(terminal, buffer.data(), buffer.size());
        if (count <= 0) {
            ::close(terminal);
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

void SetUp(const Surroundings& around) {
    Redirect(STDIN_FILENO, around.input, O_RDONLY);
    if (around.readerLeft) {
        RedirectToNobody(STDOUT_FILENO);
    }
    Require(!around.outputClosed || ::close(STDOUT_FILENO) == 0);
    for (const std::string& variable : around.environment) {
        const std::size_t equals = variable.find('=');
        Require(::setenv(variable.substr(0, equals).c_str(), variable.c_str() + equals + 1, 1) ==
                0);
    }
    Require(around.folder.empty() || ::chdir(around.folder.c_str()) == 0);
}

void Apply(const RunLimits& limits) {
    if (limits.fileSize) {
        const rlimit most{*limits.fileSize, *limits.fileSize};
        if (::setrlimit(RLIMIT_FSIZE, &most) != 0) {
            ::_exit(kNotSetUp);
        }
    }
    if (limits.obeysPermissions && ::geteuid() == 0) {
        if (::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE) != 0 ||
            ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH) != 0) {
            ::_exit(kNotSetUp);
        }
    }
}

[[noreturn]] void
Execute(const std::string& program, std::vector<std::string> arguments, const RunLimits& limits) {
    std::vector<char*> pointers;
    arguments.insert(arguments.begin(), program);
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    Apply(limits);
    ::execv(program.c_str(), pointers.data());
    ::_exit(kNotSetUp);
}

} // namespace

RunResult Run(const std::string& program,
              const std::vector<std::string>& arguments,
              const RunLimits& limits,
              const Surroundings& around) {
    const TemporaryFolder folder;
    const int terminal = around.terminal ? OpenTerminal() : -1;
    const std::string log = around.terminal ? ::ptsname(terminal) : folder.path("err");
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::runtime_error("cannot fork");
    }
    if (child == 0) {
        Redirect(STDOUT_FILENO, around.output.empty() ? folder.path("out") : around.output,
                 O_WRONLY | O_CREAT);
        Redirect(STDERR_FILENO, log, O_WRONLY | O_CREAT | O_NOCTTY);
        SetUp(around);
        Execute(program, arguments, limits);
    }
    const std::string shown = around.terminal ? ReadTerminal(terminal) : "";
    int status = 0;
    if (::waitpid(child, &status, 0) != child) {
        throw std::runtime_error("cannot wait");
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadBytes(folder.path("out")),
            around.terminal ? shown : ReadBytes(log)};
}

} // namespace tool_test
