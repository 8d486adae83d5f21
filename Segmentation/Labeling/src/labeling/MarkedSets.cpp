#include <rix/segmentation/MarkedSets.h>

#include <algorithm>
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

/// Calls `use(name, voxels)` for the pieces of the nodes of a row.
template <class Node, class Use>
void forEachPiece(const NodeRow<Node>& row, std::size_t words, const Use& use) {
    const bool isPair = row.top != row.bottom;
    auto name = static_cast<Node>(row.name - 1);
    bool continues = false;
    for (std::size_t i = 0; i < words; ++i) {
        const std::uint64_t covered = row.top[i] | row.bottom[i];
        for (std::uint64_t left = covered; left != 0;) {
            const int first = std::countr_zero(left);
            const int length = std::countr_one(left >> first);
            const std::uint64_t piece = ~std::uint64_t{0} >> (64 - length) << first;
            name = static_cast<Node>(name + (first == 0 && continues ? 0 : 1));
            use(name, std::popcount(row.top[i] & piece) + (isPair ? std::popcount(row.bottom[i] & piece) : 0));
            left &= ~piece;
        }
        continues = covered >> 63 != 0;
    }
}

template <class Node>
Node rootOf(const Node* entries, Node node) {
    while (entries[node] != node) {
        node = entries[node];
    }
    return node;
}

/// The sets of an image: what is known of each of them decides whether it is taken.
/// @tparam Known of a root; at first 0
template <class Node, class Known>
class SetsOfImage {
public:
    SetsOfImage(access::ExecutionContext& context, const MarkedSetsTask& task, const LabelGeometry& geometry,
                OptimLevelType level)
        : m_context(context), m_task(task), m_table(geometry, cutIntoBands(geometry, 0)), m_level(level) {
        packImage(context, m_table, task.image, level, task.ofZeros ? PackedVoxels::Zeros : PackedVoxels::NotZero);
        m_table.makeNodes(chooseNodeRows(m_table, {}));
        joinNodes(context, m_table, level);
        m_memory = access::Scratch(m_table.nodeCount() * sizeof(Known));
        forEachBand(
            [&](const auto& band) { std::fill_n(known() + m_table.firstNodeOf(band), band.nodeCount, Known{0}); });
    }

    const RunTable<Node>& table() const { return m_table; }

    /// Calls `use(band, knownOf, progress)` for each band: a step of the run. Sets reach across bands, so that several
    /// may change what is known at a time.
    template <class Use>
    void gather(const Use& use) {
        access::run(m_context, m_table.plan(), [&](const access::Block& block, access::BlockProgress& progress) {
            const auto& band = m_table.band(block.index);
            const Node* const entries = m_table.entries(band.volume);
            Known* const ofVolume = known() + (m_table.firstNodeOf(band) - band.firstNode);
            const auto knownOf = [&](Node node) {
                return std::atomic_ref(ofVolume[rootOf(entries, node) - firstNodeName<Node>]);
            };
            use(band, knownOf, progress);
        });
    }

    /// Writes where the taken sets are: a step of the run.
    template <class IsTaken>
    void paint(ImageModel& output, const IsTaken& isTaken) {
        forEachBand([&](const auto& band) {
            Node* const entries = m_table.entries(band.volume) + RunTable<Node>::nameOf(band.firstNode);
            const Known* const ofBand = known() + m_table.firstNodeOf(band);
            for (std::size_t node = 0; node < band.nodeCount; ++node) {
                if (entries[node] == RunTable<Node>::nameOf(band.firstNode + node)) {
                    entries[node] = isTaken(ofBand[node]) ? 1 : 0;
                }
            }
        });
        paintLabels<Node, std::uint8_t>(m_context, m_table, output, m_level, m_task.ofZeros ? 1 : 0);
    }

private:
    Known* known() { return m_memory.template as<Known>(); }

    template <class Use>
    void forEachBand(const Use& use) {
        access::forEachPart(m_context, m_table.bandCount(), m_table.nanosecondsPerBand(),
                            [&](std::size_t i) { use(m_table.band(i)); });
    }

    access::ExecutionContext& m_context;
    const MarkedSetsTask& m_task;
    RunTable<Node> m_table;
    OptimLevelType m_level;
    access::Scratch m_memory;
};

