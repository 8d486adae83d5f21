#pragma once

#include <algorithm>
#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/algorithms/Definition.h>

#include "GaussianJob.h"

namespace rix::filtering::smoothing {

/// The widest Gaussian there is: a kernel of 10001 taps.
inline constexpr double largestDeviation = 1000.0;

/// The property of filters with one deviation for all axes, with its rule. @param initial its default
void declareDeviation(algorithms::Properties& properties, Property<double>& deviation, double initial);

/// Of filters with one deviation for all axes of a plane or a volume.
template <class Filter>
GaussianJob roundJobOf(const Filter& filter, bool isVolume) {
    const double deviation = filter.getStandardDeviation();
    return {{deviation, deviation, isVolume ? deviation : 0.0}, filter.getBorderPolicy(), filter.getBorderValue()};
}

inline constexpr double nanosecondsPerCombination = 1.0;

/// Calls `row(in, between, out, count)` for every piece of a row: of an image, of what was made of it, and of the
/// output, which may be the very input.
template <class In, class Between, class Out, class RowFunction>
void combineRows(access::ExecutionContext& context, const ImageModel& input, const ImageModel& between,
                 ImageModel& output, const RowFunction& row) {
    const access::Plan plan = access::cutLines({&input, &between, &output}, nanosecondsPerCombination);
    access::run(context, plan, [&](const access::Block& block) {
        access::RowReader<In> in(input, plan);
        access::RowReader<Between> made(between, plan);
        access::RowWriter<Out> out(output, plan);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            row(in.read(segment), made.read(segment), out.open(segment), segment.count);
            out.flush();
        });
    });
}

/// What readers of the rows of an input hold, where they convert them. @param workBytes of a sample that they give
inline std::size_t convertedRowBytes(const ImageModel& input, VoxelTypes workType, std::size_t threads) {
    if (input.getVoxelType() == workType && input.getInterpretation() != RIX_BINARY) {
        return 0;
    }
    const access::Plan plan = access::cutLines({&input}, nanosecondsPerCombination);
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    return atOnce * access::Scratch::held(plan.largestPart(COLUMNS) * helper::getSizeOf(workType));
}

}  // namespace rix::filtering::smoothing
