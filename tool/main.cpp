// kxcontour: draws a model file as an SVG line drawing. Here failures become exit codes.
#include "Application.h"
#include "common/Failure.h"
#include "common/Interrupt.h"
#include "options/Options.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace {

using kxcontour::ExitCode;

/// One message is one write, so that those of several processes do not mix.
int Fail(ExitCode code, const std::string& message) {
    std::cerr << "kxcontour: " + message + "\n" << std::flush;
    return static_cast<int>(code);
}

int Run(const std::vector<std::string>& arguments) {
    const std::optional<kxcontour::Options> options = kxcontour::ParseOptions(arguments, std::cout);
    if (options) {
        kxcontour::Draw(*options, std::cout, std::cerr);
    }
    return static_cast<int>(ExitCode::Drawn);
}

} // namespace

int main(int argc, char** argv) {
    // A file that outgrows its limit is reported like a full disk, not by a signal.
    std::signal(SIGXFSZ, SIG_IGN);
    kxcontour::HandleInterrupts();
    try {
        return Run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const kxcontour::Failure& failure) {
        return Fail(failure.code(), failure.what());
    } catch (const std::bad_alloc&) {
        return Fail(ExitCode::Internal, "internal error: out of memory");
    } catch (const std::exception& error) {
        return Fail(ExitCode::Internal, std::string("internal error: ") + error.what());
    }
}
