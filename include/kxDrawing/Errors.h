// The exceptions of the drawing interface.
//
// Every operation throws one of these, std::bad_alloc when memory runs out, or whatever a Progress
// throws. what() is one line of text without the name of a program.
#pragma once

#include <ctr/Export.h>

#include <stdexcept>

namespace kxdrawing {

/// The base of all errors below.
class CTR_EXPORT Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~Error() override;
};

/// An argument out of its range, arrays that do not fit together, or a camera that cannot exist.
class CTR_EXPORT InvalidArgument : public Error {
public:
    using Error::Error;
    ~InvalidArgument() override;
};

/// A model that is missing, damaged or larger than can be drawn.
class CTR_EXPORT CannotRead : public Error {
public:
    using Error::Error;
    ~CannotRead() override;
};

/// The scene has no triangle that can be drawn, or the view shows no line of it.
class CTR_EXPORT NothingToDraw : public Error {
public:
    using Error::Error;
    ~NothingToDraw() override;
};

/// An output cannot be written: no such folder, no permission, no space left, a stream that fails.
class CTR_EXPORT CannotWrite : public Error {
public:
    using Error::Error;
    ~CannotWrite() override;
};

} // namespace kxdrawing
