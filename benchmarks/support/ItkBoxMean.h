#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace rix::bench {

/// A run of ITK's fastest box mean (itk::BoxMeanImageFilter, which sums an integral image in each region) on a copy of
/// bytes: a volume, or a plane where there is one plane.
std::function<void()> itkBoxMean(const std::uint8_t* samples, const std::array<std::size_t, 3>& extents, int size,
                                 int threads);

}  // namespace rix::bench
