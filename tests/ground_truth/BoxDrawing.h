// A scene of boxes in a view: what its drawing has to show, and what the tool draws.
#pragma once

#include "BoxScene.h"
#include "LineComparison.h"
#include "PaperView.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ground_truth {

/// All of a comparison follows from these.
struct BoxCase {
    SceneKind scene = SceneKind::Apart;
    ViewKind view = ViewKind::Oblique;
    std::uint64_t seed = 0;
    bool cracked = false; ///< By 1e-7 of the size or so, less than the contact tolerance.
};

/// Reads a name such as "rafters/perspective axis/17", with "cracked " before it or not. Throws
/// std::invalid_argument.
BoxCase ReadCase(const std::string& name);
std::string NameOf(const BoxCase& boxCase);

class BoxDrawing {
public:
    explicit BoxDrawing(const BoxCase& boxCase);

    const std::vector<FlatLine>& expected() const { return expected_; }
    const std::vector<FlatLine>& drawn() const { return drawn_; }
    /// Expected lines where nothing is drawn, each line of paper once.
    const std::vector<Stretch>& missing() const { return missing_; }
    /// Drawn lines where nothing is expected.
    const std::vector<Stretch>& invented() const { return invented_; }

    double length() const { return LengthOf(expected_); }
    double wrongLength() const { return LengthOf(missing_) + LengthOf(invented_); }

    /// What is wrong and where, the longest first.
    std::string report() const;

    /// Writes NAME.obj, the scene, and NAME.svg: grey is right, red is missing, blue invented.
    void write(const std::string& name) const;

private:
    void expect();
    void draw();
    void compare();
    std::string pictureText() const;

    std::string name_;
    BoxScene scene_;
    PaperView view_;
    std::vector<SpaceLine> sources_; ///< What each expected line shows.
    std::vector<FlatLine> expected_; ///< Every line of paper once.
    std::vector<FlatLine> drawn_;
    std::vector<Stretch> missing_;
    std::vector<Stretch> invented_;
};

} // namespace ground_truth
