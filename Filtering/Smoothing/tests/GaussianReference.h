#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include <rix/access/BorderPolicy.h>

namespace rix::test {

/// One axis of a volume from the definition, with tails as far as they could count.
inline std::vector<double> gaussianAlong(const std::vector<double>& in, const std::array<std::size_t, 3>& n,
                                         std::size_t axis, double s, access::BorderPolicy border, double borderValue) {
    if (s == 0) {
        return in;
    }
    const auto reach = static_cast<std::int64_t>(std::ceil(6 * s));
    const auto length = static_cast<std::int64_t>(n[axis]);
    const auto step = static_cast<std::int64_t>(axis == 0 ? 1 : axis == 1 ? n[0] : n[0] * n[1]);
    std::vector<double> weights;
    for (std::int64_t k = -reach; k <= reach; ++k) {
        weights.push_back(std::exp(-static_cast<double>(k * k) / (2 * s * s)));
    }
    const double total = std::accumulate(weights.begin(), weights.end(), 0.0);
    std::vector<double> out(in.size(), 0.0);
    for (std::int64_t v = 0; v < static_cast<std::int64_t>(in.size()); ++v) {
        const std::int64_t i = v / step % length;
        for (std::int64_t k = -reach; k <= reach; ++k) {
            std::int64_t j = i + k;
            double value = borderValue;
            if (border == access::BorderPolicy::CONTINUE) {
                j = std::clamp<std::int64_t>(j, 0, length - 1);
            } else if (border == access::BorderPolicy::MIRROR) {
                j = (j % (2 * length) + 2 * length) % (2 * length);
                j = j < length ? j : 2 * length - 1 - j;
            }
            if (j >= 0 && j < length) {
                value = in[static_cast<std::size_t>(v + (j - i) * step)];
            }
            out[static_cast<std::size_t>(v)] += weights[static_cast<std::size_t>(k + reach)] / total * value;
        }
    }
    return out;
}

}  // namespace rix::test
