#include "VoteKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "VoteKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::edge_detection::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::size_t coefficients = 5;

template <class D, class V>
HWY_INLINE void addTo(D d, float* sum, V value) {
    hn::StoreU(hn::Add(hn::LoadU(d, sum), value), d, sum);
}

/// The vote is the normal, mirrored at the plane across the way to the receiver: on the circle that is tangent to the
/// token and goes through the receiver.
template <std::size_t axes>
void stick(const VoteRow& row, const float* normal, float y, float z, const float* /*means*/, float* const* sums) {
    const hn::ScalableTag<float> d;
    const std::size_t stride = row.stride;
    const float* const samples = row.samples;
    const auto ny = hn::Set(d, normal[1]);
    const auto nz = hn::Set(d, axes == 3 ? normal[2] : 0.0F);
    const auto nx = hn::Set(d, normal[0]);
    const auto height = hn::Set(d, y);
    const auto depth = hn::Set(d, z);
    const auto most = hn::Set(d, static_cast<float>(VoteField::largestSquare));
    for (std::size_t i = 0; i < stride; i += hn::Lanes(d)) {
        const auto dx = hn::LoadU(d, samples + i);
        const auto inverse = hn::LoadU(d, samples + VoteRow::Inverse * stride + i);
        const auto dy = hn::Mul(height, inverse);
        const auto dz = hn::Mul(depth, inverse);
        auto sine = hn::Add(hn::Mul(nx, dx), hn::Mul(ny, dy));
        if (axes == 3) {
            sine = hn::Add(sine, hn::Mul(nz, dz));
        }
        const auto u = hn::Mul(sine, sine);
        const float* const p = samples + VoteRow::Polynomial * stride + i;
        auto decay = hn::LoadU(d, p + 4 * stride);
        decay = hn::Add(hn::Mul(decay, u), hn::LoadU(d, p + 3 * stride));
        decay = hn::Add(hn::Mul(decay, u), hn::LoadU(d, p + 2 * stride));
        decay = hn::Add(hn::Mul(decay, u), hn::LoadU(d, p + stride));
        decay = hn::Add(hn::Mul(decay, u), hn::LoadU(d, p));
        decay = hn::IfThenElseZero(hn::Le(u, most), decay);
        const auto twice = hn::Add(sine, sine);
        const auto vx = hn::Sub(nx, hn::Mul(twice, dx));
        const auto vy = hn::Sub(ny, hn::Mul(twice, dy));
        const auto ofX = hn::Mul(decay, vx);
        const auto ofY = hn::Mul(decay, vy);
        addTo(d, sums[0] + i, hn::Mul(ofX, vx));
        addTo(d, sums[1] + i, hn::Mul(ofX, vy));
        if (axes == 2) {
            addTo(d, sums[2] + i, hn::Mul(ofY, vy));
        } else {
            const auto vz = hn::Sub(nz, hn::Mul(twice, dz));
            addTo(d, sums[2] + i, hn::Mul(ofX, vz));
            addTo(d, sums[3] + i, hn::Mul(ofY, vy));
            addTo(d, sums[4] + i, hn::Mul(ofY, vz));
            addTo(d, sums[5] + i, hn::Mul(hn::Mul(decay, vz), vz));
        }
    }
}

