#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>

namespace rix::edge_detection {

/// Weights of a gradient in windows of 3 x 3: of the middle and of what is beside it across the derivative, and of the
/// difference along it.
struct NearWeights {
    float middle;
    float beside;
    float along;
};

/// The length of gradients in windows of 3 x 3, in one go: the bits of the sums one after the other, on every level.
/// @param rows above, of, and below the row of results, with a column more at both ends
struct NearGradients {
    void (*ofFloats)(const float* const* rows, const NearWeights& weights, float* out, std::size_t count,
                     access::Stores stores);
    /// With whole weights of up to 16, whose sums are those of 16-bit integers.
    void (*ofBytes)(const std::uint8_t* const* rows, const NearWeights& weights, float* out, std::size_t count,
                    access::Stores stores);
};

NearGradients nearGradients(OptimLevelType level);

}  // namespace rix::edge_detection
