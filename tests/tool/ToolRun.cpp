// fork and exec, with the output caught in files.
#include "ToolRun.h"

#include "ModelText.h"

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

void Redirect(int descriptor, const std::string& path, int flags) {
    const int file = ::open(path.c_str(), flags, 0600);
    if (file < 0 || ::dup2(file, descriptor) < 0) {
        ::_exit(kNotSetUp);
    }
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

RunResult
Run(const std::string& program, const std::vector<std::string>& arguments, RunLimits limits) {
    const TemporaryFolder folder;
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::runtime_error("cannot fork");
    }
    if (child == 0) {
        Redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
        Redirect(STDOUT_FILENO, folder.path("out"), O_WRONLY | O_CREAT);
        Redirect(STDERR_FILENO, folder.path("err"), O_WRONLY | O_CREAT);
        Execute(program, arguments, limits);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child) {
        throw std::runtime_error("cannot wait");
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadBytes(folder.path("out")),
            ReadBytes(folder.path("err"))};
}

} // namespace tool_test
