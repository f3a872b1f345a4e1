// Drawings, files and expectations for the tests of the writers.
#pragma once

#include <kxDrawing/Errors.h>

#include "drawing/files/Descriptor.h"
#include "drawing/files/FileStream.h"
#include "drawing/output/Writers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <fcntl.h>
#include <locale>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace tool_test {

using kxcontour::Path;
using kxcontour::PathGroup;
using kxdrawing::Drawing;

inline Path MakePath(std::vector<kxcontour::Point> points) {
    Path path;
    path.points = std::move(points);
    return path;
}

inline PathGroup MakeGroup(std::vector<Path> paths) {
    PathGroup group;
    group.paths = std::move(paths);
    return group;
}

/// One nameless layer with one group.
inline kxdrawing::Drawing MakeDrawing(std::vector<Path> paths) {
    kxdrawing::Drawing drawing;
    drawing.layers.push_back({"", {MakeGroup(std::move(paths))}});
    return drawing;
}

/// Points of a circle, the first one again at the end, with the arc in their place.
inline Path
CirclePath(kxcontour::Point center, double radius, double start, double sweep, std::size_t steps) {
    constexpr double kDegree = 3.14159265358979323846 / 180.0;
    Path path;
    for (std::size_t i = 0; i <= steps; ++i) {
        const double share = static_cast<double>(i) / static_cast<double>(steps);
        const double angle = (start + sweep * share) * kDegree;
        path.points.push_back(
            {center.x + radius * std::cos(angle), center.y + radius * std::sin(angle)});
    }
    if (std::fabs(sweep) == 360.0) {
        path.points.back() = path.points.front();
    }
    path.arcs.push_back({0, steps, center, radius, radius, 0.0, start, sweep});
    return path;
}

/// Layers, families, dashes, a dot, a loop, arcs: some of all that a drawing may have.
inline kxdrawing::Drawing RichDrawing() {
    kxdrawing::Drawing drawing;
    drawing.title = "Pump & <valve>";
    drawing.description = "Seen from \"above\"";
    PathGroup creases = MakeGroup({MakePath({{10, 20}, {30, 20}}),
                                   MakePath({{40, 20}, {60, 20}, {50, 40}, {40, 20}}),
                                   CirclePath({100, 100}, 25, 0, 360, 40)});
    creases.kind = kxcontour::LineKind::Crease;
    creases.style = {0.13, {255, 128, 1}, {}};
    PathGroup hidden = MakeGroup({MakePath({{10, 200}, {60, 200}}), MakePath({{5, 5}, {5, 5}}),
                                  CirclePath({150, 200}, 20, 30, -90, 20)});
    hidden.hidden = true;
    hidden.style = {0.1, {0, 0, 0}, {1.0, 0.6}};
    drawing.layers.push_back({"Geh\xC3\xA4use \"1\"", {creases}});
    drawing.layers.push_back({"a<b>&c", {hidden}});
    return drawing;
}

/// A stream into a file that is created or truncated, open until the end of the expression.
class NewFile {
public:
    explicit NewFile(const std::string& path)
        : descriptor_(::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)),
          stream_(descriptor_.number()) {
        EXPECT_TRUE(descriptor_) << path;
    }

    operator std::ostream&() { return stream_; }

private:
    kxcontour::Descriptor descriptor_;
    kxcontour::FileStream stream_;
};

/// The bytes that write(stream) writes.
template <class Write> std::string BytesFrom(const Write& write) {
    std::ostringstream out;
    write(out);
    return out.str();
}

/// The errno value of a write that has to fail.
template <class Write> int ReasonOf(const Write& write) {
    try {
        write();
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    ADD_FAILURE() << "did not fail";
    return 0;
}

/// Expects that write(stream) reports the reason of a file that does not take what is written.
template <class Write> void ExpectReasons(const Write& write) {
    EXPECT_EQ(ReasonOf([&] { write(NewFile("/dev/full")); }), ENOSPC);
    kxcontour::FileStream closed(-1);
    EXPECT_EQ(ReasonOf([&] { write(closed); }), EBADF);
    std::ostringstream failed;
    failed.setstate(std::ios::badbit);
    EXPECT_THROW(write(failed), kxdrawing::CannotWrite);
}

/// A host whose numbers have commas, and dots between thousands, while this lives.
class CommaLocale {
public:
    CommaLocale() : before_(std::locale::global(std::locale(std::locale(), new Commas))) {}
    ~CommaLocale() { std::locale::global(before_); }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

private:
    class Commas : public std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::locale before_;
};

} // namespace tool_test
