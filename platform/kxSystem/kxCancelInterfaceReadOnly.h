// Cancellation of long operations.
#ifndef KXSYSTEM_KXCANCELINTERFACEREADONLY_H
#define KXSYSTEM_KXCANCELINTERFACEREADONLY_H

#include <kxSystem/kxExport.h>

#include <atomic>

namespace kx {

/// Cancellation as seen by the operation.
class KX_EXPORT kxCancelInterfaceReadOnly {
public:
    virtual ~kxCancelInterfaceReadOnly();

    /// Whether the operation should stop. Cheap enough to be polled every few thousand steps;
    /// polled on the thread of the operation.
    virtual bool isCanceled() const = 0;
};

/// A cancellation controlled by a flag, which any thread may set or clear.
class KX_EXPORT kxCancelInterfaceProxyReadOnly : public kxCancelInterfaceReadOnly {
public:
    /// `flag` is borrowed and must outlive the proxy; true means cancelled.
    explicit kxCancelInterfaceProxyReadOnly(const std::atomic<bool>& flag);
    ~kxCancelInterfaceProxyReadOnly() override;

    bool isCanceled() const override;

private:
    const std::atomic<bool>& flag_;
};

} // namespace kx

#endif
