#include "labeling/NumberPhase.h"

#include <algorithm>
#include <atomic>

#include <rix/access/Run.h>

#include "labeling/ContactKernels.h"
#include "labeling/CountKernels.h"
#include "labeling/NodeKernels.h"

namespace rix::segmentation {

template <class Node>
std::uint64_t countSets(RunTable<Node>& table) {
    std::uint64_t largest = 0;
    std::uint64_t inVolume = 0;
    for (std::size_t i = 0; i < table.bandCount(); ++i) {
        auto& band = table.band(i);
        if (i > 0 && band.volume != table.band(i - 1).volume) {
            inVolume = 0;
        }
        band.firstLabel = inVolume;
        inVolume += band.roots;
        largest = std::max(largest, inVolume);
    }
    return largest;
}

template <class Node>
void labelRoots(access::ExecutionContext& context, RunTable<Node>& table, OptimLevelType level) {
    const ContactKernels<Node>& kernels = contactKernels<Node>(level);
    const NodeKernels<Node>& nodes = nodeKernels<Node>(level);
    access::forEachPart(context, table.bandCount(), table.nanosecondsPerBand(), [&](std::size_t i) {
        const auto& band = table.band(i);
        Node* const entries = table.entries(band.volume);
        const Node first = RunTable<Node>::nameOf(band.firstNode);
        const auto end = static_cast<Node>(first + band.nodeCount);
        auto label = static_cast<Node>(band.firstLabel);
        if (table.nodeRows() == NodeRows::Single) {
            nodes.labelRoots(entries, first, end, label);
            return;
        }
        const std::size_t firstRow = band.firstRow / 2;
        const std::size_t lastRow = (band.lastRow + 1) / 2;
        for (std::size_t plane = band.firstPlane; plane < band.lastPlane; ++plane) {
            for (std::size_t row = firstRow; row < lastRow; ++row) {
                const bool last = plane + 1 == band.lastPlane && row + 1 == lastRow;
                const bool lastOfPlane = row + 1 == lastRow;
                const Node rowEnd =
                    last ? end
                         : table.row(band, lastOfPlane ? plane + 1 : plane, lastOfPlane ? firstRow : row + 1).name;
                const NodeRow<Node> nodeRow = table.row(band, plane, row);
                if (nodes.countRoots(entries, nodeRow.name, rowEnd) != 0) {
                    label = kernels.labelTopRoots(nodeRow, table.words(), entries, label);
                    label = nodes.labelRoots(entries, nodeRow.name, rowEnd, label);
                }
            }
        }
    });
}

namespace {

/// The lines that hold visited neighbours of a line, as far as they belong to its scan band.
template <class Node>
class Visited {
public:
    Visited(const RunTable<Node>& table, const ScanBands& scanBands)
        : m_table(table), m_scanBands(scanBands), m_none(table.bits(table.geometry().lines())) {}

    VisitedRows of(std::size_t plane, std::size_t row, std::size_t scanBand) const {
        const auto line = [&](int dz, int dy) { return bitsOf(plane, row, dz, dy, scanBand); };
        VisitedRows rows{m_table.bits(plane * m_table.geometry().rows + row),
                         {m_none, m_none, m_none},
                         {m_none, m_none, m_none, m_none}};
        switch (m_table.geometry().connectivity) {
            case Connectivity::Edges: rows.straight[0] = line(0, -1); break;
            case Connectivity::EdgesCorners: rows.oblique[0] = line(0, -1); break;
            case Connectivity::Faces:
                rows.straight[0] = line(0, -1);
                rows.straight[1] = line(-1, 0);
                break;
            case Connectivity::FacesEdges:
                rows.oblique[0] = line(0, -1);
                rows.oblique[1] = line(-1, 0);
                rows.straight[0] = line(-1, -1);
                rows.straight[1] = line(-1, 1);
                break;
            case Connectivity::FacesEdgesCorners:
                rows.oblique[0] = line(0, -1);
                rows.oblique[1] = line(-1, 0);
                rows.oblique[2] = line(-1, -1);
                rows.oblique[3] = line(-1, 1);
                break;
        }
        return rows;
    }

private:
    /// `plane` counts over all volumes; the row may lie outside the volume or the scan band: then there is nothing.
    const std::uint64_t* bitsOf(std::size_t plane, std::size_t row, int dz, int dy, std::size_t scanBand) const {
        const LabelGeometry& geometry = m_table.geometry();
        const std::size_t z = plane % geometry.planes;
        if ((dz < 0 && z == 0) || (dy < 0 && row == 0) || (dy > 0 && row + 1 >= geometry.rows)) {
            return m_none;
        }
        const std::size_t otherRow = dy < 0 ? row - 1 : row + static_cast<std::size_t>(dy);
        const std::size_t otherZ = dz < 0 ? z - 1 : z;
        const std::size_t index = m_scanBands.alongPlanes() ? otherZ : otherRow;
        if (index < m_scanBands.begin(scanBand) || index >= m_scanBands.end(scanBand)) {
            return m_none;
        }
        return m_table.bits((plane - z + otherZ) * geometry.rows + otherRow);
    }

