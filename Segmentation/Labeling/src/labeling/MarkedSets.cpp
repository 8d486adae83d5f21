#include <rix/segmentation/MarkedSets.h>

#include <atomic>
#include <bit>

#include <rix/access/PackedRows.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/access/Steps.h>

#include "labeling/LabelingBody.h"
#include "labeling/PackPhase.h"
#include "labeling/PaintPhase.h"
#include "labeling/UnionPhase.h"

namespace rix::segmentation {

namespace {

Connectivity connectivityOf(const MarkedSetsTask& task) {
    if (task.axes == 2) {
        return task.farthest == 1 ? Connectivity::Edges : Connectivity::EdgesCorners;
    }
    return task.farthest == 1   ? Connectivity::Faces
           : task.farthest == 2 ? Connectivity::FacesEdges
                                : Connectivity::FacesEdgesCorners;
}

/// Calls `use(name)` for the nodes of a row that marks meet, some more than once.
template <class Node, class Use>
void forEachMarked(const NodeRow<Node>& row, const std::uint64_t* marks, std::size_t words, const Use& use) {
    auto name = static_cast<Node>(row.name - 1);  // of the last node that began before the word
    std::uint64_t coveredBefore = 0;
    for (std::size_t i = 0; i < words; ++i) {
        const std::uint64_t covered = row.top[i] | row.bottom[i];
        const std::uint64_t starts = covered & ~(covered << 1 | coveredBefore);
        // The first of neighbouring marks stands for all of them: they meet the same node.
        for (std::uint64_t left = marks[i] & ~(marks[i] << 1); left != 0; left &= left - 1) {
            const std::uint64_t upTo = left ^ (left - 1);
            use(static_cast<Node>(name + static_cast<Node>(std::popcount(starts & upTo))));
        }
        name = static_cast<Node>(name + static_cast<Node>(std::popcount(starts)));
        coveredBefore = covered >> 63;
    }
}

/// Finds the nodes of a band that are marked, some more than once.
template <class Node>
class Marks {
public:
    Marks(const MarkedSetsTask& task, const RunTable<Node>& table, const access::Plan& lines, OptimLevelType level)
        : m_task(task),
          m_table(table),
          m_lines(lines),
          m_reader(task.marker != nullptr ? *task.marker : task.image, lines),
          m_pack(access::packRow<std::uint8_t>(level)),
          m_words(table.words() * sizeof(std::uint64_t)) {}

