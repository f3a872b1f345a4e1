// Tests of what assertions find.
#pragma once

#include <gtest/gtest.h>

/// Skips the rest of a test in builds without assertions, where what follows would be undefined.
#ifdef NDEBUG
#define SKIP_WITHOUT_ASSERTIONS() GTEST_SKIP() << "this build has no assertions"
#else
#define SKIP_WITHOUT_ASSERTIONS() static_cast<void>(0)
#endif
