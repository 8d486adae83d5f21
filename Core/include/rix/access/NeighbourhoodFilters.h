#pragma once

#include <rix/access/BorderCondition.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/NeighbourhoodBlocks.h>
#include <rix/access/RowCache.h>
#include <rix/access/Rows.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// Calls `row(window, segment, out)` for every row of the blocks of two images of the same extents, in parallel.
/// `window` is the block's `RowCache<In>`, which gives the rows around `segment`; `out` takes the results as `Out`,
/// whatever the image holds.
/// @param output another image than `input`: what is written must not be read again
template <class In, class Out, class RowFunction>
void transformNeighbourhoods(ExecutionContext& context, const ImageModel& input, const BorderCondition<In>& border,
                             ImageModel& output, const NeighbourhoodWork& work, const RowFunction& row) {
    NeighbourhoodWork converted = work;
    if (work.heldBytesPerVoxel == 0) {
        converted.heldBytesPerVoxel = sizeof(In) * helper::getElementNumber(input.getElementType());
    }
    const NeighbourhoodPlan plan({&input}, {&output}, converted);
    forEachBlock(context, plan, [&](const NeighbourhoodBlock& block) {
        RowCache<In> window(input, border, block, work.reach);
        RowWriter<Out> out(output);
        block.forEachSegment([&](const RowSegment& segment) {
            row(window, segment, out.open(segment));
            out.flush();
        });
    });
}

}  // namespace rix::access
