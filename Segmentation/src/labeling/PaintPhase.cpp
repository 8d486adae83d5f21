#include "labeling/PaintPhase.h"

#include <algorithm>

#include <rix/access/Rows.h>
#include <rix/devices/Cpu.h>

#include "labeling/LinePosition.h"
#include "labeling/NodeKernels.h"
#include "labeling/PaintKernels.h"

namespace rix::segmentation {

namespace {

/// Rows of nodes with this many voxels are painted between two looks at a request to cancel.
constexpr std::size_t voxelsBetweenLooks = std::size_t{1} << 20;

/// Streaming saves reading the output before it is written, but whoever reads the labels next finds them in no cache. A
/// cache that many cores share is not a run's own: measured with one of 480 MiB, labels of 48 MiB in all are
/// written 1.3 times as fast past it, of 80 MiB 1.7 times, of 20 MiB alike.
template <class T>
bool choosesStreaming(const LabelGeometry& geometry) {
    constexpr std::size_t shareOfCache = std::size_t{32} << 20;
    const std::size_t cache = std::min(devices::Cpu::lastLevelCache(), shareOfCache);
    const std::size_t bytesOfVoxel = 1 + sizeof(T);
    return geometry.lines() > cache / bytesOfVoxel / std::max<std::size_t>(geometry.columns, 1);
}

}  // namespace

template <class Node, class T>
void paintLabels(const BandLoop& loop, RunTable<Node>& table, ImageModel& output, OptimLevelType level,
                 double workOfVoxel) {
    const LabelGeometry& geometry = table.geometry();
    const access::PointPlan plan({&output}, 1.0);
    const LinePosition position(output, plan);
    const Stores stores = choosesStreaming<T>(geometry) ? Stores::Streaming : Stores::Cached;
    const PaintRow<T> paint = paintRow<T>(level, stores);
    const ResolveNodes<Node, T> resolve = resolveNodes<Node, T>(level);
    loop.forEach(table.bandCount(), [&](std::size_t i) {
        const auto& band = table.band(i);
        Node* const entries = table.entries(band.volume);
        const access::Scratch memory((table.longestRow() + 2 * labelPadding) * sizeof(T));
        T* const labels = memory.template as<T>() + labelPadding;
        access::RowWriter<T> writer(output, plan);
        const std::size_t step = table.rowStep();
        const Node bandEnd = RunTable<Node>::nameOf(band.firstNode + band.nodeCount);
        std::size_t voxelsPainted = 0;
        for (std::size_t plane = band.firstPlane; plane < band.lastPlane; ++plane) {
            for (std::size_t y = band.firstRow; y < band.lastRow; y += step) {
                const NodeRow<Node> row = table.row(band, plane, y / step);
                const bool endsPlane = y + step >= band.lastRow;
                const bool endsBand = endsPlane && plane + 1 == band.lastPlane;
                const Node end =
                    endsBand
                        ? bandEnd
                        : table.row(band, endsPlane ? plane + 1 : plane, (endsPlane ? band.firstRow : y + step) / step)
                              .name;
                resolve(entries, row.name, end, labels);
                for (std::size_t part = 0; part < step && y + part < band.lastRow; ++part) {
                    const access::RowSegment segment = position.of(plane * geometry.rows + y + part);
                    T* const out = writer.open(segment);
                    paint({part == 0 ? row.top : row.bottom, row.top, row.bottom}, labels, out, geometry.columns);
                    writer.flush();
                    voxelsPainted += geometry.columns;
                }
                if (voxelsPainted >= voxelsBetweenLooks) {
                    voxelsPainted = 0;
                    loop.context().throwIfCancelled();
                }
            }
        }
        if (stores == Stores::Streaming) {
            finishStreaming();
        }
        loop.context().blockDone(workOfVoxel * static_cast<double>(band.lineCount() * geometry.columns));
    });
}

template void paintLabels<std::uint32_t, std::uint8_t>(const BandLoop&, RunTable<std::uint32_t>&, ImageModel&,
                                                       OptimLevelType, double);
template void paintLabels<std::uint32_t, std::uint16_t>(const BandLoop&, RunTable<std::uint32_t>&, ImageModel&,
                                                        OptimLevelType, double);
template void paintLabels<std::uint32_t, std::uint32_t>(const BandLoop&, RunTable<std::uint32_t>&, ImageModel&,
                                                        OptimLevelType, double);
template void paintLabels<std::uint64_t, std::uint8_t>(const BandLoop&, RunTable<std::uint64_t>&, ImageModel&,
                                                       OptimLevelType, double);
template void paintLabels<std::uint64_t, std::uint16_t>(const BandLoop&, RunTable<std::uint64_t>&, ImageModel&,
                                                        OptimLevelType, double);
template void paintLabels<std::uint64_t, std::uint32_t>(const BandLoop&, RunTable<std::uint64_t>&, ImageModel&,
                                                        OptimLevelType, double);

}  // namespace rix::segmentation