template <std::size_t axes>
void ball(const VoteRow& row, const float* /*direction*/, float y, float z, const float* /*means*/,
          float* const* sums) {
    const hn::ScalableTag<float> d;
    const std::size_t stride = row.stride;
    const float* const samples = row.samples;
    const auto height = hn::Set(d, y);
    const auto depth = hn::Set(d, z);
    for (std::size_t i = 0; i < stride; i += hn::Lanes(d)) {
        const auto dx = hn::LoadU(d, samples + i);
        const auto inverse = hn::LoadU(d, samples + VoteRow::Inverse * stride + i);
        const auto dy = hn::Mul(height, inverse);
        const auto dz = hn::Mul(depth, inverse);
        const auto across = hn::LoadU(d, samples + VoteRow::BallAcross * stride + i);
        const auto along = hn::LoadU(d, samples + VoteRow::BallAlong * stride + i);
        const auto ofX = hn::Mul(along, dx);
        const auto ofY = hn::Mul(along, dy);
        addTo(d, sums[0] + i, hn::Add(across, hn::Mul(ofX, dx)));
        addTo(d, sums[1] + i, hn::Mul(ofX, dy));
        if (axes == 2) {
            addTo(d, sums[2] + i, hn::Add(across, hn::Mul(ofY, dy)));
        } else {
            addTo(d, sums[2] + i, hn::Mul(ofX, dz));
            addTo(d, sums[3] + i, hn::Add(across, hn::Mul(ofY, dy)));
            addTo(d, sums[4] + i, hn::Mul(ofY, dz));
            addTo(d, sums[5] + i, hn::Add(across, hn::Mul(hn::Mul(along, dz), dz)));
        }
    }
}

/// The mean of the sticks around a tangent t, in the frame of t, of the part of the way d that is across it, and of
/// what is across both: their votes add up to one along each of the last two, and what mirroring at d makes of it.
void plate(const VoteRow& row, const float* t, float y, float z, const float* means, float* const* sums) {
    const std::size_t stride = row.stride;
    const float* const samples = row.samples;
    constexpr std::size_t n = coefficients + 1;
    constexpr float toStep = static_cast<float>(ArcMeans::steps) * 1.41421356F;
    for (std::size_t i = 0; i < 2 * row.reach + 1; ++i) {
        const float inverse = samples[VoteRow::Inverse * stride + i];
        const float d[3] = {samples[i], y * inverse, z * inverse};
        const float along = t[0] * d[0] + t[1] * d[1] + t[2] * d[2];
        const float m[3] = {d[0] - along * t[0], d[1] - along * t[1], d[2] - along * t[2]};
        const float square = m[0] * m[0] + m[1] * m[1] + m[2] * m[2];
        const float beyond = square - 0.5F;
        const float at = __builtin_sqrtf(beyond > 0.0F ? beyond : 0.0F) * toStep;
        const int last = static_cast<int>(ArcMeans::steps);
        const int whole = static_cast<int>(at) < last ? static_cast<int>(at) : last;
        const float part = at - static_cast<float>(whole);
        const float* const before = means + static_cast<std::size_t>(whole) * n;
        float mean[n];
        for (std::size_t j = 0; j < n; ++j) {
            mean[j] = before[j] + part * (before[n + j] - before[j]);
        }
        float cosines = 0.0F;
        float sines = 0.0F;
        for (std::size_t k = coefficients; k-- > 0;) {
            const float p = samples[(VoteRow::Polynomial + k) * stride + i];
            cosines = cosines * square + p * mean[k + 1];
            sines = sines * square + p * (mean[k] - mean[k + 1]);
        }
        const float unequal = square > 1e-12F ? (cosines - sines) / square : 0.0F;
        const float mirrored = 4.0F * square * cosines;
        std::size_t entry = 0;
        for (std::size_t a = 0; a < 3; ++a) {
            for (std::size_t b = a; b < 3; ++b) {
                const float across = (a == b ? 1.0F : 0.0F) - t[a] * t[b];
                sums[entry++][i] += unequal * (m[a] * m[b]) + sines * across -
                                    2.0F * cosines * (m[a] * d[b] + d[a] * m[b]) + mirrored * (d[a] * d[b]);
            }
        }
    }
}

VoteKernels kernels(std::size_t axes) {
    return axes == 3 ? VoteKernels{&stick<3>, &ball<3>, &plate} : VoteKernels{&stick<2>, &ball<2>, nullptr};
}

}  // namespace rix::edge_detection::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::edge_detection {

VoteKernels voteKernels(std::size_t axes, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels(axes));
}

}  // namespace rix::edge_detection
#endif
