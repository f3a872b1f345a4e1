// A table of views whose columns are as wide and whose rows as high as their largest view.
#include "drawing/camera/SheetLayout.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <numeric>
#include <set>
#include <utility>

namespace kxcontour {
namespace {

/// White between two views, as a part of the sheet's shorter side.
constexpr double kGapShare = 1.0 / 20.0;

/// Column and row, the front view at the origin and rows going down.
using Slot = std::pair<int, int>;

/// In third angle, by direction: front, back, left, right, top, bottom, iso.
constexpr std::array<Slot, 7> kThirdAngle{
    {{0, 0}, {2, 0}, {-1, 0}, {1, 0}, {0, -1}, {0, 1}, {1, -1}}};

/// The isometric view keeps the upper right corner, where nothing else stands.
Slot SlotOf(kxdrawing::Direction view, Arrangement arrangement) {
    const auto [column, row] = kThirdAngle[static_cast<std::size_t>(view)];
    const bool stays = arrangement == Arrangement::ThirdAngle ||
                       view == kxdrawing::Direction::Back || view == kxdrawing::Direction::Iso;
    return stays ? Slot(column, row) : Slot(-column, -row);
}

std::vector<Slot> SlotsOf(const std::vector<SheetView>& views, Arrangement arrangement) {
    std::vector<Slot> slots;
    bool hasFront = false;
    for (const SheetView& view : views) {
        slots.push_back(SlotOf(view.view, arrangement));
        hasFront = hasFront || view.view == kxdrawing::Direction::Front;
    }
    const std::set<Slot> distinct(slots.begin(), slots.end());
    if (!hasFront || distinct.size() < slots.size()) {
        for (std::size_t i = 0; i < slots.size(); ++i) {
            slots[i] = {static_cast<int>(i), 0};
        }
    }
    return slots;
}

/// The columns, or the rows, of the table with what each needs in world units.
using Tracks = std::map<int, double>;

double SumOf(const Tracks& tracks) {
    return std::accumulate(tracks.begin(), tracks.end(), 0.0,
                           [](double sum, const auto& track) { return sum + track.second; });
}

/// Where each track begins, in millimetres, the gap before it included.
std::map<int, double> StartsOf(const Tracks& tracks, double scale, double gap, double first) {
    std::map<int, double> starts;
    for (const auto& [number, size] : tracks) {
        starts[number] = first;
        first += size / scale + gap;
    }
    return starts;
}

double WithGaps(const Tracks& tracks, double scale, double gap) {
    return SumOf(tracks) / scale + gap * static_cast<double>(tracks.size() - 1);
}

/// World units per millimetre that make the tracks and their gaps as long as there is room for.
double ScaleFor(const Tracks& tracks, double room, double gap) {
    const double left = room - gap * static_cast<double>(tracks.size() - 1);
    return SumOf(tracks) / std::max(left, 0.1 * room);
}

} // namespace

SheetLayout ArrangeViews(const std::vector<SheetView>& views,
                         const Page& page,
                         Arrangement arrangement,
                         std::optional<double> unitsPerMillimetre) {
    const std::vector<Slot> slots = SlotsOf(views, arrangement);
    Tracks columns;
    Tracks rows;
    for (std::size_t i = 0; i < views.size(); ++i) {
        double& width = columns[slots[i].first];
        double& height = rows[slots[i].second];
        width = std::max(width, views[i].width);
        height = std::max(height, views[i].height);
    }
    const double gap = kGapShare * std::min(page.size.width, page.size.height);
    const double fitted = std::max(ScaleFor(columns, page.size.width - 2.0 * page.margin, gap),
                                   ScaleFor(rows, page.size.height - 2.0 * page.margin, gap));
    SheetLayout layout;
    layout.unitsPerMillimetre = unitsPerMillimetre.value_or(fitted > 0.0 ? fitted : 1.0);
    const double scale = layout.unitsPerMillimetre;
    layout.needed = {WithGaps(columns, scale, gap), WithGaps(rows, scale, gap)};
    const auto lefts = StartsOf(columns, scale, gap, 0.5 * (page.size.width - layout.needed.width));
    const auto tops = StartsOf(rows, scale, gap, 0.5 * (page.size.height - layout.needed.height));
    for (std::size_t i = 0; i < views.size(); ++i) {
        // Half of the gap on every side belongs to the cell, for strokes have a width.
        const auto [column, row] = slots[i];
        layout.cells.push_back({views[i].view,
                                lefts.at(column) - 0.5 * gap,
                                tops.at(row) - 0.5 * gap,
                                {columns.at(column) / scale + gap, rows.at(row) / scale + gap}});
    }
    return layout;
}

} // namespace kxcontour
