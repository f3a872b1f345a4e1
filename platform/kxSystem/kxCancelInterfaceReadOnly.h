// How a long operation learns that it is no longer wanted.
#ifndef KXSYSTEM_KXCANCELINTERFACEREADONLY_H
#define KXSYSTEM_KXCANCELINTERFACEREADONLY_H

#include <kxSystem/kxExport.h>

#include <atomic>

namespace kx {

/// The side of a cancellation that the working code sees.
class KX_EXPORT kxCancelInterfaceReadOnly {
public:
    virtual ~kxCancelInterfaceReadOnly();

    /// Whether the work should stop. Cheap enough to be asked every few thousand steps; asked on
    /// the thread that works.
    virtual bool isCanceled() const = 0;
};

/// A cancellation that follows a flag, which any thread may raise or lower.
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
