// kxcontour: draws a model file as an SVG line drawing. Here failures become exit codes.
#include "tool/Application.h"
#include "tool/common/Failure.h"
#include "tool/common/Interrupt.h"
#include "tool/common/MemoryLimit.h"
#include "tool/common/Messages.h"
#include "tool/common/StandardStreams.h"
#include "tool/options/CommandLine.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

using kxcontour::ExitCode;

int Fail(const std::exception& error) {
    const bool coloured = kxcontour::WantsColour();
    const auto [code, message] = kxcontour::FailureOf(error);
    kxcontour::Messages(std::cerr, kxcontour::Messages::Loudness::Normal, coloured).error(message);
    return static_cast<int>(code);
}

/// Prints the results of a run that ends with a code. Lost results are a failure; that of a job
/// comes first.
int Print(const std::string& results, int code) {
    try {
        kxcontour::WriteToStandardOutput(results);
        return code;
    } catch (const kxdrawing::CannotWrite& failure) {
        const int lost = Fail(failure);
        return code == static_cast<int>(ExitCode::Drawn) ? lost : code;
    }
}

/// All results are gathered, so that they are printed, and looked after, in one place.
int Run(const std::vector<std::string>& arguments) {
    std::ostringstream results;
    const std::optional<kxcontour::Command> command =
        kxcontour::ParseCommandLine(arguments, results);
    const int code = command ? kxcontour::Execute(*command, results, std::cerr)
                             : static_cast<int>(ExitCode::Drawn);
    return Print(results.str(), code);
}

/// Memory that was given back is kept for the next large array. The system clears what it hands out
/// page by page, which takes longer than filling it.
void KeepMemory() {
#ifdef __GLIBC__
    constexpr int kAnySize = 1 << 30;
    mallopt(M_MMAP_THRESHOLD, kAnySize);
    mallopt(M_TRIM_THRESHOLD, kAnySize);
#endif
}

} // namespace

int main(int argc, char** argv) {
    kxcontour::OccupyClosedStreams();
    KeepMemory();
    kxcontour::LimitMemoryToAvailable();
    // A file that outgrows its limit and a reader that leaves are reported like a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    kxcontour::HandleInterrupts();
    try {
        return Run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception& error) {
        return Fail(error);
    }
}
