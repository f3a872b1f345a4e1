// Cancellation by a flag.
#include <kxSystem/kxCancelInterfaceReadOnly.h>

namespace kx {

kxCancelInterfaceReadOnly::~kxCancelInterfaceReadOnly() = default;

kxCancelInterfaceProxyReadOnly::kxCancelInterfaceProxyReadOnly(const std::atomic<bool>& flag)
    : flag_(flag) {}

kxCancelInterfaceProxyReadOnly::~kxCancelInterfaceProxyReadOnly() = default;

// Relaxed: the flag publishes no other data.
bool kxCancelInterfaceProxyReadOnly::isCanceled() const {
    return flag_.load(std::memory_order_relaxed);
}

} // namespace kx
