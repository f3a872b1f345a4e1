// The mark of everything that the shared framework library shows to its users.
#ifndef KXSYSTEM_KXEXPORT_H
#define KXSYSTEM_KXEXPORT_H

/// Makes a class or function visible outside the shared library, which is built with hidden
/// visibility. Type records and type information are compared by address, so every class that
/// crosses the library's border carries it.
#define KX_EXPORT __attribute__((visibility("default")))

#endif
