#pragma once

#include <cstddef>
#include <optional>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "GaussianFixedTaps.h"
#include "GaussianJob.h"

namespace rix::filtering::smoothing {

/// Planes of bytes smoothed into bytes by sums of 16-bit products: columns and rows in one pass, through rows that stay
/// in the cache. Results are within 1/2 + 2^-7 of the exact value.
class GaussianFixed {
public:
    /// Nothing where bytes don't become bytes, volumes are smoothed, kernels are long, and where no taps of 16 bits
    /// are close enough.
    static std::optional<GaussianFixed> of(VoxelTypes input, VoxelTypes output, const GaussianJob& job);

    /// @param output shares no memory with the input
    void smooth(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                OptimLevelType level) const;

    std::size_t workingBytes(const ImageModel& input, std::size_t threads) const;

private:
    GaussianFixed(const GaussianFixedTaps& x, const GaussianFixedTaps& y, const GaussianJob& job)
        : m_x(x), m_y(y), m_border(job.border), m_borderValue(job.borderValue) {}

    GaussianFixedTaps m_x;
    GaussianFixedTaps m_y;
    access::BorderPolicy m_border;
    double m_borderValue;
};

}  // namespace rix::filtering::smoothing
