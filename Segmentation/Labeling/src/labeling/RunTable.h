#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include <rix/access/MemoryAccount.h>
#include <rix/access/Scratch.h>

#include "labeling/LabelGeometry.h"

namespace rix::segmentation {

/// What the nodes of the union are: the runs of foreground of one row, or those of two rows taken together. The latter
/// are connected sets where corners touch, and far fewer.
enum class NodeRows : std::uint8_t { Single, Pairs };

/// A node is named by a number above every label, so that one array can hold both: parents while sets are joined,
/// labels afterwards.
template <class Node>
inline constexpr Node firstNodeName = Node{1} << (sizeof(Node) == 4 ? 31 : 40);

/// A row of nodes for the kernels: its pixels and the name of its first node.
template <class Node>
struct NodeRow {
    const std::uint64_t* top;
    const std::uint64_t* bottom;  ///< of a pair; the same as `top` for single rows
    Node name;
};

/// A run of foreground pixels of one line with the label of its set.
struct LabelledRun {
    std::size_t line;  ///< counted over all planes, sequence and spectral indices, in storage order
    std::size_t firstColumn;
    std::size_t lastColumn;  ///< the one after the last
    std::uint64_t label;
};

/// The foreground of an image as bits, its runs as nodes, and what is known of the sets they form.
///
/// Memory: one bit a pixel (rows padded to 64), one `Node` a row, one `Node` a node. Node numbers count within a
/// volume, in raster order.
template <class Node>
class RunTable {
public:
    /// A block of the plan, and what is known of it.
    struct Band {
        std::size_t volume = 0;
        std::size_t firstPlane = 0;  ///< counted over all volumes
        std::size_t lastPlane = 0;
        std::size_t firstRow = 0;  ///< even, so that pairs of rows are never cut
        std::size_t lastRow = 0;
        std::size_t runs = 0;       ///< nodes, were they single rows
        std::size_t pairRuns = 0;   ///< nodes, were they pairs
        std::size_t firstNode = 0;  ///< number of the band's first node in its volume
        std::size_t nodeCount = 0;
        std::size_t roots = 0;         ///< sets whose first node lies in the band
        std::uint64_t firstLabel = 0;  ///< the label before the band's first one
    };

    /// @param plan from `cutIntoBands`
    RunTable(const LabelGeometry& geometry, const access::Plan& plan)
        : m_geometry(geometry), m_plan(plan), m_bands(plan.blockCount()), m_volumeFirstNode(geometry.volumes + 1) {
        for (std::size_t i = 0; i < m_bands.size(); ++i) {
            const access::Block block = plan.block(i);
            Band& band = m_bands[i];
            band.volume = block.sequence();
            band.firstPlane = band.volume * geometry.planes + block.planes().begin;
            band.lastPlane = band.volume * geometry.planes + block.planes().end;
            band.firstRow = block.rows().begin;
            band.lastRow = block.rows().end;
        }
        m_words = geometry.words();
        m_bits = access::Scratch(byteCount(geometry.lines() + 1, m_words * sizeof(std::uint64_t)));
        m_firstOfRow = access::Scratch(byteCount(geometry.lines(), sizeof(Node)));
        // The last line stands for the missing second row of a pair.
        std::uint64_t* const none = bits(geometry.lines());
        for (std::size_t i = 0; i < m_words; ++i) {
            none[i] = 0;
        }
    }

    const LabelGeometry& geometry() const { return m_geometry; }
    std::size_t words() const { return m_words; }
    NodeRows nodeRows() const { return m_nodeRows; }
    /// Its blocks are the bands.
    const access::Plan& plan() const { return m_plan; }
    std::size_t bandCount() const { return m_bands.size(); }
    /// Rough cost of a phase that goes through the nodes of a band, for deciding whether threads pay.
    double nanosecondsPerBand() const {
        return 0.25 * static_cast<double>(m_plan.voxelCount()) / static_cast<double>(m_bands.size());
    }
    Band& band(std::size_t index) { return m_bands[index]; }
    const Band& band(std::size_t index) const { return m_bands[index]; }

    std::uint64_t* bits(std::size_t line) { return m_bits.template as<std::uint64_t>() + line * m_words; }
    const std::uint64_t* bits(std::size_t line) const { return m_bits.template as<std::uint64_t>() + line * m_words; }

    /// Decides what the nodes are, once every band knows its runs, and makes room for them.
    void makeNodes(NodeRows nodeRows);

    std::size_t nodeCount() const { return m_volumeFirstNode.back(); }
    /// The number of a band's first node, counted over all volumes.
    std::size_t firstNodeOf(const Band& band) const { return m_volumeFirstNode[band.volume] + band.firstNode; }

