// Whether an address or thread sanitizer watches this build: what takes long is done less often
// then. The macro is defined where one does.

#pragma once

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define CORRA_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define CORRA_SANITIZED
#endif
#endif

namespace support {

#ifdef CORRA_SANITIZED
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif

}  // namespace support
