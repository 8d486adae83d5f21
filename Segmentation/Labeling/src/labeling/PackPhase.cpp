#include "labeling/PackPhase.h"

#include <rix/access/PackedRows.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>

#include "labeling/CountKernels.h"

namespace rix::segmentation {

namespace {

using ObjectTypes = access::TypeList<std::uint8_t, std::uint16_t, std::uint32_t, std::int8_t, std::int16_t>;

/// The bits after the last pixel stay 0.
void complement(std::uint64_t* bits, std::size_t columns) {
    const std::size_t words = access::wordsOf(columns);
    for (std::size_t i = 0; i < words; ++i) {
        bits[i] = ~bits[i];
    }
    if (columns % 64 != 0) {
        bits[words - 1] &= (std::uint64_t{1} << columns % 64) - 1;
    }
}

template <class Node, class T>
void packBands(access::ExecutionContext& context, RunTable<Node>& table, const ImageModel& input, OptimLevelType level,
               PackedVoxels voxels) {
    const LabelGeometry& geometry = table.geometry();
    const access::Plan lines = access::cutLines({&input}, 1.0);
    const access::PackRow<T> pack = access::packRow<T>(level);
    const CountKernels& counts = countKernels(level);
    const std::size_t words = table.words();
    const std::uint64_t* const none = table.bits(geometry.lines());
    // Two rows together are one connected set wherever corners touch.
    const bool countsPairs =
        geometry.connectivity != Connectivity::Edges && geometry.connectivity != Connectivity::Faces;
    access::run(context, table.plan(), [&](const access::Block& block, access::BlockProgress& progress) {
        auto& band = table.band(block.index);
        access::RowReader<T> reader(input, lines, access::BinarySamples::AsStored);
        for (std::size_t plane = band.firstPlane; plane < band.lastPlane; ++plane) {
            for (std::size_t y = band.firstRow; y < band.lastRow; ++y) {
                const std::size_t line = plane * geometry.rows + y;
                std::uint64_t* const bits = table.bits(line);
                pack(reader.read(lines.lineAt(line)), geometry.columns, bits);
                if (voxels == PackedVoxels::Zeros) {
                    complement(bits, geometry.columns);
                }
                table.firstOfRow(plane, y) = static_cast<Node>(band.runs);
                band.runs += counts.runs(bits, words);
                if (countsPairs && (y % 2 == 1 || y + 1 == band.lastRow)) {
                    band.pairRuns += counts.pairRuns(bits, y % 2 == 1 ? table.bits(line - 1) : none, words);
                }
                progress.add(geometry.columns);
            }
        }
    });
}

}  // namespace

bool isObjectType(VoxelTypes type) {
    return access::contains(ObjectTypes{}, type);
}

template <class Node>
void packImage(access::ExecutionContext& context, RunTable<Node>& table, const ImageModel& input, OptimLevelType level,
               PackedVoxels voxels) {
    const VoxelTypes type = isObjectType(input.getVoxelType()) ? input.getVoxelType() : RIX_UINT8;
    access::dispatch(ObjectTypes{}, type, [&](auto tag) {
        packBands<Node, typename decltype(tag)::type>(context, table, input, level, voxels);
    });
}

template void packImage<std::uint32_t>(access::ExecutionContext&, RunTable<std::uint32_t>&, const ImageModel&,
                                       OptimLevelType, PackedVoxels);
template void packImage<std::uint64_t>(access::ExecutionContext&, RunTable<std::uint64_t>&, const ImageModel&,
                                       OptimLevelType, PackedVoxels);

}  // namespace rix::segmentation
