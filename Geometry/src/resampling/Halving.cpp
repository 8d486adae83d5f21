#include "resampling/Halving.h"

#include <algorithm>

#include <rix/access/BlockSize.h>
#include <rix/access/Plan.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/image/ImageHeader.h>

#include "resampling/HalvingKernels.h"

namespace rix::geometry {

namespace {

template <class T>
void halve(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, OptimLevelType level) {
    constexpr std::size_t elementsOfBlock = std::size_t{1} << 17;
    constexpr double nanosecondsPerElement = 0.3;
    const auto extents = helper::getExtents(output);
    access::Plan plan(extents, access::JoinedAxes::None);
    const std::size_t rows = access::scaledToBlocks(elementsOfBlock) / extents[COLUMNS];
    plan.cut(ROWS, {1, std::clamp<std::size_t>(rows, 1, extents[ROWS])});
    for (const Components axis : {PLANS, SEQUENCE, SPECTRAL_SERIES}) {
        plan.cut(axis, {1, 1});
    }
    plan.setSmall(static_cast<double>(plan.voxelCount()) * nanosecondsPerElement < access::smallWorkNanoseconds());
    const HalveRows<T> rowsToRow = halveRows<T>(level);
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        access::RowReader<T, 2> reader(input);
        access::RowWriter<T> writer(output, plan);
        block.forEachRow([&](const access::Position& at) {
            access::RowSegment source{at, 2 * extents[COLUMNS]};
            source.row = 2 * at.row;
            const T* const first = reader.read(source, 0);
            ++source.row;
            const T* const second = reader.read(source, 1);
            rowsToRow(first, second, writer.open({at, extents[COLUMNS]}), extents[COLUMNS]);
            writer.flush();
            progress.add(extents[COLUMNS]);
        });
    });
}

}  // namespace

bool halvesPlanes(const ImageModel& input, const ImageScales& scales) {
    const VoxelTypes type = input.getVoxelType();
    const auto isHalved = [](const LineScale& scale) {
        return scale.rule == LineRule::Area && scale.in == 2 * scale.out;
    };
    return (type == RIX_UINT8 || type == RIX_UINT16 || type == RIX_FLOAT32) &&
           input.getInterpretation() != RIX_BINARY && isHalved(scales[COLUMNS]) && isHalved(scales[ROWS]) &&
           scales[PLANS].rule == LineRule::Keep;
}

void halvePlanes(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, OptimLevelType level) {
    switch (input.getVoxelType()) {
        case RIX_UINT8: return halve<std::uint8_t>(context, input, output, level);
        case RIX_UINT16: return halve<std::uint16_t>(context, input, output, level);
        default: return halve<float>(context, input, output, level);
    }
}

}  // namespace rix::geometry
