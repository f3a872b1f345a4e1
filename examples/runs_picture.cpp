// Shows how the library classifies lines: each run in the colour of its kind.
//
//   runs_picture SHAPE OUT.svg          one of the drawings below
//   runs_picture --lines FILE OUT.svg   a line list, see below; - reads the standard input
//
// A line list has one segment per line: x y z of both ends, and 1 to search for straight runs, 0
// (or nothing) for arcs. Ends with equal coordinates are one vertex. The view is along z, with y
// upwards: arcs are red, straight runs blue, everything else is grey; dots mark the ends of chains.
#include <ctr/LineSegmentSet.h>

#include <kxSceneGraph/kxIndexBuffer.h>
#include <kxSceneGraph/kxVertexBuffer.h>
#include <kxSystem/kxPointer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <locale>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using Point = Wm4::Vector3<float>;
using Record = ctr::LineSegmentSet::ArcFeature;

constexpr double kPi = 3.141592653589793;

// --- Lines -----------------------------------------------------------------------------------

struct LineList {
    std::vector<Point> positions;
    std::vector<unsigned int> indices;
    std::vector<bool> flags; ///< One per segment: search for straight runs.

    unsigned int vertexAt(const Point& p) {
        const auto [place, isNew] =
            numbers_.try_emplace({p[0], p[1], p[2]}, static_cast<unsigned int>(positions.size()));
        if (isNew) {
            positions.push_back(p);
        }
        return place->second;
    }

    void addSegment(const Point& p, const Point& q, bool straight = false) {
        indices.push_back(vertexAt(p));
        indices.push_back(vertexAt(q));
        flags.push_back(straight);
    }

private:
    std::map<std::array<float, 3>, unsigned int> numbers_;
};

Point OnCircle(double x, double y, double radius, double degrees) {
    const double angle = std::fmod(degrees, 360.0) * kPi / 180.0;
    return Point(static_cast<float>(x + radius * std::cos(angle)),
                 static_cast<float>(y + radius * std::sin(angle)), 1.0F);
}

void AddArc(
    LineList& list, double x, double y, double radius, double from, double sweep, int segments) {
    const auto at = [&](int i) { return OnCircle(x, y, radius, from + sweep * i / segments); };
    for (int i = 0; i < segments; ++i) {
        list.addSegment(at(i), at(i + 1));
    }
}

void AddLine(LineList& list, const Point& p, const Point& q, int segments, bool straight) {
    const auto at = [&](int i) {
        return p + (static_cast<float>(i) / static_cast<float>(segments)) * (q - p);
    };
    for (int i = 0; i < segments; ++i) {
        list.addSegment(at(i), at(i + 1), straight);
    }
}

// A quarter of a circle.
LineList Arc() {
    LineList list;
    AddArc(list, 20.0, 20.0, 15.0, 0.0, 90.0, 24);
    return list;
}

// Two half circles with straight sides between them, searched for arcs.
LineList Slot() {
    LineList list;
    const double right = 64.0;
    AddLine(list, OnCircle(24.0, 16.0, 10.0, 270.0), OnCircle(right, 16.0, 10.0, 270.0), 10, false);
    AddArc(list, right, 16.0, 10.0, 270.0, 180.0, 24);
    AddLine(list, OnCircle(right, 16.0, 10.0, 90.0), OnCircle(24.0, 16.0, 10.0, 90.0), 10, false);
    AddArc(list, 24.0, 16.0, 10.0, 90.0, 180.0, 24);
    return list;
}

// A circle cut by a spoke at every vertex.
LineList Wheel() {
    LineList list;
    for (int i = 0; i < 24; ++i) {
        const double angle = 15.0 * i;
        list.addSegment(OnCircle(25, 25, 15.0, angle), OnCircle(25, 25, 15.0, angle + 15.0));
        list.addSegment(OnCircle(25, 25, 15.0, angle), OnCircle(25, 25, 24.0, angle));
    }
    return list;
}

// Two straight rails cut by rungs.
LineList Ladder() {
    LineList list;
    for (int i = 0; i < 10; ++i) {
        const auto x = static_cast<float>(10 * i);
        list.addSegment(Point(x, 5, 1), Point(x + 10, 5, 1), true);
        list.addSegment(Point(x, 25, 1), Point(x + 10, 25, 1), true);
        list.addSegment(Point(x + 5, 9, 1), Point(x + 5, 21, 1), true);
    }
    return list;
}

