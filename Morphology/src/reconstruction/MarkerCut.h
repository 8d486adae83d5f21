#pragma once

#include <cmath>
#include <type_traits>

#include <rix/simd/Loops.h>

#include "reconstruction/Flood.h"

namespace rix::morphology {

/// The smaller of a marker and the mask, or the larger one: -0 lies below +0. A mask of NaN is NaN, a marker of NaN
/// none at all.
template <Extremum extremum, class T>
T cutToMask(T marker, T mask) {
    constexpr bool isMaximum = extremum == Extremum::Maximum;
    if constexpr (std::is_floating_point_v<T>) {
        if (isNaN(mask)) {
            return mask;
        }
        if (isNaN(marker)) {
            return floodLimit<T>(extremum);
        }
        if (marker == mask) {
            return std::signbit(marker) == isMaximum ? marker : mask;
        }
    }
    // A reconstruction by dilation (maximum) starts below the mask.
    return (marker < mask) == isMaximum ? marker : mask;
}

/// A marker that the mask has cut: a step of the run. @param markers may be the levels
template <class T>
void startFromMarker(access::ExecutionContext& context, const T* markers, const FloodImages<T>& images,
                     Extremum extremum) {
    const auto cut = [&]<Extremum chosen>(std::integral_constant<Extremum, chosen>) {
        forEachRowOf(context, images.extents, sizeof(T), [&](const access::RowSegment& segment, std::size_t offset) {
            const T* const marker = markers + offset;
            const T* const ground = images.ground + offset;
            T* const levels = images.levels + offset;
            RIX_INDEPENDENT_ITERATIONS
            for (std::size_t x = 0; x < segment.count; ++x) {
                levels[x] = cutToMask<chosen>(marker[x], ground[x]);
            }
        });
    };
    if (extremum == Extremum::Maximum) {
        cut(std::integral_constant<Extremum, Extremum::Maximum>());
    } else {
        cut(std::integral_constant<Extremum, Extremum::Minimum>());
    }
}

}  // namespace rix::morphology
