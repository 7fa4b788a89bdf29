// Whether this build is slow, because an address or thread sanitizer watches it
// (CORRA_SANITIZED) or because its machine is emulated (CORRA_EMULATED): what takes long is
// done less often then.

#pragma once

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define CORRA_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define CORRA_SANITIZED
#endif
#endif

namespace support {

#if defined(CORRA_SANITIZED) || defined(CORRA_EMULATED)
inline constexpr bool isSlow = true;
#else
inline constexpr bool isSlow = false;
#endif

}  // namespace support
