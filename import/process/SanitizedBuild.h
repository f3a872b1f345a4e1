// Whether a sanitizer is built in. They reserve terabytes of address space, so that no limit on
// memory can be set, and start threads of their own.
#pragma once

namespace kxcontour {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif
#else
constexpr bool kIsSanitized = false;
#endif

} // namespace kxcontour
