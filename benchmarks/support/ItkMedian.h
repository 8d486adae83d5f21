#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace rix::bench {

/// A run of ITK's median of 3x3x3 windows over a cube of samples.
std::function<void()> itkMedian3d(const std::uint8_t* samples, std::size_t side, int threads);

}  // namespace rix::bench