    const RunTable<Node>& m_table;
    const ScanBands& m_scanBands;
    const std::uint64_t* m_none;
};

}  // namespace

template <class Node>
bool opensMoreLabelsThan(access::ExecutionContext& context, const RunTable<Node>& table, OptimLevelType level,
                         const ScanBands& scanBands, std::uint64_t most) {
    const LabelGeometry& geometry = table.geometry();
    // A band whose every other pixel opened a label would still fit.
    std::size_t largest = 0;
    for (std::size_t i = 0; i < scanBands.count(); ++i) {
        largest = std::max(largest, scanBands.voxels(geometry, i));
    }
    std::uint64_t mostRuns = 0;
    std::uint64_t runsOfVolume = 0;
    for (std::size_t i = 0; i < table.bandCount(); ++i) {
        runsOfVolume = i > 0 && table.band(i).volume == table.band(i - 1).volume ? runsOfVolume : 0;
        runsOfVolume += table.band(i).runs;
        mostRuns = std::max(mostRuns, runsOfVolume);
    }
    if (largest <= most || mostRuns <= most) {
        return false;
    }

    const CountKernels& kernels = countKernels(level);
    access::CountedVector<std::atomic<std::uint64_t>> counts(scanBands.count() * geometry.volumes);
    std::atomic<bool> exceeded{false};
    const Visited<Node> visited(table, scanBands);
    access::forEachPart(context, table.bandCount(), table.nanosecondsPerBand(), [&](std::size_t i) {
        const auto& band = table.band(i);
        for (std::size_t plane = band.firstPlane; plane < band.lastPlane && !exceeded; ++plane) {
            std::size_t row = band.firstRow;
            while (row < band.lastRow) {
                const std::size_t scanBand = scanBands.bandOf(scanBands.alongPlanes() ? plane % geometry.planes : row);
                const std::size_t end =
                    scanBands.alongPlanes() ? band.lastRow : std::min(band.lastRow, scanBands.end(scanBand));
                std::uint64_t count = 0;
                for (; row < end; ++row) {
                    count += kernels.openings(visited.of(plane, row, scanBand), table.words());
                }
                std::atomic<std::uint64_t>& sum = counts[band.volume * scanBands.count() + scanBand];
                if (sum.fetch_add(count, std::memory_order_relaxed) + count > most) {
                    exceeded = true;
                }
            }
        }
    });
    return exceeded;
}

template std::uint64_t countSets<std::uint32_t>(RunTable<std::uint32_t>&);
template std::uint64_t countSets<std::uint64_t>(RunTable<std::uint64_t>&);
template void labelRoots<std::uint32_t>(access::ExecutionContext&, RunTable<std::uint32_t>&, OptimLevelType);
template void labelRoots<std::uint64_t>(access::ExecutionContext&, RunTable<std::uint64_t>&, OptimLevelType);
template bool opensMoreLabelsThan<std::uint32_t>(access::ExecutionContext&, const RunTable<std::uint32_t>&,
                                                 OptimLevelType, const ScanBands&, std::uint64_t);
template bool opensMoreLabelsThan<std::uint64_t>(access::ExecutionContext&, const RunTable<std::uint64_t>&,
                                                 OptimLevelType, const ScanBands&, std::uint64_t);

}  // namespace rix::segmentation
