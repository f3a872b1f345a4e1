// Symbol visibility of the shared framework library.
#ifndef KXSYSTEM_KXEXPORT_H
#define KXSYSTEM_KXEXPORT_H

/// Exports a class or function from the shared library, which is built with hidden visibility. Type
/// records and type information are compared by address, so every class used across the library
/// boundary is exported.
#define KX_EXPORT __attribute__((visibility("default")))

#endif
