// Cancellation by a flag.
#include <kxSystem/kxCancelInterfaceReadOnly.h>

namespace kx {

kxCancelInterfaceReadOnly::~kxCancelInterfaceReadOnly() = default;

kxCancelInterfaceProxyReadOnly::kxCancelInterfaceProxyReadOnly(const std::atomic<bool>& flag)
    : flag_(flag) {}

kxCancelInterfaceProxyReadOnly::~kxCancelInterfaceProxyReadOnly() = default;

// The flag alone is the message, nothing is handed over with it: no ordering is needed.
bool kxCancelInterfaceProxyReadOnly::isCanceled() const {
    return flag_.load(std::memory_order_relaxed);
}

} // namespace kx
