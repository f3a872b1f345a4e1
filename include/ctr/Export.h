// Symbol visibility: the shared library is built with hidden visibility; CTR_EXPORT marks public
// symbols, CTR_LOCAL excludes a nested type again.
#pragma once

#define CTR_EXPORT __attribute__((visibility("default")))
#define CTR_LOCAL __attribute__((visibility("hidden")))
