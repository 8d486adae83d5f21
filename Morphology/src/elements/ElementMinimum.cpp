#include "ElementMinimum.h"

#include <algorithm>

#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/access/VoxelTypeLists.h>

#include "BlockExtrema.h"
#include "PackedExtrema.h"

namespace rix::morphology {

namespace {

using access::Block;
using access::BlockProgress;
using access::Position;
using access::Scratch;

/// @param open makes what brings the results of a row, given by `take(T*)`, into a row of the output
template <class T, class Out, class Open>
void run(access::ExecutionContext& context, const Shared<T>& shared, ImageModel& output, const Open& open) {
    const access::Plan plan = planElement(shared.image, shared.element, sizeof(T));
    access::run(context, plan, [&](const Block& block, BlockProgress& progress) {
        BlockExtrema<T> extrema(shared, block);
        auto write = open(block.columns().length());
        const std::size_t count = block.columns().length();
        access::RowWriter<Out> writer(output);
        block.forEachRow([&](const Position& at) {
            Out* const out = writer.open({at, count});
            write(access::RowSegment{at, count}, out, [&](T* voxels) {
                extrema.results(at.row - block.rows().begin, at.plane - block.planes().begin, voxels);
            });
            writer.flush();
            progress.add(count);
        });
    });
}

}  // namespace

void takeExtrema(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const ElementJob& job,
                 Difference difference, const ImageModel* image, OptimLevelType level) {
    if (input.getInterpretation() == RIX_BINARY) {
        takePackedExtrema(context, input, output, job, difference, image, level);
        return;
    }
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const Shared<T> shared(input, job, level);
        if (difference == Difference::None) {
            run<T, T>(context, shared, output, [&](std::size_t /*count*/) {
                return [](const access::RowSegment& /*segment*/, T* out, const auto& take) { take(out); };
            });
            return;
        }
        const DifferenceRow<T> subtract = differenceRow<T>(level);
        const bool fromImage = difference == Difference::ImageLessResult;
        run<T, DifferenceOf<T>>(context, shared, output, [&](std::size_t count) {
            return [&, reader = access::RowReader<T>(*image), results = Scratch(count * sizeof(T))](
                       const access::RowSegment& segment, DifferenceOf<T>* out, const auto& take) mutable {
                T* const row = results.template as<T>();
                take(row);
                const T* const voxels = reader.read(segment);
                subtract(fromImage ? voxels : row, fromImage ? row : voxels, out, segment.count);
            };
        });
    });
}

Element neededOf(const Element& element, const ImageModel& input, ElementBorderPolicy border) {
    return border == ElementBorderPolicy::NEUTRAL ? element.within(input) : element;
}

std::size_t extremaBytes(const ImageModel& input, const Element& chosen, ElementBorderPolicy border,
                         bool takesDifference, std::size_t threads) {
    const Element element = neededOf(chosen, input, border);
    if (input.getInterpretation() == RIX_BINARY) {
        return packedExtremaBytes(input, element, takesDifference, threads);
    }
    const std::size_t keyBytes = helper::getSizeOf(input.getVoxelType());
    const access::Plan plan = planElement(input, element, keyBytes);
    const ElementBlock block =
        blockOf({plan.largestPart(COLUMNS), plan.largestPart(ROWS), plan.largestPart(PLANS)}, element, keyBytes);
    const std::size_t row = Scratch::held(block.extents[0] * keyBytes);
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    constexpr std::size_t slots = 4;  // rows on their way from and to images without addresses
    return atOnce * (Scratch::held(block.tableLength() * block.tables * keyBytes) + 2 * row +
                     (slots + (takesDifference ? 2 : 0)) * row);
}

VoxelTypes differenceTypeOf(VoxelTypes type) {
    VoxelTypes found = type;
    access::dispatch(access::Reals{}, type,
                     [&](auto tag) { found = access::voxelTypeOf<DifferenceOf<typename decltype(tag)::type>>; });
    return found;
}

}  // namespace rix::morphology
