#pragma once

#include <rix/access/BorderCondition.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/WindowRows.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// Calls `row(window, segment, out)` for every row of the blocks of two images of the same extents, in parallel.
/// `window` is a `WindowRows<In>`, which gives the rows around `segment`; `out` takes the results as `Out`, whatever
/// the image holds. The ends of rows are segments of their own.
/// @param output shares no memory with `input`: what is written must not be read again
template <class In, class Out, class RowFunction>
void transformWindows(ExecutionContext& context, const ImageModel& input, const BorderCondition<In>& border,
                      ImageModel& output, const BoxNeeds& needs, const RowFunction& row) {
    BoxNeeds converted = needs;
    if (needs.heldBytesPerVoxel == 0) {
        converted.heldBytesPerVoxel = sizeof(In) * helper::getElementNumber(input.getElementType());
    }
    const Plan plan = cutBoxes({&input}, {&output}, converted);
    run(context, plan, [&](const Block& block) {
        RowWriter<Out> out(output, plan);
        const WindowSpans spans = spansOf(input, voxelTypeOf<In>, block, needs.reach);
        for (std::size_t i = 0; i < spans.count; ++i) {
            const Block& span = spans.parts[i];
            WindowRows<In> window(input, &border, span, needs.reach);
            plan.forEachSegment(span, [&](const RowSegment& segment) {
                row(window, segment, out.open(segment));
                out.flush();
            });
        }
    });
}

}  // namespace rix::access