    template <class Use>
    void ofLine(const typename RunTable<Node>::Band& band, std::size_t plane, std::size_t y, const Use& use) {
        const LabelGeometry& geometry = m_table.geometry();
        const std::size_t nodeRow = y / m_table.rowStep();
        const std::size_t line = plane * geometry.rows + y;
        const NodeRow<Node> row = m_table.row(band, plane, nodeRow);
        const std::uint64_t* const set = m_table.bits(line);
        if (m_task.marker != nullptr) {
            auto* const marks = m_words.as<std::uint64_t>();
            m_pack(m_reader.read(m_lines.lineAt(line)), geometry.columns, marks);
            for (std::size_t i = 0; i < m_table.words(); ++i) {
                marks[i] = set[i] & (m_task.ofZeros ? ~marks[i] : marks[i]);
            }
            forEachMarked(row, marks, m_table.words(), use);
            return;
        }
        const std::size_t planeInVolume = plane % geometry.planes;
        if (y == 0 || y + 1 == geometry.rows ||
            (m_task.axes == 3 && (planeInVolume == 0 || planeInVolume + 1 == geometry.planes))) {
            forEachMarked(row, set, m_table.words(), use);
            return;
        }
        if ((set[0] & 1U) != 0) {
            use(row.name);
        }
        if ((set[m_table.words() - 1] >> (geometry.columns - 1) % 64 & 1U) != 0) {
            use(static_cast<Node>(m_table.endOfRow(band, plane, nodeRow) - 1));
        }
    }

private:
    const MarkedSetsTask& m_task;
    const RunTable<Node>& m_table;
    const access::Plan& m_lines;
    access::RowReader<std::uint8_t> m_reader;
    access::PackRow<std::uint8_t> m_pack;
    access::Scratch m_words;
};

template <class Node>
Node rootOf(const Node* entries, Node node) {
    while (entries[node] != node) {
        node = entries[node];
    }
    return node;
}

template <class Node>
void takeWith(access::ExecutionContext& context, const MarkedSetsTask& task, const LabelGeometry& geometry,
              ImageModel& output, OptimLevelType level) {
    RunTable<Node> table(geometry, cutIntoBands(geometry, 0));
    const access::Steps steps(context, {0.25, 0.3, 0.15, 0.3});
    packImage(context, table, task.image, level, task.ofZeros ? PackedVoxels::Zeros : PackedVoxels::NotZero);
    table.makeNodes(chooseNodeRows(table, {}));
    joinNodes(context, table, level);

    // Of each root whether its set is marked; sets reach across bands.
    const access::Scratch flagMemory(table.nodeCount());
    auto* const flags = flagMemory.template as<std::uint8_t>();
    access::forEachPart(context, table.bandCount(), table.nanosecondsPerBand(), [&](std::size_t i) {
        std::fill_n(flags + table.firstNodeOf(table.band(i)), table.band(i).nodeCount, std::uint8_t{0});
    });
    const access::Plan lines = access::cutLines({task.marker != nullptr ? task.marker : &task.image}, 1.0);
    access::run(context, table.plan(), [&](const access::Block& block, access::BlockProgress& progress) {
        const auto& band = table.band(block.index);
        const Node* const entries = table.entries(band.volume);
        std::uint8_t* const ofVolume = flags + (table.firstNodeOf(band) - band.firstNode);
        Marks<Node> marks(task, table, lines, level);
        for (std::size_t plane = band.firstPlane; plane < band.lastPlane; ++plane) {
            for (std::size_t y = band.firstRow; y < band.lastRow; ++y) {
                marks.ofLine(band, plane, y, [&](Node node) {
                    const Node number = rootOf(entries, node) - firstNodeName<Node>;
                    // Several bands may mark a set of theirs at a time.
                    std::atomic_ref(ofVolume[number]).store(1, std::memory_order_relaxed);
                });
                progress.add(geometry.columns);
            }
        }
    });
    const Node labels[] = {task.takesMarked ? Node{0} : Node{1}, task.takesMarked ? Node{1} : Node{0}};
    access::forEachPart(context, table.bandCount(), table.nanosecondsPerBand(), [&](std::size_t i) {
        const auto& band = table.band(i);
        Node* const entries = table.entries(band.volume) + RunTable<Node>::nameOf(band.firstNode);
        const std::uint8_t* const ofBand = flags + table.firstNodeOf(band);
        for (std::size_t node = 0; node < band.nodeCount; ++node) {
            if (entries[node] == RunTable<Node>::nameOf(band.firstNode + node)) {
                entries[node] = labels[ofBand[node]];
            }
        }
    });
    paintLabels<Node, std::uint8_t>(context, table, output, level, task.ofZeros ? 1 : 0);
}

}  // namespace

void takeMarkedSets(access::ExecutionContext& context, const MarkedSetsTask& task, ImageModel& output,
                    OptimLevelType level) {
    const LabelGeometry geometry = geometryOf(task.image, connectivityOf(task));
    if (fitsNarrowNodes(geometry)) {
        takeWith<std::uint32_t>(context, task, geometry, output, level);
    } else {
        takeWith<std::uint64_t>(context, task, geometry, output, level);
    }
}

std::size_t markedSetsMemory(const MarkedSetsTask& task, std::size_t threads) {
    const LabelGeometry geometry = geometryOf(task.image, connectivityOf(task));
    const std::size_t flags = geometry.lines() * (geometry.columns / 2 + 1);
    const std::size_t rows = threads * 8 * access::Scratch::held(geometry.columns * 8);
    return labelingMemory(task.image, geometry.connectivity, threads, 1) + access::Scratch::held(flags) + rows;
}

}  // namespace rix::segmentation
