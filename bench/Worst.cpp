// The table of the worst scenes; each line is printed as soon as it is measured.
#include "bench/Worst.h"

#include "bench/Stages.h"
#include "bench/scenes/Worst.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace bench {
namespace {

std::vector<WorstScene> ScenesOf(const std::string& names) {
    if (names.empty()) {
        return WorstScenes();
    }
    std::vector<WorstScene> scenes;
    std::istringstream words(names);
    for (std::string name; std::getline(words, name, ',');) {
        const auto found =
            std::find_if(WorstScenes().begin(), WorstScenes().end(),
                         [&name](const WorstScene& scene) { return scene.name == name; });
        if (found == WorstScenes().end()) {
            throw std::invalid_argument("none of the worst scenes is called '" + name + "'");
        }
        scenes.push_back(*found);
    }
    return scenes;
}

struct Sample {
    double triangles;
    double seconds;
};

Sample Measure(const WorstScene& scene, unsigned int size) {
    Subject subject = MakePlainSubject(scene.make(size), View::Turned);
    subject.contactTolerance = scene.contactTolerance;
    Stages stages(subject);
    const Run run = stages.everything();
    const Sample sample{static_cast<double>(stages.subject().triangles), run.cost.seconds};
    std::printf("%-12s %9.0f %9.3f", scene.name, sample.triangles, sample.seconds);
    return sample;
}

double PowerBetween(const Sample& few, const Sample& many) {
    return std::log(many.seconds / few.seconds) / std::log(many.triangles / few.triangles);
}

} // namespace

void PrintWorst(const std::string& names, unsigned int largest) {
    std::printf("%-12s %9s %9s %6s\n", "scene", "triangles", "seconds", "power");
    for (const WorstScene& scene : ScenesOf(names)) {
        const unsigned int size = largest == 0 ? scene.largest : largest;
        const Sample quarter = Measure(scene, size / 4);
        std::printf("         %s\n", scene.what);
        const Sample half = Measure(scene, size / 2);
        std::printf(" %6.2f\n", PowerBetween(quarter, half));
        const Sample all = Measure(scene, size);
        std::printf(" %6.2f\n", PowerBetween(half, all));
        std::fflush(stdout);
    }
}

} // namespace bench
