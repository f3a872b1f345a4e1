// Scenes with the highest cost for their size: most of their triangles are at one position, with
// few lines.
#pragma once

#include "bench/scenes/Scene.h"

#include <vector>

namespace bench {

/// A kind of scene.
struct WorstScene {
    const char* name;
    const char* what;                 ///< In a few words.
    Scene (*make)(unsigned int size); ///< Of about so many triangles, at least 2.
    unsigned int largest;             ///< The largest size at which it is measured.
    unsigned int contactTolerance;    ///< In steps of the grid.
};

/// All kinds, in the order of measurement. Use MakePlainSubject() for them.
const std::vector<WorstScene>& WorstScenes();

} // namespace bench
