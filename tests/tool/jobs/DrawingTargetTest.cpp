// Drawings to standard output.
#include <kxDrawing/Errors.h>

#include "ModelText.h"
#include "ShapeBuilders.h"
#include "tool/jobs/DrawingJob.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace {

using kxcontour::DrawingTarget;
using tool_test::FailureOf;
using tool_test::ReadBytes;
using tool_test::TemporaryFolder;

/// Sends standard output to a descriptor, or closes it for -1, while this lives.
class StandardOutput {
public:
    explicit StandardOutput(int descriptor) : before_(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10)) {
        ::fflush(stdout);
        if (descriptor < 0) {
            ::close(STDOUT_FILENO);
        } else {
            ::dup2(descriptor, STDOUT_FILENO);
        }
    }
    ~StandardOutput() {
        ::dup2(before_, STDOUT_FILENO);
        ::close(before_);
    }
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

private:
    int before_;
};

/// Runs something with standard output in a file and returns what got there.
std::string OutputOf(const std::string& file, const std::function<void()>& action) {
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    {
        const StandardOutput redirected(descriptor);
        action();
    }
    ::close(descriptor);
    return ReadBytes(file);
}

TEST(DrawingTarget, WritesToStandardOutputWhenTheWholeIsThere) {
    const TemporaryFolder folder;
    const std::string text = std::string(300000, 'x') + std::string("\0end", 4);
    const std::string written = OutputOf(folder.path("out"), [&] {
        DrawingTarget("-").write([&](std::ostream& out) {
            out << text << std::flush;
            EXPECT_EQ(ReadBytes(folder.path("out")), "");
        });
    });
    EXPECT_EQ(written, text);
    EXPECT_FALSE(std::filesystem::exists("-"));
}

TEST(DrawingTarget, WritesNothingOfADrawingThatFails) {
    const TemporaryFolder folder;
    const std::string written = OutputOf(folder.path("out"), [] {
        EXPECT_THROW(DrawingTarget("-").write([](std::ostream& out) {
            out << "new";
            throw std::runtime_error("no more");
        }),
                     std::runtime_error);
    });
    EXPECT_EQ(written, "");
}

/// The message when standard output, which is the descriptor, cannot take a large drawing.
std::string RefusalOf(int descriptor) {
    const StandardOutput redirected(descriptor);
    return FailureOf<kxdrawing::CannotWrite>([] {
        DrawingTarget("-").write([](std::ostream& out) { out << std::string(300000, 'x'); });
    });
}

TEST(DrawingTarget, SaysWhyStandardOutputCannotBeWritten) {
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(RefusalOf(full), "standard output: cannot write: No space left on device");
    ::close(full);
    EXPECT_EQ(RefusalOf(-1), "standard output: cannot write: Bad file descriptor");
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ::close(ends[0]);
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(RefusalOf(ends[1]), "standard output: cannot write: Broken pipe");
    std::signal(SIGPIPE, before);
    ::close(ends[1]);
}

} // namespace
