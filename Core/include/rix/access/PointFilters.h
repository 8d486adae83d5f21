#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// Calls `row(in, out, count)` for every piece of a row of two images of the same extents, in parallel blocks. Samples
/// are read as `In` and written as `Out`, whatever the images hold; `out` may be the very memory of `in` when the
/// images are one.
/// @param nanosecondsPerVoxel rough cost of `row`, for deciding whether threads pay
template <class In, class Out, class RowFunction>
void transformRows(ExecutionContext& context, const ImageModel& input, ImageModel& output, double nanosecondsPerVoxel,
                   const RowFunction& row) {
    const Plan plan = cutLines({&input, &output}, nanosecondsPerVoxel);
    run(context, plan, [&](const Block& block) {
        RowReader<In> in(input, plan);
        RowWriter<Out> out(output, plan);
        plan.forEachSegment(block, [&](const RowSegment& segment) {
            row(in.read(segment), out.open(segment), segment.count);
            out.flush();
        });
    });
}

/// Calls `row(out, count)` for every piece of a row of an image, in parallel blocks.
template <class Out, class RowFunction>
void generateRows(ExecutionContext& context, ImageModel& output, double nanosecondsPerVoxel, const RowFunction& row) {
    const Plan plan = cutLines({&output}, nanosecondsPerVoxel);
    run(context, plan, [&](const Block& block) {
        RowWriter<Out> out(output, plan);
        plan.forEachSegment(block, [&](const RowSegment& segment) {
            row(out.open(segment), segment.count);
            out.flush();
        });
    });
}

}  // namespace rix::access