template <class Node>
void takeMarked(access::ExecutionContext& context, const MarkedSetsTask& task, const LabelGeometry& geometry,
                ImageModel& output, OptimLevelType level) {
    const access::Steps steps(context, {0.25, 0.3, 0.15, 0.3});
    SetsOfImage<Node, std::uint8_t> sets(context, task, geometry, level);
    const access::Plan lines = access::cutLines({task.marker != nullptr ? task.marker : &task.image}, 1.0);
    sets.gather([&](const auto& band, const auto& markOf, access::BlockProgress& progress) {
        Marks<Node> marks(task, sets.table(), lines, level);
        for (std::size_t plane = band.firstPlane; plane < band.lastPlane; ++plane) {
            for (std::size_t y = band.firstRow; y < band.lastRow; ++y) {
                marks.ofLine(band, plane, y, [&](Node node) { markOf(node).store(1, std::memory_order_relaxed); });
                progress.add(geometry.columns);
            }
        }
    });
    sets.paint(output, [&](std::uint8_t isMarked) { return (isMarked != 0) == task.takesMarked; });
}

template <class Node>
void takeLarge(access::ExecutionContext& context, const MarkedSetsTask& task, const LabelGeometry& geometry,
               std::size_t least, ImageModel& output, OptimLevelType level) {
    const access::Steps steps(context, {0.25, 0.3, 0.15, 0.3});
    SetsOfImage<Node, Node> sets(context, task, geometry, level);
    const RunTable<Node>& table = sets.table();
    sets.gather([&](const auto& band, const auto& voxelsOf, access::BlockProgress& progress) {
        for (std::size_t plane = band.firstPlane; plane < band.lastPlane; ++plane) {
            for (std::size_t y = band.firstRow; y < band.lastRow; y += table.rowStep()) {
                forEachPiece(table.row(band, plane, y / table.rowStep()), table.words(), [&](Node node, int voxels) {
                    voxelsOf(node).fetch_add(static_cast<Node>(voxels), std::memory_order_relaxed);
                });
                progress.add(std::min(table.rowStep(), band.lastRow - y) * geometry.columns);
            }
        }
    });
    sets.paint(output, [&](Node voxels) { return voxels >= least; });
}

/// Whether 32 bits hold the voxels of a volume.
bool hasFewVoxels(const LabelGeometry& geometry) {
    constexpr double most = 4294967295.0;
    return static_cast<double>(geometry.rows) * static_cast<double>(geometry.columns) *
               static_cast<double>(geometry.planes) <=
           most;
}

std::size_t memoryOf(const MarkedSetsTask& task, const LabelGeometry& geometry, std::size_t bytesOfSet,
                     std::size_t threads) {
    const std::size_t sets = geometry.lines() * (geometry.columns / 2 + 1);
    return labelingMemory(task.image, geometry.connectivity, threads, 1) + access::Scratch::held(sets * bytesOfSet);
}

}  // namespace

void takeMarkedSets(access::ExecutionContext& context, const MarkedSetsTask& task, ImageModel& output,
                    OptimLevelType level) {
    const LabelGeometry geometry = geometryOf(task.image, connectivityOf(task));
    if (fitsNarrowNodes(geometry)) {
        takeMarked<std::uint32_t>(context, task, geometry, output, level);
    } else {
        takeMarked<std::uint64_t>(context, task, geometry, output, level);
    }
}

std::size_t markedSetsMemory(const MarkedSetsTask& task, std::size_t threads) {
    const LabelGeometry geometry = geometryOf(task.image, connectivityOf(task));
    return memoryOf(task, geometry, 1, threads) + threads * 8 * access::Scratch::held(geometry.columns * 8);
}

void takeLargeSets(access::ExecutionContext& context, const MarkedSetsTask& task, std::size_t least, ImageModel& output,
                   OptimLevelType level) {
    const LabelGeometry geometry = geometryOf(task.image, connectivityOf(task));
    if (fitsNarrowNodes(geometry) && hasFewVoxels(geometry)) {
        takeLarge<std::uint32_t>(context, task, geometry, least, output, level);
    } else {
        takeLarge<std::uint64_t>(context, task, geometry, least, output, level);
    }
}

std::size_t largeSetsMemory(const MarkedSetsTask& task, std::size_t threads) {
    const LabelGeometry geometry = geometryOf(task.image, connectivityOf(task));
    const bool isNarrow = fitsNarrowNodes(geometry) && hasFewVoxels(geometry);
    return memoryOf(task, geometry, isNarrow ? sizeof(std::uint32_t) : sizeof(std::uint64_t), threads);
}

}  // namespace rix::segmentation
