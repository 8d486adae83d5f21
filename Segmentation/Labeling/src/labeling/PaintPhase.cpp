#include "labeling/PaintPhase.h"

#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/StreamKernels.h>

#include "labeling/NodeKernels.h"
#include "labeling/PaintKernels.h"

namespace rix::segmentation {

namespace {

template <class T>
void turn(T* row, std::size_t columns, T bits) {
    for (std::size_t i = 0; i < columns; ++i) {
        row[i] ^= bits;
    }
}

}  // namespace

template <class Node, class T>
void paintLabels(access::ExecutionContext& context, RunTable<Node>& table, ImageModel& output, OptimLevelType level,
                 T turned) {
    using access::Stores;
    const LabelGeometry& geometry = table.geometry();
    const access::Plan lines = access::cutLines({&output}, 1.0);
    const Stores stores = turned != 0 ? Stores::Cached : access::chooseStores(lines.voxelCount(), sizeof(T));
    const PaintRow<T> paint = paintRow<T>(level, stores);
    const ResolveNodes<Node, T> resolve = resolveNodes<Node, T>(level);
    access::run(context, table.plan(), [&](const access::Block& block, access::BlockProgress& progress) {
        const auto& band = table.band(block.index);
        Node* const entries = table.entries(band.volume);
        const access::Scratch memory((table.longestRow() + 2 * labelPadding) * sizeof(T));
        T* const labels = memory.template as<T>() + labelPadding;
        access::RowWriter<T> writer(output, lines);
        const std::size_t step = table.rowStep();
        for (std::size_t plane = band.firstPlane; plane < band.lastPlane; ++plane) {
            for (std::size_t y = band.firstRow; y < band.lastRow; y += step) {
                const NodeRow<Node> row = table.row(band, plane, y / step);
                resolve(entries, row.name, table.endOfRow(band, plane, y / step), labels);
                for (std::size_t part = 0; part < step && y + part < band.lastRow; ++part) {
                    T* const out = writer.open(lines.lineAt(plane * geometry.rows + y + part));
                    paint({part == 0 ? row.top : row.bottom, row.top, row.bottom}, labels, out, geometry.columns);
                    if (turned != 0) {
                        turn(out, geometry.columns, turned);
                    }
                    writer.flush();
                    progress.add(geometry.columns);
                }
            }
        }
        if (stores == Stores::Streaming) {
            access::finishStreaming();
        }
    });
}

template void paintLabels(access::ExecutionContext&, RunTable<std::uint32_t>&, ImageModel&, OptimLevelType,
                          std::uint8_t);
template void paintLabels(access::ExecutionContext&, RunTable<std::uint32_t>&, ImageModel&, OptimLevelType,
                          std::uint16_t);
template void paintLabels(access::ExecutionContext&, RunTable<std::uint32_t>&, ImageModel&, OptimLevelType,
                          std::uint32_t);
template void paintLabels(access::ExecutionContext&, RunTable<std::uint64_t>&, ImageModel&, OptimLevelType,
                          std::uint8_t);
template void paintLabels(access::ExecutionContext&, RunTable<std::uint64_t>&, ImageModel&, OptimLevelType,
                          std::uint16_t);
template void paintLabels(access::ExecutionContext&, RunTable<std::uint64_t>&, ImageModel&, OptimLevelType,
                          std::uint32_t);

}  // namespace rix::segmentation
