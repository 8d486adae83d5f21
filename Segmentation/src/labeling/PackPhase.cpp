#include "labeling/PackPhase.h"

#include <rix/access/Rows.h>

#include "labeling/LinePosition.h"
#include "labeling/PackKernels.h"

namespace rix::segmentation {

namespace {

using ObjectTypes = access::TypeList<std::uint8_t, std::uint16_t, std::uint32_t, std::int8_t, std::int16_t>;

/// Lines packed between two looks at a request to cancel.
constexpr std::size_t voxelsBetweenLooks = std::size_t{1} << 20;

template <class Node, class T>
void packBands(const BandLoop& loop, RunTable<Node>& table, const ImageModel& input, OptimLevelType level,
               double workOfVoxel) {
    const LabelGeometry& geometry = table.geometry();
    const access::PointPlan plan({&input}, 1.0);
    const LinePosition position(input, plan);
    const PackRow<T> pack = packRow<T>(level);
    const CountKernels& counts = countKernels(level);
    const std::size_t words = table.words();
    const std::uint64_t* const none = table.bits(geometry.lines());
    // Two rows together are one connected set wherever corners touch.
    const bool countsPairs =
        geometry.connectivity != Connectivity::Edges && geometry.connectivity != Connectivity::Faces;
    loop.forEach(table.bandCount(), [&](std::size_t i) {
        auto& band = table.band(i);
        access::RowReader<T> reader(input, plan);
        std::size_t voxelsPacked = 0;
        for (std::size_t plane = band.firstPlane; plane < band.lastPlane; ++plane) {
            for (std::size_t y = band.firstRow; y < band.lastRow; ++y) {
                const std::size_t line = plane * geometry.rows + y;
                std::uint64_t* const bits = table.bits(line);
                pack(reader.read(position.of(line)), geometry.columns, bits);
                table.firstOfRow(plane, y) = static_cast<Node>(band.runs);
                band.runs += counts.runs(bits, words);
                if (countsPairs && (y % 2 == 1 || y + 1 == band.lastRow)) {
                    band.pairRuns += counts.pairRuns(bits, y % 2 == 1 ? table.bits(line - 1) : none, words);
                }
                voxelsPacked += geometry.columns;
                if (voxelsPacked >= voxelsBetweenLooks) {
                    voxelsPacked = 0;
                    loop.context().throwIfCancelled();
                }
            }
        }
        loop.context().blockDone(workOfVoxel * static_cast<double>(band.lineCount() * geometry.columns));
    });
}

}  // namespace

bool isObjectType(VoxelTypes type) {
    return access::contains(ObjectTypes{}, type);
}

template <class Node>
void packImage(const BandLoop& loop, RunTable<Node>& table, const ImageModel& input, OptimLevelType level,
               double workOfVoxel) {
    access::dispatch(ObjectTypes{}, input.getVoxelType(), [&](auto tag) {
        packBands<Node, typename decltype(tag)::type>(loop, table, input, level, workOfVoxel);
    });
}

template void packImage<std::uint32_t>(const BandLoop&, RunTable<std::uint32_t>&, const ImageModel&, OptimLevelType,
                                       double);
template void packImage<std::uint64_t>(const BandLoop&, RunTable<std::uint64_t>&, const ImageModel&, OptimLevelType,
                                       double);

}  // namespace rix::segmentation
