// From two arrays to a drawing.
#include <kxDrawing/kxDrawing.h>

#include <iostream>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<double> positions{0, 0, 0, 40, 0, 0, 0, 30, 0, 0, 0, 20};
    const std::vector<std::uint32_t> triangles{0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3};
    try {
        kxdrawing::Scene scene; // z is up, one unit is a millimetre
        scene.add({.positions = positions, .triangles = triangles, .name = "wedge"});
        kxdrawing::LineOptions lines;
        lines.hidden = true;
        const auto view = kxdrawing::View::named(kxdrawing::Direction::Iso);
        write(draw(scene, view, kxdrawing::Page::a4(), lines), argc > 1 ? argv[1] : "wedge.svg");
    } catch (const kxdrawing::Error& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
