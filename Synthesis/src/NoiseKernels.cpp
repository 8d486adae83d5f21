#include "NoiseKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "NoiseKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::synthesis::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::size_t blockLanes = 16;  ///< voxels of a group that take the same word of their blocks
using Words = hn::CappedTag<std::uint32_t, blockLanes>;
using Reals = hn::Rebind<float, Words>;
using Integers = hn::Rebind<std::int32_t, Words>;
using WordVector = hn::Vec<Words>;
using RealVector = hn::Vec<Reals>;

/// The high and the low words of the products of all lanes with a number.
HWY_INLINE void multiply(WordVector a, std::uint32_t factor, WordVector& high, WordVector& low) {
    const Words d;
#if HWY_TARGET == HWY_SCALAR
    const std::uint64_t product = std::uint64_t{hn::GetLane(a)} * factor;
    high = hn::Set(d, static_cast<std::uint32_t>(product >> 32U));
    low = hn::Set(d, static_cast<std::uint32_t>(product));
#else
    const hn::RepartitionToWide<Words> wide;
    const auto by = hn::Set(d, factor);
    const auto even = hn::MulEven(a, by);
    const auto odd = hn::MulEven(hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(wide, a))), by);
    high = hn::OddEven(hn::BitCast(d, odd), hn::BitCast(d, hn::ShiftRight<32>(even)));
    low = hn::OddEven(hn::BitCast(d, hn::ShiftLeft<32>(odd)), hn::BitCast(d, even));
#endif
}

/// The four words of the blocks from `block` on, a block a lane.
HWY_INLINE void blocks(const NoiseRow& row, std::uint32_t block, WordVector& w0, WordVector& w1, WordVector& w2,
                       WordVector& w3) {
    const Words d;
    w0 = hn::Iota(d, block);
    w1 = hn::Set(d, row.row);
    w2 = hn::Set(d, row.plane);
    w3 = hn::Set(d, row.frame);
    std::uint32_t key0 = row.key0;
    std::uint32_t key1 = row.key1;
    HWY_UNROLL(10)
    for (int round = 0; round < philox::rounds; ++round) {
        WordVector high0;
        WordVector low0;
        WordVector high1;
        WordVector low1;
        multiply(w0, philox::multiplier0, high0, low0);
        multiply(w2, philox::multiplier1, high1, low1);
        w0 = hn::Xor(high1, hn::Xor(w1, hn::Set(d, key0)));
        w2 = hn::Xor(high0, hn::Xor(w3, hn::Set(d, key1)));
        w1 = low1;
        w3 = low0;
        key0 += philox::step0;
        key1 += philox::step1;
    }
}

HWY_INLINE RealVector multiplyAdd(RealVector a, RealVector b, float c) {
    return hn::Add(hn::Mul(a, b), hn::Set(Reals(), c));  // rounded twice, with or without fused instructions
}

/// The natural logarithm of numbers from 2^-32 to 1. The polynomial was fitted to (log(1 + f) - f + f^2 / 2) / f^3 for
/// 1 + f from sqrt(1/2) to sqrt(2), with f^2 as weight: 6e-9.
HWY_INLINE RealVector logarithms(RealVector x) {
    const Reals d;
    const Integers integers;
    const auto bits = hn::BitCast(integers, x);
    const auto exponent = hn::ShiftRight<23>(hn::Sub(bits, hn::Set(integers, 0x3f3504f3)));  // of sqrt(1/2)
    const auto mantissa = hn::BitCast(d, hn::Sub(bits, hn::ShiftLeft<23>(exponent)));
    const auto f = hn::Sub(mantissa, hn::Set(d, 1.0F));
    auto sum = hn::Set(d, -0.0785962842F);
    sum = multiplyAdd(sum, f, 0.128816674F);
    sum = multiplyAdd(sum, f, -0.131287576F);
    sum = multiplyAdd(sum, f, 0.141811894F);
    sum = multiplyAdd(sum, f, -0.166245535F);
    sum = multiplyAdd(sum, f, 0.200022864F);
    sum = multiplyAdd(sum, f, -0.250008104F);
    sum = multiplyAdd(sum, f, 0.333333167F);
    const auto square = hn::Mul(f, f);
    const auto rest = hn::Mul(hn::Mul(sum, square), f);
    const auto e = hn::ConvertTo(d, exponent);
    // The large part of log 2 has 10 bits, so that its multiples are exact.
    const auto small =
        hn::Add(hn::Sub(rest, hn::Mul(square, hn::Set(d, 0.5F))), hn::Mul(e, hn::Set(d, -2.12194440e-4F)));
    return hn::Add(hn::Add(f, small), hn::Mul(e, hn::Set(d, 0.693359375F)));
}

