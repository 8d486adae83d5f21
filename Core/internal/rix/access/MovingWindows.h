#pragma once

#include <rix/access/BorderCondition.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/WindowRows.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// `transformWindows` for filters that carry something from row to row: calls `row(state, segment, out)` for every row
/// of the blocks of two images, in storage order within each part of a block, for which `makeState(window, part)` makes
/// a state of its own. It looks for a cancel between rows.
/// @param output shares no memory with `input`: what is written must not be read again
template <class In, class Out, class MakeState, class RowFunction>
void transformMovingWindows(ExecutionContext& context, const ImageModel& input, const BorderCondition<In>& border,
                            ImageModel& output, const BoxNeeds& needs, const MakeState& makeState,
                            const RowFunction& row) {
    const Plan plan = cutBoxes({&input}, {&output}, needs);
    run(context, plan, [&](const Block& block, BlockProgress& progress) {
        RowWriter<Out> out(output, plan);
        const WindowSpans spans = spansOf(input, voxelTypeOf<In>, block, needs.reach);
        for (std::size_t i = 0; i < spans.count; ++i) {
            const Block& part = spans.parts[i];
            WindowRows<In> window(input, &border, part, needs.reach);
            auto state = makeState(window, part);
            plan.forEachSegment(part, [&](const RowSegment& segment) {
                row(state, segment, out.open(segment));
                out.flush();
                progress.add(segment.count);
            });
        }
    });
}

}  // namespace rix::access
