#include "GaussianFixedTaps.h"

#include <cmath>

#include "GaussianTaps.h"

namespace rix::filtering::smoothing {

std::optional<GaussianFixedTaps> GaussianFixedTaps::of(double deviation) {
    constexpr double largestTap = 32767.0;
    constexpr int scales = 16384;
    const GaussianTaps<double> exact(deviation);
    if (exact.reach() >= mostPairs) {
        return std::nullopt;
    }
    const double largestScale = largestTap / exact.data()[0];
    GaussianFixedTaps fixed;
    // Whether taps are close to integers is a matter of luck: scales are tried until they are.
    for (int i = 0; fixed.m_scale == 0.0; ++i) {
        if (i == scales) {
            return std::nullopt;
        }
        const double scale = largestScale * (1.0 - 0.5 * i / scales);
        double error = 0.0;
        for (std::size_t k = 0; k <= exact.reach() && error <= largestError; ++k) {
            const double tap = exact.data()[k] * scale;
            error += (k == 0 ? 1.0 : 2.0) * std::abs(std::nearbyint(tap) - tap) / scale;
        }
        if (error <= largestError) {
            fixed.m_scale = scale;
        }
    }
    const auto tapAt = [&](std::size_t k) {
        return static_cast<std::int32_t>(std::nearbyint(exact.data()[k] * fixed.m_scale));
    };
    for (fixed.m_reach = exact.reach(); fixed.m_reach > 0 && tapAt(fixed.m_reach) == 0;) {
        --fixed.m_reach;
    }
    std::int32_t sum = 0;
    for (std::size_t i = 0; i <= 2 * fixed.m_reach; ++i) {
        const std::int32_t tap = tapAt(i < fixed.m_reach ? fixed.m_reach - i : i - fixed.m_reach);
        fixed.m_ending[i / 2] |= i % 2 == 0 ? tap : tap * 65536;
        fixed.m_beginning[(i + 1) / 2] |= i % 2 != 0 ? tap : tap * 65536;
        if (i % 2 == 0 && i > 0 && sum + tap + (i < 2 * fixed.m_reach ? largestTap : 0.0) > 65535.0) {
            fixed.m_fills[i / 2 - 1] = 1;
            sum = 0;
        }
        sum += tap;
        fixed.m_sum += tap;
    }
    fixed.m_fills[fixed.m_reach] = 1;
    return fixed;
}

}  // namespace rix::filtering::smoothing
