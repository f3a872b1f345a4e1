// The precedence of options from different sources.
#include "tool/options/GivenOptions.h"

#include "tool/options/Values.h"

#include <array>
#include <utility>

namespace kxcontour {
namespace {

/// An option (with a certain text, or any) and the options of lower precedence that it drops.
struct Displacement {
    const char* name;
    const char* text; ///< Null: any.
    const char* dropped;
};

constexpr std::array<Displacement, 14> kDisplacements{
    {{"view", nullptr,
      "views sheet azimuth elevation camera-position camera-focal-point camera-view-up"},
     {"views", nullptr,
      "view sheet azimuth elevation camera-position camera-focal-point camera-view-up"},
     {"sheet", nullptr,
      "view views azimuth elevation camera-position camera-focal-point camera-view-up"},
     {"azimuth", nullptr, "views sheet camera-position camera-focal-point camera-view-up"},
     {"elevation", nullptr, "views sheet camera-position camera-focal-point camera-view-up"},
     {"camera-position", nullptr, "views sheet"},
     {"scale", nullptr, "zoom fov"},
     {"zoom", nullptr, "scale"},
     {"fov", nullptr, "scale"},
     {"projection", "orthographic", "fov"},
     {"projection", "perspective", "scale sheet arcs arc-tolerance"},
     {"arcs", "false", "arc-tolerance"},
     {"quiet", "true", "verbose"},
     {"verbose", "true", "quiet"}}};

void Displace(const GivenOptions& higher, GivenOptions& lower) {
    for (const Displacement& rule : kDisplacements) {
        const GivenText* given = higher.find(rule.name);
        if (given == nullptr || (rule.text != nullptr && given->text != rule.text)) {
            continue;
        }
        for (const std::string& name : Split(rule.dropped, " ")) {
            lower.remove(name);
        }
    }
}

} // namespace

const std::vector<GivenText>& GivenOptions::all(const std::string& name) const {
    static const std::vector<GivenText> none;
    const auto found = texts_.find(name);
    return found == texts_.end() ? none : found->second;
}

void GivenOptions::putBelow(GivenOptions lower) {
    Displace(*this, lower);
    for (auto& [name, texts] : lower.texts_) {
        std::vector<GivenText>& mine = texts_[name];
        if (name == "style") {
            mine.insert(mine.begin(), texts.begin(), texts.end());
        } else if (mine.empty()) {
            mine = std::move(texts);
        }
    }
}

} // namespace kxcontour
