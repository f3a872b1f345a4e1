// Who is told how a drawing gets on.
#pragma once

#include <kxSystem/kxProgressNotifierInterface.h>

namespace kxcontour {

/// Told of every stage as it begins, and of the steps inside the longest of them.
class DrawingObserver : public kx::kxProgressNotifierInterface {
public:
    virtual void enter(const char* stage) = 0;
};

} // namespace kxcontour