// A gear seen along its axis: teeth, a bore, a ring of holes, and a rim cut by ribs.
LineList Gear() {
    LineList list;
    const double c = 60.0;
    constexpr int kTeeth = 24;
    for (int tooth = 0; tooth < kTeeth; ++tooth) {
        const double a = 15.0 * tooth;
        AddArc(list, c, c, 50.0, a, 6.0, 2);
        list.addSegment(OnCircle(c, c, 50.0, a + 6.0), OnCircle(c, c, 56.0, a + 8.0));
        AddArc(list, c, c, 56.0, a + 8.0, 5.0, 2);
        list.addSegment(OnCircle(c, c, 56.0, a + 13.0), OnCircle(c, c, 50.0, a + 15.0));
        list.addSegment(OnCircle(c, c, 44.0, a), OnCircle(c, c, 44.0, a + 15.0));
        list.addSegment(OnCircle(c, c, 44.0, a), OnCircle(c, c, 47.0, a));
    }
    for (int hole = 0; hole < 6; ++hole) {
        const Point centre = OnCircle(c, c, 28.0, 60.0 * hole);
        AddArc(list, centre[0], centre[1], 8.0, 0.0, 360.0, 36);
    }
    AddArc(list, c, c, 10.0, 0.0, 360.0, 36);
    return list;
}

const std::map<std::string, std::function<LineList()>>& Shapes() {
    static const std::map<std::string, std::function<LineList()>> shapes{
        {"arc", Arc}, {"gear", Gear}, {"ladder", Ladder}, {"slot", Slot}, {"wheel", Wheel}};
    return shapes;
}

// False for a line that is not a segment.
bool AddSegmentFrom(const std::string& text, LineList& list) {
    std::istringstream line(text);
    line.imbue(std::locale::classic());
    Point p;
    Point q;
    for (Point* point : {&p, &q}) {
        for (int i = 0; i < 3; ++i) {
            line >> (*point)[i];
        }
    }
    const bool whole = !line.fail();
    int straight = 0;
    if (!(line >> straight)) {
        straight = 0;
    }
    if (whole) {
        list.addSegment(p, q, straight != 0);
    }
    return whole;
}

LineList ReadLines(std::istream& in, const std::string& name) {
    LineList list;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const bool blank = line.find_first_not_of(" \t\r") == std::string::npos;
        if (!blank && !AddSegmentFrom(line, list)) {
            throw std::runtime_error(name + ":" + std::to_string(number) +
                                     ": not the six numbers of a segment");
        }
    }
    return list;
}

LineList ReadLines(const std::string& name) {
    if (name == "-") {
        return ReadLines(std::cin, name);
    }
    std::ifstream file(name);
    if (!file) {
        throw std::runtime_error(name + ": cannot read");
    }
    return ReadLines(file, name);
}

// --- Runs ------------------------------------------------------------------------------------

struct Runs {
    kx::kxPointer<ctr::LineSegmentSet> lines;
    std::vector<Record> records;
};

Runs Recognise(const LineList& list) {
    kx::kxAttributes attributes;
    attributes.SetPositionChannels(3);
    const kx::kxPointer<kx::kxVertexBuffer> vertices(
        new kx::kxVertexBuffer(attributes, static_cast<int>(list.positions.size())));
    for (std::size_t i = 0; i < list.positions.size(); ++i) {
        vertices->Position3(static_cast<int>(i)) = list.positions[i];
    }
    const kx::kxPointer<kx::kxIndexBuffer> indices(
        new kx::kxIndexBuffer(static_cast<int>(list.indices.size()), kx::IBT_LINES));
    std::copy(list.indices.begin(), list.indices.end(), indices->GetData());
    const kx::kxPointer<ctr::LineSegmentSet> set(new ctr::LineSegmentSet);
    set->SetVertexBuffer(vertices.get());
    set->SetIndexBuffer(indices.get());
    set->segmentFlags = list.flags;
    Runs runs;
    runs.lines = kx::kxPointer<ctr::LineSegmentSet>(
        ctr::LineSegmentSet::BuildPolylines(*set, runs.records, false));
    if (!runs.lines) {
        throw std::runtime_error("nothing to draw: there are no segments");
    }
    return runs;
}

std::string Count(std::size_t n, const std::string& noun) {
    return std::to_string(n) + " " + noun + (n == 1 ? "" : "s");
}

// The number of segments of each kind, and of chains.
std::string Summary(const Runs& runs) {
    std::array<std::size_t, 3> segments{};
    std::size_t chains = 0;
    for (const Record& run : runs.records) {
        segments[run.kind] += (run.end - run.first) / 2;
        chains += run.prev == nullptr ? 1 : 0;
    }
    return Count(segments[0] + segments[1] + segments[2], "segment") + ": " +
           std::to_string(segments[2]) + " straight, " + std::to_string(segments[1]) + " arc, " +
           std::to_string(segments[0]) + " neither, in " + Count(chains, "chain");
}

