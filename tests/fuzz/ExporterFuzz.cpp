// Line sets, a camera, a page and styles from the input, written by the exporter and read back: the
// document is well-formed, its head and groups say what was asked for, and its lines are the
// visible pieces of every set, each once, at the page points that the definition gives.
#include <ctr/SVGExporter.h>

#include "fuzz/FuzzBytes.h"
#include "fuzz/FuzzSets.h"
#include "support/ExactBaking.h"
#include "support/Scenes.h"
#include "tool/ModelText.h"
#include "tool/SvgFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <numeric>
#include <set>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <utility>
#include <vector>

namespace {

using ctr::DiscreteProjectionSpace;
using ctr::ExportParameters;
using ctr::LineSegmentSet;
using fuzz::FuzzBytes;
using fuzz::Piece;
using fuzz::Require;
using fuzz::SetPointer;
using test_support::Vec3;

/// Six significant digits, as the exporter writes.
std::string Text(float value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", static_cast<double>(value));
    return text.data();
}

/// A written number as a key: any NaN is one value, and -0 is 0.
std::uint64_t NumberKey(double value) {
    return value != value ? ~std::uint64_t{0} : std::bit_cast<std::uint64_t>(value + 0.0);
}

using PageKey = std::pair<std::uint64_t, std::uint64_t>;
using LineKey = std::pair<PageKey, PageKey>;

LineKey Undirected(const PageKey& a, const PageKey& b) {
    return std::minmax(a, b);
}

DiscreteProjectionSpace TakeCamera(FuzzBytes& bytes) {
    switch (bytes.below(5)) {
    case 0:
        return {};
    case 1:
        return test_support::PerspectiveSpace(10, 10, 1.0F, 1.0F, 8.0F);
    case 2:
        return test_support::SlantedSpace(12, 12, 8.0F);
    case 3:
        return test_support::SqueezedLatticeSpace(8, 8, 2.0F);
    default:
        break;
    }
    Wm4::Matrix4<float> matrix(false);
    for (int i = 0; i < 16; ++i) {
        matrix[i / 4][i % 4] = bytes.flag() ? bytes.number() : matrix[i / 4][i % 4];
    }
    DiscreteProjectionSpace space;
    space.setViewProjection(matrix, Wm4::Matrix4<float>(false));
    space.updateRatios();
    return space;
}

ExportParameters TakePage(FuzzBytes& bytes) {
    ExportParameters page(TakeCamera(bytes));
    if (bytes.flag()) {
        const float width = bytes.number();
        page.setPageSizeInMM({width, bytes.number()});
    }
    if (bytes.flag()) {
        page.computeBestFitTransform();
    } else if (bytes.flag()) {
        std::generate(page.pageTransform.begin(), page.pageTransform.end(),
                      [&] { return bytes.number(); });
        const float x = bytes.number();
        page.pageOffset = {x, bytes.number()};
    }
    return page;
}

/// Where a vertex of a set comes to lie on the page.
PageKey PagePoint(const ExportParameters& page, const LineSegmentSet& set, const Vec3& position) {
    const Vec3 world = set.GetWorldTransformation().ApplyForward(position, true);
    const Wm4::Vector4<float> clip = test_support::ClipPosition(page, world);
    const float x = clip[0] / clip[3];
    const float y = clip[1] / clip[3];
    const auto& m = page.pageTransform;
    const float right = m[0] * x + m[1] * y + page.pageOffset[0];
    const float up = m[2] * x + m[3] * y + page.pageOffset[1];
    const auto written = [](float value) {
        return NumberKey(std::strtod(Text(value).c_str(), nullptr));
    };
    return {written(right), written(page.pageSizeInMM[1] - up)};
}

/// Whether two of the points are one by value and yet differ, 0 and -0: which of them an output
/// keeps is open, and a division can turn that into anything.
bool HasTwoZeros(const std::vector<Piece>& pieces) {
    std::map<fuzz::PointKey, std::array<std::uint32_t, 3>> seen;
    const auto differs = [&](const Vec3& p) {
        const auto found = seen.emplace(fuzz::KeyOf(p), test_support::Bits(p)).first;
        return found->second != test_support::Bits(p);
    };
    return std::any_of(pieces.begin(), pieces.end(), [&](const Piece& piece) {
        return differs(piece.first) || differs(piece.second);
    });
}

/// The least number of strokes that a graph of pieces can be drawn in: half of its odd points, and
/// one for each part without any.
std::size_t FewestPaths(const std::vector<Piece>& pieces) {
    std::map<fuzz::PointKey, std::size_t> numbers;
    std::vector<std::size_t> part;
    std::vector<std::size_t> degree;
    const auto number = [&](const Vec3& p) {
        const auto [found, added] = numbers.emplace(fuzz::KeyOf(p), part.size());
        if (added) {
            part.push_back(part.size());
            degree.push_back(0);
        }
        ++degree[found->second];
        return found->second;
    };
    const auto root = [&](std::size_t v) {
        while (part[v] != v) {
            v = part[v];
        }
        return v;
    };
    for (const Piece& piece : pieces) {
        const std::size_t a = root(number(piece.first));
        part[a] = root(number(piece.second));
    }
    std::vector<std::size_t> odd(part.size(), 0);
    for (std::size_t v = 0; v < part.size(); ++v) {
        odd[root(v)] += degree[v] % 2;
    }
    std::size_t paths = 0;
    for (std::size_t v = 0; v < part.size(); ++v) {
        paths += root(v) == v ? std::max<std::size_t>(1, odd[v] / 2) : 0;
    }
    return paths;
}

void CheckGroup(const tool_test::SvgGroup& group,
                const LineSegmentSet& set,
                const ExportParameters& page) {
    const std::vector<Piece> pieces = fuzz::VisiblePieces(set);
    Require(group.paths.size() <= pieces.size(), "more paths than pieces");
    Require(group.paths.size() >= FewestPaths(pieces), "paths jump");
    std::multiset<LineKey> expected;
    for (const auto& [a, b] : pieces) {
        expected.insert(Undirected(PagePoint(page, set, a), PagePoint(page, set, b)));
    }
    std::multiset<LineKey> written;
    for (const tool_test::SvgPath& path : group.paths) {
        for (std::size_t i = 1; i < path.size(); ++i) {
            written.insert(Undirected({NumberKey(path[i - 1].x), NumberKey(path[i - 1].y)},
                                      {NumberKey(path[i].x), NumberKey(path[i].y)}));
        }
    }
    Require(written.size() == expected.size(), "a piece is missing or written twice");
    Require(written == expected || HasTwoZeros(pieces), "a piece lies elsewhere");
}

/// One set to be streamed, in a style of its own.
struct Order {
    SetPointer set;
    std::string style;
    bool inRange = true; ///< Whether all of its indices are numbers of vertices.
};

Order TakeOrder(FuzzBytes& bytes, ctr::SVGExporter& exporter) {
    Order order{fuzz::TakeSet(bytes), "silhouette", true};
    if (bytes.flag()) {
        order.style = "style " + std::to_string(bytes.below(3));
        const float red = bytes.number();
        const float green = bytes.number();
        const float blue = bytes.number();
        exporter.setLineStyle(order.style, {Wm4::ColorRGB(red, green, blue), bytes.number()});
    }
    // Only where no range asks for the points of a segment may an index lead nowhere.
    kx::kxIndexBuffer* const lines = order.set->GetIndexBuffer();
    if (bytes.rarely() && order.set->occlusionIntervals.empty() && lines->GetIndexQuantity() > 1) {
        lines->GetData()[bytes.below(2)] = bytes.flag() ? 24U : 0xFFFFFFFFU;
        order.inRange = std::all_of(lines->GetData(), lines->GetData() + 2, [&](unsigned int i) {
            return i < static_cast<unsigned int>(order.set->GetVertexBuffer()->GetVertexQuantity());
        });
    }
    return order;
}

/// A file in memory, one for the whole run.
const std::string& MemoryFile() {
    static const std::string path = "/proc/self/fd/" + std::to_string(::memfd_create("drawing", 0));
    return path;
}

void Write(ctr::SVGExporter& exporter, const std::vector<Order>& orders) {
    Require(exporter.openFile(MemoryFile()), "the file does not open");
    for (const Order& order : orders) {
        Require(exporter.streamLineSegments(*order.set, order.style), "a set is refused");
    }
    Require(!exporter.streamLineSegments(*test_support::MakeSet({Vec3(0, 0, 0)}, {0, 0}), "none"),
            "an unknown style is taken");
    Require(exporter.closeFile(), "the file does not close");
}

tool_test::SvgFile ReadBack() {
    try {
        return tool_test::ReadSvg(MemoryFile());
    } catch (const std::runtime_error& error) {
        fuzz::Fail(std::string("the document is not right: ") + error.what());
    }
}

void CheckHead(const tool_test::SvgFile& svg, const ExportParameters& page) {
    const std::string width = Text(page.pageSizeInMM[0]);
    const std::string height = Text(page.pageSizeInMM[1]);
    Require(svg.width == width + "mm" && svg.height == height + "mm", "another page");
    std::string box = "0 0 ";
    box.append(width).append(" ").append(height);
    Require(svg.viewBox == box, "another box");
    Require(svg.title == "A & B", "another title");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzBytes bytes(data, size);
    ctr::SVGExporter exporter;
    const ExportParameters page = TakePage(bytes);
    exporter.setExportParameters(page);
    exporter.setTitle("A &amp; B");
    std::vector<Order> orders;
    for (unsigned int count = 1 + bytes.below(3); count > 0; --count) {
        orders.push_back(TakeOrder(bytes, exporter));
    }
    Write(exporter, orders);
    const tool_test::SvgFile svg = ReadBack();
    CheckHead(svg, page);
    std::size_t group = 0;
    for (const Order& order : orders) {
        if (order.inRange && !fuzz::VisiblePieces(*order.set).empty()) {
            Require(group < svg.groups.size(), "a group is missing");
            const ctr::SVGLineStyle style = exporter.getLineStyle(order.style);
            Require(svg.groups[group].strokeWidth == Text(style.width), "another width");
            CheckGroup(svg.groups[group++], *order.set, page);
        }
    }
    Require(group == svg.groups.size(), "a group too many");
    const std::string once = tool_test::ReadBytes(MemoryFile());
    Write(exporter, orders);
    Require(once == tool_test::ReadBytes(MemoryFile()), "other bytes the second time");
    return 0;
}
