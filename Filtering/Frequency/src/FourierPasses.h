#pragma once

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

/// Transforms rows of samples into rows of coefficients, all of them or the first half.
/// @tparam Real of the computation
/// @param samples real or complex; of complex ones all coefficients are made
template <class Real>
void transformRowsForward(access::ExecutionContext& context, const ImageModel& samples, ImageModel& coefficients,
                          const AxisTransform& how);

/// The way back. Rows of as many coefficients as samples are whole ones, others a half.
template <class Real>
void transformRowsBackward(access::ExecutionContext& context, const ImageModel& coefficients, ImageModel& samples,
                           bool half, const AxisTransform& how);

/// Transforms the lines of another axis, from one image into another of the same extents, or in place.
template <class Real>
void transformAcross(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                     const AxisTransform& how);

/// The most bytes that one of these holds, for threads at once.
/// @param columns of the samples
/// @param sampleBytes of a real one
std::size_t passBytes(const ImageModel& coefficients, std::size_t columns, std::size_t sampleBytes,
                      std::size_t threads);

}  // namespace rix::filtering::frequency
