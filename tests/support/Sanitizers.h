#pragma once

namespace rix::test {

/// Whether the tests run under a sanitizer, which makes them many times slower: long ones then take fewer samples.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#else
inline constexpr bool sanitized = false;
#endif

}  // namespace rix::test
