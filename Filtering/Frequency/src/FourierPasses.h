#pragma once

#include <cmath>
#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/image/ImageModel.h>

#include "LineTransform.h"

namespace rix::filtering::frequency {

/// How the lines of one axis are transformed.
struct AxisTransform {
    Components axis = COLUMNS;
    bool backward = false;
    bool centered = false;  ///< the coefficient of frequency 0 lies at floor(n / 2)
    double scale = 1.0;
};

/// Where the coefficient of frequency 0 lies.
inline std::size_t middleOf(const AxisTransform& how, std::size_t length) {
    return how.centered ? length / 2 : 0;
}

/// Rough cost of an element, its way through the caches included.
inline double nanosecondsFor(std::size_t length) {
    return 1.5 + 0.25 * std::log2(static_cast<double>(length));
}

bool isComplex(const ImageModel& image);

/// Transforms columns and rows of samples into coefficients, all of them or the first half.
/// @tparam Real of the computation
/// @param samples real or complex; of complex ones all coefficients are made
template <class Real>
void transformPlanesForward(access::ExecutionContext& context, const ImageModel& samples, ImageModel& spectrum,
                            const AxisTransform& along, const AxisTransform& across);

/// The way back.
/// @param spectrum for what comes between; of the extents of the input, or the input or the samples themselves
template <class Real>
void transformPlanesBackward(access::ExecutionContext& context, const ImageModel& input, ImageModel& spectrum,
                             ImageModel& samples, bool half, const AxisTransform& across, const AxisTransform& along);

/// Transforms the lines of another axis than the columns, from one image into another of the same extents, or in place.
template <class Real>
void transformAcross(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                     const AxisTransform& how);

/// The most bytes that these hold, for descriptions. @param columns of the samples
template <class Real>
std::size_t passBytes(const ImageModel& input, std::size_t columns, std::size_t axes, std::size_t threads);

}  // namespace rix::filtering::frequency