// --- The picture -----------------------------------------------------------------------------

class Picture {
public:
    Picture(const Runs& runs, std::ostream& out)
        : vertices_(*runs.lines->GetVertexBuffer()),
          indices_(runs.lines->GetIndexBuffer()->GetData()), out_(out) {
        out_.imbue(std::locale::classic());
        const int indexCount = runs.lines->GetIndexBuffer()->GetIndexQuantity();
        for (int i = 0; i < indexCount; ++i) {
            measure(vertices_.Position3(static_cast<int>(indices_[i])));
        }
    }

    void draw(const std::vector<Record>& records) {
        const float size = std::max(high_[0] - low_[0], high_[1] - low_[1]);
        scale_ = size > 0.0F ? 180.0F / size : 1.0F;
        const float width = (high_[0] - low_[0]) * scale_ + 2.0F * kMargin;
        const float height = (high_[1] - low_[1]) * scale_ + 2.0F * kMargin;
        out_ << R"(<svg xmlns="http://www.w3.org/2000/svg" width=")" << width << R"(mm" height=")"
             << height << R"(mm" viewBox="0 0 )" << width << ' ' << height << "\">\n"
             << R"(<g fill="none" stroke-linecap="round" stroke-linejoin="round">)" << '\n';
        for (const Record& run : records) {
            drawRun(run);
        }
        out_ << "</g>\n<g fill=\"black\">\n";
        for (const Record& run : records) {
            if (run.prev == nullptr) {
                drawDot(run.first);
            }
            if (run.next == nullptr) {
                drawDot(run.end - 1);
            }
        }
        out_ << "</g>\n</svg>\n";
    }

private:
    static constexpr float kMargin = 5.0F; ///< Millimetres, as all of the picture.

    void measure(const Point& p) {
        for (int i = 0; i < 2; ++i) {
            const auto axis = static_cast<std::size_t>(i);
            low_[axis] = std::min(low_[axis], p[i]);
            high_[axis] = std::max(high_[axis], p[i]);
        }
    }

    void writePoint(std::size_t place, const char* between) {
        const Point& p = vertices_.Position3(static_cast<int>(indices_[place]));
        out_ << (p[0] - low_[0]) * scale_ + kMargin << between
             << (high_[1] - p[1]) * scale_ + kMargin;
    }

    void drawRun(const Record& run) {
        static constexpr std::array<const char*, 3> kColours{"#999999", "#d02020", "#2040d0"};
        out_ << "<polyline stroke=\"" << kColours[run.kind] << R"(" stroke-width="0.4" points=")";
        writePoint(run.first, ",");
        for (std::size_t i = run.first + std::size_t{1}; i < run.end; i += 2) {
            out_ << ' ';
            writePoint(i, ",");
        }
        out_ << "\"/>\n";
    }

    void drawDot(std::size_t place) {
        out_ << "<circle cx=\"";
        writePoint(place, "\" cy=\"");
        out_ << "\" r=\"0.5\"/>\n";
    }

    const kx::kxVertexBuffer& vertices_;
    const unsigned int* indices_;
    std::ostream& out_;
    static constexpr float kFar = std::numeric_limits<float>::max();
    std::array<float, 2> low_{kFar, kFar};
    std::array<float, 2> high_{-kFar, -kFar};
    float scale_ = 1.0F;
};

LineList LinesOf(const std::vector<std::string>& arguments) {
    if (arguments.size() == 3 && arguments[0] == "--lines") {
        return ReadLines(arguments[1]);
    }
    const auto shape = arguments.size() == 2 ? Shapes().find(arguments[0]) : Shapes().end();
    if (shape == Shapes().end()) {
        std::string names;
        for (const auto& [name, build] : Shapes()) {
            names += " " + name;
        }
        throw std::runtime_error("usage: runs_picture SHAPE OUT.svg\n"
                                 "       runs_picture --lines FILE OUT.svg\n"
                                 "shapes:" +
                                 names);
    }
    return shape->second();
}

} // namespace

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        const Runs runs = Recognise(LinesOf(arguments));
        std::ofstream out(arguments.back());
        Picture(runs, out).draw(runs.records);
        if (!out.flush()) {
            throw std::runtime_error(arguments.back() + ": cannot write");
        }
        std::cout << Summary(runs) << '\n';
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
