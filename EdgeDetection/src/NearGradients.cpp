#include "NearGradients.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "NearGradients.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::edge_detection::HWY_NAMESPACE {

/// Columns whose sums stay in the first cache.
constexpr std::size_t piece = 2048;

/// Of integers, whose sums are exact in any order: down the columns first, each once.
template <access::Stores stores, class T, class Sum>
void lengths(const T* const* rows, Sum middle, Sum beside, Sum along, float* out, std::size_t count) {
    HWY_ALIGN Sum averages[piece + 2];
    HWY_ALIGN Sum differences[piece + 2];
    for (std::size_t begin = 0; begin < count; begin += piece) {
        const std::size_t columns = count - begin < piece ? count - begin : piece;
        const T* const above = rows[0] + begin - 1;
        const T* const here = rows[1] + begin - 1;
        const T* const below = rows[2] + begin - 1;
        for (std::size_t x = 0; x < columns + 2; ++x) {
            const Sum a = static_cast<Sum>(above[x]);
            const Sum b = static_cast<Sum>(below[x]);
            const Sum outer = static_cast<Sum>(beside * static_cast<Sum>(b + a));
            averages[x] = static_cast<Sum>(outer + static_cast<Sum>(middle * static_cast<Sum>(here[x])));
            differences[x] = static_cast<Sum>(along * static_cast<Sum>(b - a));
        }
        const Sum* const s = averages + 1;
        const Sum* const d = differences + 1;
        access::HWY_NAMESPACE::storeRow<stores, float>(out + begin, columns, [=](std::size_t x) {
            const Sum ofX = static_cast<Sum>(along * static_cast<Sum>(s[x + 1] - *(s + x - 1)));
            const Sum outer = static_cast<Sum>(beside * static_cast<Sum>(d[x + 1] + *(d + x - 1)));
            const Sum ofY = static_cast<Sum>(outer + static_cast<Sum>(middle * d[x]));
            const int gx = ofX;
            const int gy = ofY;
            return __builtin_sqrtf(static_cast<float>(gx * gx + gy * gy));
        });
    }
}

/// Of reals: along the rows first, as all sums of fields are taken.
template <access::Stores stores>
void lengths(const float* const* rows, float middle, float beside, float along, float* out, std::size_t count) {
    const float* const above = rows[0];
    const float* const here = rows[1];
    const float* const below = rows[2];
    access::HWY_NAMESPACE::storeRow<stores, float>(out, count, [=](std::size_t x) {
        const float aboveLeft = *(above + x - 1);
        const float left = *(here + x - 1);
        const float belowLeft = *(below + x - 1);
        const float differenceAbove = along * (above[x + 1] - aboveLeft);
        const float difference = along * (here[x + 1] - left);
        const float differenceBelow = along * (below[x + 1] - belowLeft);
        const float averageAbove = beside * (above[x + 1] + aboveLeft) + middle * above[x];
        const float averageBelow = beside * (below[x + 1] + belowLeft) + middle * below[x];
        const float gx = beside * (differenceBelow + differenceAbove) + middle * difference;
        const float gy = along * (averageBelow - averageAbove);
        return __builtin_sqrtf(gx * gx + gy * gy);
    });
}

void lengthsOfFloats(const float* const* rows, const NearWeights& weights, float* out, std::size_t count,
                     access::Stores stores) {
    if (stores == access::Stores::Streaming) {
        lengths<access::Stores::Streaming>(rows, weights.middle, weights.beside, weights.along, out, count);
    } else {
        lengths<access::Stores::Cached>(rows, weights.middle, weights.beside, weights.along, out, count);
    }
}

void lengthsOfBytes(const std::uint8_t* const* rows, const NearWeights& weights, float* out, std::size_t count,
                    access::Stores stores) {
    const auto middle = static_cast<std::int16_t>(weights.middle);
    const auto beside = static_cast<std::int16_t>(weights.beside);
    const auto along = static_cast<std::int16_t>(weights.along);
    if (stores == access::Stores::Streaming) {
        lengths<access::Stores::Streaming>(rows, middle, beside, along, out, count);
    } else {
        lengths<access::Stores::Cached>(rows, middle, beside, along, out, count);
    }
}

NearGradients kernels() {
    return {&lengthsOfFloats, &lengthsOfBytes};
}

}  // namespace rix::edge_detection::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::edge_detection {

NearGradients nearGradients(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels());
}

}  // namespace rix::edge_detection
#endif
