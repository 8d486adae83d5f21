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
using Wides = hn::CappedTag<std::uint64_t, blockLanes / 2>;
using WideVector = hn::Vec<Wides>;

/// A word of as many blocks as a vector has words: those of even blocks in the low halves of wide lanes, and those of
/// odd ones. So words stay where products leave them. High halves hold anything.
struct WordPair {
    WideVector even;
    WideVector odd;
};

/// The products of the low halves of all lanes with a number.
HWY_INLINE WideVector multiply(WideVector a, std::uint32_t factor) {
#if HWY_TARGET == HWY_SCALAR
    return hn::Set(Wides(), (hn::GetLane(a) & 0xffffffffU) * factor);
#else
    const Words d;
    return hn::MulEven(hn::BitCast(d, a), hn::Set(d, factor));
#endif
}
HWY_INLINE WordPair multiply(const WordPair& a, std::uint32_t factor) {
    return {multiply(a.even, factor), multiply(a.odd, factor)};
}

/// The high words of products, each with a word and a number by exclusive or.
HWY_INLINE WordPair mixed(const WordPair& products, const WordPair& words, std::uint32_t number) {
    const auto key = hn::Set(Wides(), std::uint64_t{number});
    return {hn::Xor(hn::ShiftRight<32>(products.even), hn::Xor(words.even, key)),
            hn::Xor(hn::ShiftRight<32>(products.odd), hn::Xor(words.odd, key))};
}
HWY_INLINE WordPair mixed(const WordPair& words, std::uint32_t number) {
    const auto key = hn::Set(Wides(), std::uint64_t{number});
    return {hn::Xor(words.even, key), hn::Xor(words.odd, key)};
}

HWY_INLINE void store(const WordPair& words, std::uint32_t* out) {
#if HWY_TARGET == HWY_SCALAR
    out[0] = static_cast<std::uint32_t>(hn::GetLane(words.even));
    out[1] = static_cast<std::uint32_t>(hn::GetLane(words.odd));
#else
    const Words d;
    hn::StoreU(hn::OddEven(hn::BitCast(d, hn::ShiftLeft<32>(words.odd)), hn::BitCast(d, words.even)), d, out);
#endif
}

/// The four words of the blocks from `block` on, a group's width apart in `out`.
HWY_INLINE void storeBlocks(const NoiseRow& row, std::uint32_t block, std::uint32_t* out) {
    const Wides d;
    const auto number = hn::Add(hn::Set(d, std::uint64_t{block}), hn::ShiftLeft<1>(hn::Iota(d, 0)));
    // Blocks differ in word 0, and after the first round in words 2 and 3: half of the products of the first two rounds
    // are those of numbers.
    const std::uint64_t ofPlane = std::uint64_t{row.plane} * philox::multiplier1;
    const std::uint32_t second = static_cast<std::uint32_t>(ofPlane >> 32U) ^ row.row ^ row.key0;
    const std::uint64_t ofSecond = std::uint64_t{second} * philox::multiplier0;
    std::uint32_t key0 = row.key0 + philox::step0;
    std::uint32_t key1 = row.key1 + philox::step1;
    const WordPair first = multiply({number, hn::Add(number, hn::Set(d, std::uint64_t{1}))}, philox::multiplier0);
    const auto zero = hn::Zero(d);
    const WordPair next = multiply(mixed(first, {zero, zero}, row.frame ^ row.key1), philox::multiplier1);
    WordPair w0 = mixed(next, {zero, zero}, static_cast<std::uint32_t>(ofPlane) ^ key0);
    WordPair w1 = next;
    WordPair w2 = mixed(first, static_cast<std::uint32_t>(ofSecond >> 32U) ^ key1);
    const auto last = hn::Set(d, ofSecond & 0xffffffffU);
    WordPair w3 = {last, last};
    HWY_UNROLL(8)
    for (int round = 2; round < philox::rounds; ++round) {
        key0 += philox::step0;
        key1 += philox::step1;
        const WordPair product0 = multiply(w0, philox::multiplier0);
        const WordPair product1 = multiply(w2, philox::multiplier1);
        w0 = mixed(product1, w1, key0);
        w2 = mixed(product0, w3, key1);
        w1 = product1;
        w3 = product0;
    }
    store(w0, out);
    store(w1, out + blockLanes);
    store(w2, out + 2 * blockLanes);
    store(w3, out + 3 * blockLanes);
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
    constexpr std::size_t step = 2 * hn::MaxLanes(Wides());
    for (std::size_t group = 0; group < groups; ++group) {
        const std::uint32_t block = (firstGroup + static_cast<std::uint32_t>(group)) * blockLanes;
        for (std::size_t i = 0; i < blockLanes; i += step) {
            storeBlocks(row, block + static_cast<std::uint32_t>(i), out + i);
        }
        out += groupVoxels;
    }
}

/// Some groups' words first, then their deviates: short loops, of which the processor has several turns under way.
void gaussians(const NoiseRow& row, std::uint32_t firstGroup, std::size_t groups, float mean, float deviation,
               float* out) {
    constexpr std::size_t most = 8;
    const Words d;
    const Reals reals;
    const auto scale = hn::Set(reals, deviation);
    for (std::size_t group = 0; group < groups; group += most) {
        const std::size_t some = groups - group < most ? groups - group : most;
        std::uint32_t drawn[most * groupVoxels];
        words(row, firstGroup + static_cast<std::uint32_t>(group), some, drawn);
        for (std::size_t half = 0; half < some * groupVoxels; half += 2 * blockLanes) {
            for (std::size_t i = half; i < half + blockLanes; i += hn::Lanes(d)) {
                RealVector first;
                RealVector second;
                normals(hn::LoadU(d, drawn + i), hn::LoadU(d, drawn + blockLanes + i), first, second);
                hn::StoreU(multiplyAdd(first, scale, mean), reals, out + i);
                hn::StoreU(multiplyAdd(second, scale, mean), reals, out + blockLanes + i);
            }
        }
        out += some * groupVoxels;
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
