// Writes one scene of boxes for somebody to look at:
//
//     build/release/tests/ground_truth/show_boxes 'rafters/perspective axis/17'
//
// makes boxes.obj in the current folder, and boxes.svg with its lines: grey ones are right, red
// ones missing, blue ones invented. Prints the options that draw it. Scenes are named by the tables
// and reports of ground_truth_tests.
#include "BoxDrawing.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: show_boxes 'SCENE/VIEW/SEED'\n";
        return 2;
    }
    try {
        const ground_truth::BoxDrawing drawing(ground_truth::ReadCase(argv[1]));
        drawing.write("boxes");
        std::cout << drawing.report();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "show_boxes: " << error.what() << "\n";
        return 1;
    }
}