    /// Rows of a node row.
    std::size_t rowStep() const { return m_nodeRows == NodeRows::Pairs ? 2 : 1; }
    std::size_t nodeRowsOfPlane() const { return (m_geometry.rows + rowStep() - 1) / rowStep(); }
    /// The number of a node row's first node, counted from the band's first one.
    Node& firstOfRow(std::size_t plane, std::size_t nodeRow) {
        return m_firstOfRow.template as<Node>()[plane * nodeRowsOfPlane() + nodeRow];
    }
    Node firstOfRow(std::size_t plane, std::size_t nodeRow) const {
        return m_firstOfRow.template as<Node>()[plane * nodeRowsOfPlane() + nodeRow];
    }

    NodeRow<Node> row(const Band& band, std::size_t plane, std::size_t nodeRow) const {
        const std::size_t y = nodeRow * rowStep();
        const std::size_t line = plane * m_geometry.rows + y;
        const std::uint64_t* const top = bits(line);
        const std::uint64_t* const bottom =
            rowStep() == 1 ? top : bits(y + 1 < m_geometry.rows ? line + 1 : m_geometry.lines());
        return {top, bottom, static_cast<Node>(nameOf(band.firstNode) + firstOfRow(plane, nodeRow))};
    }

    /// The name after that of the last node of a row.
    Node endOfRow(const Band& band, std::size_t plane, std::size_t nodeRow) const {
        const std::size_t firstRow = band.firstRow / rowStep();
        const bool endsPlane = (nodeRow + 1) * rowStep() >= band.lastRow;
        const bool endsBand = endsPlane && plane + 1 == band.lastPlane;
        return endsBand ? nameOf(band.firstNode + band.nodeCount)
                        : row(band, endsPlane ? plane + 1 : plane, endsPlane ? firstRow : nodeRow + 1).name;
    }

    static Node nameOf(std::size_t number) { return static_cast<Node>(firstNodeName<Node> + number); }

    /// The entries of a volume's nodes, to be indexed by their names. An integer carries the offset, because the
    /// address itself lies before the array.
    Node* entries(std::size_t volume) {
        const auto first = reinterpret_cast<std::uintptr_t>(m_nodes.template as<Node>() + m_volumeFirstNode[volume]);
        return reinterpret_cast<Node*>(first - std::uintptr_t{firstNodeName<Node>} * sizeof(Node));
    }
    const Node* entries(std::size_t volume) const { return const_cast<RunTable*>(this)->entries(volume); }

    /// The longest row of nodes that the image can have.
    std::size_t longestRow() const { return m_geometry.columns / 2 + 1; }

    /// Calls `use(LabelledRun)` for the runs of the lines of a band, in raster order, once labels are final. For
    /// whoever measures objects without reading the label image.
    template <class F>
    void forEachRun(const Band& band, F&& use) const;

private:
    static std::size_t byteCount(std::size_t count, std::size_t size);

    LabelGeometry m_geometry;
    access::Plan m_plan;
    std::size_t m_words = 0;
    NodeRows m_nodeRows = NodeRows::Single;
    access::CountedVector<Band> m_bands;
    access::CountedVector<std::size_t> m_volumeFirstNode;
    access::Scratch m_bits;
    access::Scratch m_firstOfRow;
    access::Scratch m_nodes;
};

template <class Node>
template <class F>
void RunTable<Node>::forEachRun(const Band& band, F&& use) const {
    const Node* const labels = entries(band.volume);
    for (std::size_t plane = band.firstPlane; plane < band.lastPlane; ++plane) {
        for (std::size_t y = band.firstRow; y < band.lastRow; ++y) {
            const NodeRow<Node> nodes = row(band, plane, y / rowStep());
            const std::size_t line = plane * m_geometry.rows + y;
            Node name = static_cast<Node>(nodes.name - 1);  // of the last node that began before the word
            std::uint64_t pixelBefore = 0;
            std::uint64_t coveredBefore = 0;
            LabelledRun run{line, 0, 0, 0};
            bool inRun = false;
            for (std::size_t i = 0; i < m_words; ++i) {
                const std::uint64_t pixels = bits(line)[i];
                const std::uint64_t covered = nodes.top[i] | nodes.bottom[i];
                const std::uint64_t starts = covered & ~(covered << 1 | coveredBefore);
                // Pixels that differ from the one before them begin a run or end it.
                for (std::uint64_t edges = pixels ^ (pixels << 1 | pixelBefore); edges != 0; edges &= edges - 1) {
                    const std::size_t column = 64 * i + static_cast<std::size_t>(std::countr_zero(edges));
                    inRun = !inRun;
                    if (inRun) {
                        const std::uint64_t upTo = edges ^ (edges - 1);
                        run.firstColumn = column;
                        run.label = labels[name + static_cast<Node>(std::popcount(starts & upTo))];
                    } else {
                        run.lastColumn = column;
                        use(run);
                    }
                }
                name = static_cast<Node>(name + static_cast<Node>(std::popcount(starts)));
                pixelBefore = pixels >> 63;
                coveredBefore = covered >> 63;
            }
            if (inRun) {
                run.lastColumn = m_geometry.columns;
                use(run);
            }
        }
    }
}

extern template class RunTable<std::uint32_t>;
extern template class RunTable<std::uint64_t>;

}  // namespace rix::segmentation
