#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include <rix/access/PointFilters.h>

/// Rows with their positions, for voxels that follow from where they are.
namespace rix::access {

/// Calls `piece(position, offset, count)` for every row that a segment of a plan has a part of: several where the plan
/// joins rows.
/// @param offset of the piece in the segment
template <class F>
void forEachRowOf(const RowSegment& segment, const Plan& plan,
                  const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const F& piece) {
    if (!plan.rowsAreJoined()) {
        piece(static_cast<const Position&>(segment), std::size_t{0}, segment.count);
        return;
    }
    std::size_t line = segment.column / extents[COLUMNS];
    Position at;
    at.column = segment.column % extents[COLUMNS];
    for (std::size_t offset = 0; offset < segment.count;) {
        at.row = line % extents[ROWS];
        at.plane = line / extents[ROWS] % extents[PLANS];
        at.sequence = line / extents[ROWS] / extents[PLANS] % extents[SEQUENCE];
        at.spectral = line / extents[ROWS] / extents[PLANS] / extents[SEQUENCE];
        const std::size_t count = std::min(extents[COLUMNS] - at.column, segment.count - offset);
        piece(at, offset, count);
        offset += count;
        at.column = 0;
        ++line;
    }
}

/// Calls `row(position, out, count)` for every piece of a row of an image, in parallel blocks. Pieces begin anywhere in
/// a row, so that what is computed of a voxel follows from its position alone.
/// @param nanosecondsPerVoxel rough cost of `row`, for deciding whether threads pay
template <class Out, class RowFunction>
void generateRowsAt(ExecutionContext& context, ImageModel& output, double nanosecondsPerVoxel, const RowFunction& row) {
    const auto extents = helper::getExtents(output);
    const Plan plan = cutLines({&output}, nanosecondsPerVoxel);
    run(context, plan, [&](const Block& block) {
        RowWriter<Out> out(output, plan);
        plan.forEachSegment(block, [&](const RowSegment& segment) {
            Out* const samples = out.open(segment);
            forEachRowOf(segment, plan, extents, [&](const Position& at, std::size_t offset, std::size_t count) {
                row(at, samples + offset, count);
            });
            out.flush();
        });
    });
}

/// The same with a row of an image of the same extents: `row(position, in, out, count)`. `out` may be the memory of
/// `in` when the images are one.
template <class In, class Out, class RowFunction>
void transformRowsAt(ExecutionContext& context, const ImageModel& input, ImageModel& output, double nanosecondsPerVoxel,
                     const RowFunction& row) {
    const auto extents = helper::getExtents(output);
    const Plan plan = cutLines({&input, &output}, nanosecondsPerVoxel);
    run(context, plan, [&](const Block& block) {
        RowReader<In> in(input, plan);
        RowWriter<Out> out(output, plan);
        plan.forEachSegment(block, [&](const RowSegment& segment) {
            const In* const values = in.read(segment);
            Out* const samples = out.open(segment);
            forEachRowOf(segment, plan, extents, [&](const Position& at, std::size_t offset, std::size_t count) {
                row(at, values + offset, samples + offset, count);
            });
            out.flush();
        });
    });
}

}  // namespace rix::access
