#pragma once

#include <cstddef>

namespace rix::test {

/// Whether the tests run under a sanitizer, which makes them many times slower: long ones then take fewer samples.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#else
inline constexpr bool sanitized = false;
#endif

/// Cases of a long test that are run: all of them, but under a sanitizer the first and then one of `step`. In nested
/// loops a step that divides no loop's length takes every value of every loop.
class Sampling {
public:
    explicit Sampling(std::size_t step) : m_step(sanitized ? step : 1) {}

    bool takesNext() { return m_count++ % m_step == 0; }

private:
    std::size_t m_step;
    std::size_t m_count = 0;
};

}  // namespace rix::test
