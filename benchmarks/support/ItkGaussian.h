#pragma once

#include <array>
#include <cstddef>
#include <functional>

namespace rix::bench {

/// A run of ITK's recursive Gaussian (itk::SmoothingRecursiveGaussianImageFilter, of four poles) on a copy of samples:
/// a volume, or a plane where there is one plane.
std::function<void()> itkGaussian(const float* samples, const std::array<std::size_t, 3>& extents, double deviation,
                                  int threads);

}  // namespace rix::bench
