// Symbol visibility: the shared library is built with everything hidden; CTR_EXPORT marks what is
// public, CTR_LOCAL takes a nested type out again.
#pragma once

#define CTR_EXPORT __attribute__((visibility("default")))
#define CTR_LOCAL __attribute__((visibility("hidden")))
