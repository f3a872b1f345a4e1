// The stages of a drawing, each on its own, ready to be measured.
#pragma once

#include "bench/Measured.h"
#include "bench/Subject.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

/// A number worth knowing about what a stage did.
struct Counter {
    std::string name;
    double value;
};

/// One run of a stage.
struct Run {
    Cost cost;
    std::vector<Counter> counters;
};

/// The stages for one subject. What a stage needs of earlier ones is made when it is first needed
/// and kept; it costs nothing in Run.
class Stages {
public:
    explicit Stages(Subject subject);
    ~Stages();
    Stages(const Stages&) = delete;
    Stages& operator=(const Stages&) = delete;

    const Subject& subject() const;

    Run bake();          ///< Clipping, the grid, planes and the tree.
    Run tree();          ///< The tree alone, over the boxes of the baked triangles.
    Run creases();       ///< Of every mesh, from its normals.
    Run silhouettes();   ///< Of every mesh.
    Run commonLines();   ///< Takes out of the creases what is a silhouette as well.
    Run occlusion();     ///< What hides creases and silhouettes.
    Run intersections(); ///< Finds them and what hides them.
    Run chaining();      ///< Visible pieces of all lines, made paths.
    Run svg();           ///< Writes everything to a file, chaining included.
    Run everything();    ///< All of the above as a host has it done.

private:
    struct tInternal;
    std::unique_ptr<tInternal> internal_;
};

} // namespace bench
