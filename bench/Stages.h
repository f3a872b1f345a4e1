// The stages of a drawing, measured separately.
#pragma once

#include "bench/Measured.h"
#include "bench/Subject.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

/// A number that characterises the work of a stage.
struct Counter {
    std::string name;
    double value;
};

/// One run of a stage.
struct Run {
    Cost cost;
    std::vector<Counter> counters;
};

/// The stages for one subject. Results of earlier stages that a stage needs are computed on demand
/// and kept; they do not count in Run.
class Stages {
public:
    explicit Stages(Subject subject);
    ~Stages();
    Stages(const Stages&) = delete;
    Stages& operator=(const Stages&) = delete;

    const Subject& subject() const;

    Run bake();          ///< Clipping, the grid, planes and the tree.
    Run tree();          ///< The tree alone, over the boxes of the baked triangles.
    Run creases();       ///< Of each mesh, from its normals.
    Run silhouettes();   ///< Of each mesh.
    Run commonLines();   ///< Removes creases that are silhouettes.
    Run occlusion();     ///< Occluded intervals of creases and silhouettes.
    Run intersections(); ///< Intersections and their occluded intervals.
    Run chaining();      ///< Visible pieces of all lines, chained into polylines.
    Run svg();           ///< Writes everything to a file, chaining included.
    Run everything();    ///< A complete drawing, as made by a host.

private:
    struct tInternal;
    std::unique_ptr<tInternal> internal_;
};

} // namespace bench
