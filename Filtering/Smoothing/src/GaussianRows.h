#pragma once

#include <algorithm>
#include <cstddef>
#include <tuple>

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

/// An image that is read as `In`.
template <class In>
struct ReadAs {
    const ImageModel& image;
};

/// Calls `row(in..., out, count)` for every piece of a row of some images and of the output, which may be one of them.
template <class Out, class RowFunction, class... In>
void combineRows(access::ExecutionContext& context, ImageModel& output, const RowFunction& row,
                 const ReadAs<In>&... inputs) {
    const access::Plan plan = access::cutLines({&inputs.image..., &output}, nanosecondsPerCombination);
    access::run(context, plan, [&](const access::Block& block) {
        std::tuple<access::RowReader<In>...> readers(access::RowReader<In>(inputs.image, plan)...);
        access::RowWriter<Out> out(output, plan);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            std::apply([&](auto&... in) { row(in.read(segment)..., out.open(segment), segment.count); }, readers);
            out.flush();
        });
    });
}

/// What readers of the rows of an input hold, where they convert them. The images beside it may cut it into more and
/// shorter pieces than it alone would be, never into longer ones.
inline std::size_t convertedRowBytes(const ImageModel& input, VoxelTypes workType, std::size_t threads) {
    if (input.getVoxelType() == workType && input.getInterpretation() != RIX_BINARY) {
        return 0;
    }
    const access::Plan plan = access::cutLines({&input}, nanosecondsPerCombination);
    const std::size_t workBytes = helper::getSizeOf(workType);
    const std::size_t atOnce = plan.isSmall() ? 1 : threads;
    return std::min(atOnce * access::Scratch::held(plan.largestPart(COLUMNS) * workBytes),
                    plan.voxelCount() * workBytes + atOnce * access::Scratch::granularity);
}

}  // namespace rix::filtering::smoothing
