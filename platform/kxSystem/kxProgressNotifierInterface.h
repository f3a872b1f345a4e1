// Progress of long operations.
#ifndef KXSYSTEM_KXPROGRESSNOTIFIERINTERFACE_H
#define KXSYSTEM_KXPROGRESSNOTIFIERINTERFACE_H

#include <kxSystem/kxCancelInterfaceReadOnly.h>
#include <kxSystem/kxExport.h>

namespace kx {

/// A progress bar with a stop button, implemented by the host.
///
/// Progress is counted in steps, possibly fractional. All calls come from the thread of the
/// operation.
class KX_EXPORT kxProgressNotifierInterface : public kxCancelInterfaceReadOnly {
public:
    ~kxProgressNotifierInterface() override;

    /// Starts a run of `steps` (0 or more) steps in total, none of them done.
    virtual void setTotal(double steps) = 0;

    /// The steps done so far and their total.
    virtual void getRange(double& start, double& end) const = 0;

    /// Adds `steps` (0 or more) to those done.
    virtual void advance(double steps) = 0;
};

} // namespace kx

#endif
