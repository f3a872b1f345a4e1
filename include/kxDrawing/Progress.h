// Progress and cancellation of a drawing.
#pragma once

#include <ctr/Export.h>

namespace kxdrawing {

/// Receives the progress of draw(). To cancel, throw from report(): the exception leaves draw()
/// unchanged, on the calling thread, and the scene stays usable.
class CTR_EXPORT Progress {
public:
    virtual ~Progress();

    /// share grows from 0 to 1 and never decreases. stage is "bake", "features" or "export"; it
    /// points to static text. Called on the thread that called draw(), about once per millisecond
    /// while it works; a slow receiver should skip calls.
    virtual void report(double share, const char* stage) = 0;
};

} // namespace kxdrawing
