// Landlock (man 7 landlock) for files, seccomp for everything else.
#include "import/process/Confinement.h"

#include "import/process/SanitizedBuild.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <linux/landlock.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kxcontour {
namespace {

/// @name Files
/// @{

/// landlock_ruleset_attr of version 6: headers may be older than the kernel.
struct HandledRights {
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scopes = 0;
};

/// Sets the rights that a version of Landlock knows; returns their size there.
std::size_t RightsOf(long version, HandledRights& rights) {
    constexpr std::uint64_t kFirst = 13; // Rights of version 1, one bit each.
    const std::uint64_t bits =
        kFirst + (version >= 2 ? 1U : 0U) + (version >= 3 ? 1U : 0U) + (version >= 5 ? 1U : 0U);
    rights.files = (std::uint64_t{1} << bits) - 1;
    rights.network = version >= 4 ? 3 : 0; // To bind and to connect.
    rights.scopes = version >= 6 ? 3 : 0;  // Abstract sockets and signals.
    return (version >= 6 ? 3U : version >= 4 ? 2U : 1U) * sizeof(std::uint64_t);
}

/// Without effect for a folder that cannot have a rule: nothing below it can be opened then.
void AllowReadingBelow(int ruleset, int folder) {
    landlock_path_beneath_attr below{};
    below.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE;
    below.parent_fd = folder;
    ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &below, 0);
}

bool ConfineFiles(const std::vector<int>& folders) {
    const long version =
        ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1) {
        return false;
    }
    HandledRights rights;
    const std::size_t size = RightsOf(version, rights);
    const int ruleset = static_cast<int>(::syscall(SYS_landlock_create_ruleset, &rights, size, 0));
    if (ruleset < 0) {
        return false;
    }
    for (const int folder : folders) {
        AllowReadingBelow(ruleset, folder);
    }
    const bool good = ::syscall(SYS_landlock_restrict_self, ruleset, 0) == 0;
    ::close(ruleset);
    return good;
}
/// @}

/// @name System calls
/// @{

/// Memory, open files, names of files, clocks, and properties of the process itself.
constexpr std::array kAllowed{SCMP_SYS(brk),
                              SCMP_SYS(mmap),
                              SCMP_SYS(munmap),
                              SCMP_SYS(mremap),
                              SCMP_SYS(mprotect),
                              SCMP_SYS(madvise),
                              SCMP_SYS(read),
                              SCMP_SYS(readv),
                              SCMP_SYS(pread64),
                              SCMP_SYS(write),
                              SCMP_SYS(writev),
                              SCMP_SYS(lseek),
                              SCMP_SYS(close),
                              SCMP_SYS(fstat),
                              SCMP_SYS(newfstatat),
                              SCMP_SYS(stat),
                              SCMP_SYS(lstat),
                              SCMP_SYS(statx),
                              SCMP_SYS(readlink),
                              SCMP_SYS(readlinkat),
                              SCMP_SYS(access),
                              SCMP_SYS(faccessat),
                              SCMP_SYS(faccessat2),
                              SCMP_SYS(getcwd),
                              SCMP_SYS(futex),
                              SCMP_SYS(sched_yield),
                              SCMP_SYS(rt_sigaction),
                              SCMP_SYS(rt_sigreturn),
                              SCMP_SYS(rt_sigprocmask),
                              SCMP_SYS(sigaltstack),
                              SCMP_SYS(exit),
                              SCMP_SYS(exit_group),
                              SCMP_SYS(restart_syscall),
                              SCMP_SYS(getpid),
                              SCMP_SYS(gettid),
                              SCMP_SYS(getrandom),
                              SCMP_SYS(getuid),
                              SCMP_SYS(geteuid),
                              SCMP_SYS(getgid),
                              SCMP_SYS(getegid),
                              SCMP_SYS(uname),
                              SCMP_SYS(sysinfo),
                              SCMP_SYS(getrusage),
                              SCMP_SYS(clock_gettime),
                              SCMP_SYS(clock_getres),
                              SCMP_SYS(gettimeofday),
                              SCMP_SYS(time)};

