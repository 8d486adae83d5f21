#pragma once

#include <cstddef>
#include <cstdint>

namespace rix::filtering::smoothing {

/// The rows of samples that slide next. They are asked for while totals are computed, which hardly use memory: a row is
/// often a page of its own, over whose end processors don't look ahead by themselves.
struct BoxAhead {
    const std::uint8_t* entering = nullptr;
    const std::uint8_t* leaving = nullptr;
    std::size_t sampleBytes = 0;  ///< 0: there is nothing to ask for
};

}  // namespace rix::filtering::smoothing