/// Two normal deviates a lane: radius from one word, angle from the other.
HWY_INLINE void normals(WordVector radiusWord, WordVector angleWord, RealVector& first, RealVector& second) {
    const Words words;
    const Reals d;
    const Integers integers;
    const auto integer = hn::ConvertTo(d, hn::BitCast(integers, hn::ShiftRight<1>(radiusWord)));
    const auto uniform = hn::Mul(hn::Add(integer, hn::Set(d, 0.5F)), hn::Set(d, 0x1p-31F));
    const auto radius = hn::Sqrt(hn::Mul(logarithms(uniform), hn::Set(d, -2.0F)));
    // The nearest quarter of the circle, and the angle from there: -pi/4 to pi/4.
    const auto quarter = hn::ShiftRight<30>(hn::Add(angleWord, hn::Set(words, 0x20000000U)));
    const auto turn = hn::ConvertTo(d, hn::BitCast(integers, hn::ShiftLeft<2>(angleWord)));
    const auto angle = hn::Mul(turn, hn::Set(d, 0.785398163F * 0x1p-31F));
    const auto square = hn::Mul(angle, angle);
    // Fitted likewise, to (sin a - a) / a^3 and (cos a - 1 + a^2 / 2) / a^4.
    auto sine = hn::Set(d, -0.000194956019F);
    sine = multiplyAdd(sine, square, 0.00833197839F);
    sine = multiplyAdd(sine, square, -0.166666507F);
    sine = hn::Add(angle, hn::Mul(hn::Mul(sine, square), angle));
    auto cosine = hn::Set(d, 2.44384155e-05F);
    cosine = multiplyAdd(cosine, square, -0.00138873672F);
    cosine = multiplyAdd(cosine, square, 0.0416666469F);
    cosine =
        hn::Add(hn::Sub(hn::Set(d, 1.0F), hn::Mul(square, hn::Set(d, 0.5F))), hn::Mul(hn::Mul(cosine, square), square));
    const auto isOdd = hn::RebindMask(d, hn::TestBit(quarter, hn::Set(words, 1U)));
    const auto two = hn::Set(words, 2U);
    const auto signOfSine = hn::ShiftLeft<30>(hn::And(quarter, two));
    const auto signOfCosine = hn::ShiftLeft<30>(hn::And(hn::Add(quarter, hn::Set(words, 1U)), two));
    const auto across = hn::IfThenElse(isOdd, sine, cosine);
    const auto along = hn::IfThenElse(isOdd, cosine, sine);
    first = hn::Mul(radius, hn::BitCast(d, hn::Xor(hn::BitCast(words, across), signOfCosine)));
    second = hn::Mul(radius, hn::BitCast(d, hn::Xor(hn::BitCast(words, along), signOfSine)));
}

void words(const NoiseRow& row, std::uint32_t firstGroup, std::size_t groups, std::uint32_t* out) {
    const Words d;
    for (std::size_t group = 0; group < groups; ++group) {
        const std::uint32_t block = (firstGroup + static_cast<std::uint32_t>(group)) * blockLanes;
        for (std::size_t i = 0; i < blockLanes; i += hn::Lanes(d)) {
            WordVector w0;
            WordVector w1;
            WordVector w2;
            WordVector w3;
            blocks(row, block + static_cast<std::uint32_t>(i), w0, w1, w2, w3);
            hn::StoreU(w0, d, out + i);
            hn::StoreU(w1, d, out + blockLanes + i);
            hn::StoreU(w2, d, out + 2 * blockLanes + i);
            hn::StoreU(w3, d, out + 3 * blockLanes + i);
        }
        out += groupVoxels;
    }
}

void gaussians(const NoiseRow& row, std::uint32_t firstGroup, std::size_t groups, float mean, float deviation,
               float* out) {
    const Reals d;
    const auto scale = hn::Set(d, deviation);
    for (std::size_t group = 0; group < groups; ++group) {
        const std::uint32_t block = (firstGroup + static_cast<std::uint32_t>(group)) * blockLanes;
        for (std::size_t i = 0; i < blockLanes; i += hn::Lanes(d)) {
            WordVector w0;
            WordVector w1;
            WordVector w2;
            WordVector w3;
            blocks(row, block + static_cast<std::uint32_t>(i), w0, w1, w2, w3);
            RealVector n0;
            RealVector n1;
            RealVector n2;
            RealVector n3;
            normals(w0, w1, n0, n1);
            normals(w2, w3, n2, n3);
            hn::StoreU(multiplyAdd(n0, scale, mean), d, out + i);
            hn::StoreU(multiplyAdd(n1, scale, mean), d, out + blockLanes + i);
            hn::StoreU(multiplyAdd(n2, scale, mean), d, out + 2 * blockLanes + i);
            hn::StoreU(multiplyAdd(n3, scale, mean), d, out + 3 * blockLanes + i);
        }
        out += groupVoxels;
    }
}

NoiseKernels kernels() {
    return {&words, &gaussians};
}

}  // namespace rix::synthesis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::synthesis {

NoiseKernels noiseKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels());
}

}  // namespace rix::synthesis
#endif
