#pragma once

#include <cstddef>
#include <vector>

namespace rix::filtering::smoothing {

/// One half of a sampled Gaussian with its middle: taps[k] = exp(-k^2 / (2 s^2)) for k from 0 to ceil(5 s), divided by
/// the sum of the whole, in double precision and then rounded to `T`. Taps that are 0 then are left out, so that
/// infinities beyond them have no effect.
template <class T>
class GaussianTaps {
public:
    /// @param deviation in voxels, finite and not negative; 0 for the kernel that changes nothing
    explicit GaussianTaps(double deviation);

    const T* data() const { return m_taps.data(); }
    std::size_t reach() const { return m_taps.size() - 1; }

private:
    std::vector<T> m_taps;
};

/// ceil(5 s)
std::size_t gaussianReach(double deviation);

}  // namespace rix::filtering::smoothing
