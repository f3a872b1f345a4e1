// How a long operation tells how far it has come.
#ifndef KXSYSTEM_KXPROGRESSNOTIFIERINTERFACE_H
#define KXSYSTEM_KXPROGRESSNOTIFIERINTERFACE_H

#include <kxSystem/kxCancelInterfaceReadOnly.h>
#include <kxSystem/kxExport.h>

namespace kx {

/// A progress bar with a stop button, implemented by the host.
///
/// Progress is counted in steps, of which there may be fractions. All calls come from the thread
/// that does the work.
class KX_EXPORT kxProgressNotifierInterface : public kxCancelInterfaceReadOnly {
public:
    ~kxProgressNotifierInterface() override;

    /// Starts over: `steps` (0 or more) in all, none of them done.
    virtual void setTotal(double steps) = 0;

    /// The steps done so far and their total; what lies between the two is left to do.
    virtual void getRange(double& start, double& end) const = 0;

    /// Adds `steps` (0 or more) to those done.
    virtual void advance(double steps) = 0;
};

} // namespace kx

#endif
