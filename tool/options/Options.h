// What one drawing is asked to be, checked as far as that goes without looking at files.
#pragma once

#include "drawing/Request.h"
#include "import/SceneReader.h"

namespace kxcontour {

/// What is said along the way.
struct MessageOptions {
    bool verbose = false;
    bool quiet = false;
    bool json = false; ///< The summary on standard output as JSON.
    bool timing = false;
};

/// One drawing.
struct DrawingOptions : DrawingRequest {
    InputOptions input;
    MessageOptions messages;
};

} // namespace kxcontour
