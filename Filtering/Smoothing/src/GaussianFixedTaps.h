#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace rix::filtering::smoothing {

/// A sampled Gaussian in integers of 16 bits, two taps in each of 32, for kernels that multiply pairs of samples.
class GaussianFixedTaps {
public:
    static constexpr std::size_t mostPairs = 40;

    /// Taps of which the magnitudes of all errors add up to at most `largestError`; nothing where there are none.
    /// @param deviation in voxels; 0 for the kernel that changes nothing
    static std::optional<GaussianFixedTaps> of(double deviation);

    /// What two passes, and the rounding between them to 1/256, may put a grey value off: 2^-7 with 127.5 times both.
    static constexpr double largestError = 2.15e-5;

    std::size_t reach() const { return m_reach; }
    std::size_t pairs() const { return m_reach + 1; }
    /// The taps from one end to the other, a 0 behind the last of them: the first of a pair in the lower half.
    const std::int32_t* endingWithZero() const { return m_ending.data(); }
    /// The same with a 0 before the first.
    const std::int32_t* beginningWithZero() const { return m_beginning.data(); }
    /// For each pair whether taps up to it, since the last one so marked, times 16 bits nearly fill 32: sums of
    /// `endingWithZero` go on elsewhere behind it. The last pair is marked.
    const std::uint8_t* fills() const { return m_fills.data(); }
    /// The sum of the taps as they are.
    std::int32_t sum() const { return m_sum; }
    /// That of the taps, were they not rounded.
    double scale() const { return m_scale; }

private:
    std::array<std::int32_t, mostPairs> m_ending{};
    std::array<std::int32_t, mostPairs> m_beginning{};
    std::array<std::uint8_t, mostPairs> m_fills{};
    std::size_t m_reach = 0;
    std::int32_t m_sum = 0;
    double m_scale = 0.0;
};

}  // namespace rix::filtering::smoothing
