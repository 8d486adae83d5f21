#include "SlicKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "SlicKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::segmentation::HWY_NAMESPACE {

/// The same for one voxel, which every level computes in this order.
HWY_INLINE void approachOne(const SlicPiece& piece, const SlicCenter& center, std::size_t x) {
    const float along = static_cast<float>(x) - center.column;
    float distance = along * along * center.weight + center.apart;
    for (std::size_t c = 0; c < piece.channels; ++c) {
        const float difference = piece.values[c * piece.channelStride + x] - center.values[c];
        distance = distance + difference * difference;
    }
    if (distance < piece.distances[x]) {
        piece.distances[x] = distance;
        piece.numbers[x] = center.number;
    }
}

void approachAll(const SlicPiece& piece, const SlicCenter& center) {
    for (std::size_t x = 0; x < piece.count; ++x) {
        approachOne(piece, center, x);
    }
}

double sumAll(const float* values, std::size_t count) {
    double sum = 0.0;
    for (std::size_t x = 0; x < count; ++x) {
        sum += static_cast<double>(values[x]);
    }
    return sum;
}

#if HWY_TARGET == HWY_SCALAR
SlicKernels kernels() {
    return {&approachAll, &sumAll};
}
#else
namespace hn = hwy::HWY_NAMESPACE;

/// @tparam channels of the image, 0 for any number
template <std::size_t channels>
void approachVectors(const SlicPiece& piece, const SlicCenter& center) {
    const hn::ScalableTag<float> d;
    const hn::RebindToUnsigned<decltype(d)> du;
    const hn::RebindToSigned<decltype(d)> di;
    const std::size_t lanes = hn::Lanes(d);
    const std::size_t count = piece.count;
    if (count < lanes) {
        approachAll(piece, center);
        return;
    }
    const auto column = hn::Set(d, center.column);
    const auto weight = hn::Set(d, center.weight);
    const auto apart = hn::Set(d, center.apart);
    const auto number = hn::Set(du, center.number);
    const auto steps = hn::Iota(di, 0);
    for (std::size_t begin = 0; begin < count; begin += lanes) {
        // The last vector overlaps the one before: whoever has taken this centre is no nearer to it now.
        const std::size_t x = begin + lanes <= count ? begin : count - lanes;
        const auto columns = hn::ConvertTo(d, hn::Add(steps, hn::Set(di, static_cast<std::int32_t>(x))));
        const auto along = hn::Sub(columns, column);
        auto distance = hn::Add(hn::Mul(hn::Mul(along, along), weight), apart);
        for (std::size_t c = 0; c < (channels == 0 ? piece.channels : channels); ++c) {
            const auto values = hn::LoadU(d, piece.values + c * piece.channelStride + x);
            const auto difference = hn::Sub(values, hn::Set(d, center.values[c]));
            distance = hn::Add(distance, hn::Mul(difference, difference));
        }
        const auto least = hn::LoadU(d, piece.distances + x);
        const auto isNearer = hn::Lt(distance, least);
        hn::StoreU(hn::IfThenElse(isNearer, distance, least), d, piece.distances + x);
        const auto numbers = hn::LoadU(du, piece.numbers + x);
        hn::StoreU(hn::IfThenElse(hn::RebindMask(du, isNearer), number, numbers), du, piece.numbers + x);
    }
}

void approach(const SlicPiece& piece, const SlicCenter& center) {
    if (piece.channels == 1) {
        approachVectors<1>(piece, center);
    } else if (piece.channels == 3) {
        approachVectors<3>(piece, center);
    } else {
        approachVectors<0>(piece, center);
    }
}

/// Sums of integers are exact in any order.
double sumVectors(const float* values, std::size_t count) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<float, decltype(d)> ofHalf;
    const std::size_t lanes = hn::Lanes(d);
    auto sums = hn::Zero(d);
    std::size_t x = 0;
    for (; x + lanes <= count; x += lanes) {
        sums = hn::Add(sums, hn::PromoteTo(d, hn::LoadU(ofHalf, values + x)));
    }
    return hn::GetLane(hn::SumOfLanes(d, sums)) + sumAll(values + x, count - x);
}

SlicKernels kernels() {
    return {&approach, &sumVectors};
}
#endif

}  // namespace rix::segmentation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::segmentation {

SlicKernels slicKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels());
}

}  // namespace rix::segmentation
#endif
