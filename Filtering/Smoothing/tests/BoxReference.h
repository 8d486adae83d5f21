#pragma once

#include "Testing.h"

namespace rix::test {

/// What counts beyond the edges.
enum class Beyond { Mirror, Zero };

/// Exact sums of windows, straight from their definition: every index of a window is looked up on its own. Sums of
/// integers are exact, those of reals (in extended precision) far closer than what is tested; `magnitude` is the sum of
/// the magnitudes in the window.
struct BoxReference {
    template <class T>
    using Exact = std::conditional_t<std::is_integral_v<T>, std::int64_t, long double>;

    std::array<std::size_t, 3> size;
    Beyond beyond = Beyond::Mirror;

    /// The indices of an axis that the window of index `i` holds, each as often as it does.
    std::vector<std::size_t> members(std::size_t axis, std::size_t extent, std::size_t i) const {
        std::vector<std::size_t> indices;
        const auto n = static_cast<std::int64_t>(extent);
        const auto first = static_cast<std::int64_t>(i) - static_cast<std::int64_t>(size[axis] / 2);
        for (std::int64_t c = first; c < first + static_cast<std::int64_t>(size[axis]); ++c) {
            std::int64_t position = (c < 0 ? -c - 1 : c) % (2 * n);
            position = position < n ? position : 2 * n - 1 - position;
            if (beyond == Beyond::Mirror || position == c) {
                indices.push_back(static_cast<std::size_t>(position));
            }
        }
        return indices;
    }

    /// One axis at a time: exact sums may be taken in any order.
    template <class E>
    std::vector<E> sumAlong(std::size_t axis, const std::vector<E>& in, const std::array<std::size_t, 3>& n) const {
        const std::size_t step = axis == 0 ? 1 : axis == 1 ? n[0] : n[0] * n[1];
        std::vector<E> out(in.size(), E{0});
        for (std::size_t i = 0; i < n[axis]; ++i) {
            const std::vector<std::size_t> indices = members(axis, n[axis], i);
            for (std::size_t block = 0; block < in.size(); block += step * n[axis]) {
                for (std::size_t v = block; v < block + step; ++v) {
                    for (const std::size_t j : indices) {
                        out[v + i * step] += in[v + j * step];
                    }
                }
            }
        }
        return out;
    }

    template <class E>
    std::vector<E> sumVolume(std::vector<E> values, const std::array<std::size_t, 3>& n) const {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            values = sumAlong(axis, values, n);
        }
        return values;
    }

    long double count() const {
        return static_cast<long double>(size[0]) * static_cast<long double>(size[1]) *
               static_cast<long double>(size[2]);
    }
};

}  // namespace rix::test