/// Calls that only code from a hostile file makes.
constexpr std::array kDeadly{SCMP_SYS(execve),
                             SCMP_SYS(execveat),
                             SCMP_SYS(fork),
                             SCMP_SYS(vfork),
                             SCMP_SYS(socket),
                             SCMP_SYS(socketpair),
                             SCMP_SYS(connect),
                             SCMP_SYS(bind),
                             SCMP_SYS(ptrace),
                             SCMP_SYS(kill),
                             SCMP_SYS(process_vm_readv),
                             SCMP_SYS(process_vm_writev),
                             SCMP_SYS(unlink),
                             SCMP_SYS(unlinkat),
                             SCMP_SYS(rename),
                             SCMP_SYS(renameat),
                             SCMP_SYS(renameat2),
                             SCMP_SYS(link),
                             SCMP_SYS(linkat),
                             SCMP_SYS(symlink),
                             SCMP_SYS(symlinkat),
                             SCMP_SYS(mkdir),
                             SCMP_SYS(mkdirat),
                             SCMP_SYS(truncate),
                             SCMP_SYS(creat),
                             SCMP_SYS(io_uring_setup),
                             SCMP_SYS(open_by_handle_at),
                             SCMP_SYS(mount),
                             SCMP_SYS(unshare),
                             SCMP_SYS(setns),
                             SCMP_SYS(bpf),
                             SCMP_SYS(userfaultfd)};

/// Calls by which sanitizers test whether an address is readable.
constexpr std::array kOfSanitizers{SCMP_SYS(pipe), SCMP_SYS(pipe2)};

/// New threads as well as processes; sanitizers start one for themselves.
constexpr std::array kCloning{SCMP_SYS(clone), SCMP_SYS(clone3)};

/// A rule that the kernel's architecture has no call for is left out: that call fails anyway.
template <std::size_t N>
void AddRules(scmp_filter_ctx filter, std::uint32_t action, const std::array<int, N>& calls) {
    for (const int call : calls) {
        seccomp_rule_add(filter, action, call, 0);
    }
}

/// Allows a call where the bits of one of its arguments are the given ones.
void AllowWhere(scmp_filter_ctx filter, int call, const scmp_arg_cmp& argument) {
    seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, call, 1, &argument);
}

void AddRulesOnArguments(scmp_filter_ctx filter) {
    // O_TMPFILE holds O_DIRECTORY, which is for reading.
    constexpr scmp_datum_t kWriting =
        (O_ACCMODE | O_CREAT | O_TRUNC | O_APPEND | O_TMPFILE) & ~O_DIRECTORY;
    constexpr scmp_datum_t kAllBits = ~scmp_datum_t{0};
    AllowWhere(filter, SCMP_SYS(open), {1, SCMP_CMP_MASKED_EQ, kWriting, O_RDONLY});
    AllowWhere(filter, SCMP_SYS(openat), {2, SCMP_CMP_MASKED_EQ, kWriting, O_RDONLY});
    // The limits of this process, and the signal of abort().
    const auto self = static_cast<scmp_datum_t>(::getpid());
    AllowWhere(filter, SCMP_SYS(prlimit64), {0, SCMP_CMP_MASKED_EQ, kAllBits, 0});
    AllowWhere(filter, SCMP_SYS(tgkill), {0, SCMP_CMP_MASKED_EQ, kAllBits, self});
}

bool FilterCalls() {
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
    if (filter == nullptr) {
        return false;
    }
    AddRules(filter, SCMP_ACT_ALLOW, kAllowed);
    AddRules(filter, SCMP_ACT_KILL_PROCESS, kDeadly);
    if (kIsSanitized) {
        AddRules(filter, SCMP_ACT_ALLOW, kOfSanitizers);
    } else {
        AddRules(filter, SCMP_ACT_KILL_PROCESS, kCloning);
    }
    AddRulesOnArguments(filter);
    const bool loaded = seccomp_load(filter) == 0;
    seccomp_release(filter);
    return loaded;
}
/// @}

} // namespace

Confined Confine(const std::vector<int>& folders) {
    // Both require it: a program that this process starts gains no rights.
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    Confined confined;
    confined.files = ConfineFiles(folders);
    confined.calls = FilterCalls();
    return confined;
}

} // namespace kxcontour
