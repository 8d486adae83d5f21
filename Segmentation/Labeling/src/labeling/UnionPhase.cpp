#include "labeling/UnionPhase.h"

#include <algorithm>
#include <span>
#include <vector>

#include <rix/access/Run.h>

#include "labeling/ContactKernels.h"
#include "labeling/CountKernels.h"
#include "labeling/NodeKernels.h"

namespace rix::segmentation {

namespace {

/// A row of nodes that comes before another and may touch it.
struct EarlierRow {
    int plane;  ///< relative to the later row
    int row;
    Contact contact;
};

std::span<const EarlierRow> earlierRows(Connectivity connectivity, NodeRows nodeRows) {
    using C = Contact;
    static constexpr EarlierRow edges[] = {{0, -1, C::Straight}};
    static constexpr EarlierRow corners[] = {{0, -1, C::Oblique}};
    static constexpr EarlierRow cornersPairs[] = {{0, -1, C::AboveOblique}};
    static constexpr EarlierRow faces3d[] = {{0, -1, C::Straight}, {-1, 0, C::Straight}};
    static constexpr EarlierRow edges3d[] = {
        {0, -1, C::Oblique}, {-1, 0, C::Oblique}, {-1, -1, C::Straight}, {-1, 1, C::Straight}};
    static constexpr EarlierRow edges3dPairs[] = {
        {0, -1, C::AboveOblique}, {-1, 0, C::BesideEdges}, {-1, -1, C::AboveStraight}, {-1, 1, C::BelowStraight}};
    static constexpr EarlierRow corners3d[] = {
        {0, -1, C::Oblique}, {-1, 0, C::Oblique}, {-1, -1, C::Oblique}, {-1, 1, C::Oblique}};
    static constexpr EarlierRow corners3dPairs[] = {
        {0, -1, C::AboveOblique}, {-1, 0, C::Oblique}, {-1, -1, C::AboveOblique}, {-1, 1, C::BelowOblique}};
    const bool pairs = nodeRows == NodeRows::Pairs;
    switch (connectivity) {
        case Connectivity::Edges: return edges;
        case Connectivity::EdgesCorners: return pairs ? std::span<const EarlierRow>(cornersPairs) : corners;
        case Connectivity::Faces: return faces3d;
        case Connectivity::FacesEdges: return pairs ? std::span<const EarlierRow>(edges3dPairs) : edges3d;
        case Connectivity::FacesEdgesCorners: break;
    }
    return pairs ? std::span<const EarlierRow>(corners3dPairs) : corners3d;
}

/// The rows of nodes of a band, and the rows before them.
template <class Node>
class BandRows {
public:
    BandRows(const RunTable<Node>& table, std::size_t bandIndex)
        : m_table(table),
          m_band(table.band(bandIndex)),
          m_firstRow(m_band.firstRow / table.rowStep()),
          m_lastRow((m_band.lastRow + table.rowStep() - 1) / table.rowStep()) {}

    std::size_t firstRow() const { return m_firstRow; }
    std::size_t lastRow() const { return m_lastRow; }

    /// Whether the earlier row exists in the volume.
    bool exists(std::size_t plane, std::size_t row, const EarlierRow& earlier) const {
        const std::size_t planeInVolume = plane % m_table.geometry().planes;
        return (earlier.plane == 0 || planeInVolume > 0) && (earlier.row >= 0 || row > 0) &&
               (earlier.row <= 0 || row + 1 < m_table.nodeRowsOfPlane());
    }
    /// Whether an earlier row that exists belongs to the band itself.
    bool isInside(std::size_t plane, std::size_t row, const EarlierRow& earlier) const {
        return (earlier.plane == 0 || plane > m_band.firstPlane) && (earlier.row >= 0 || row > m_firstRow);
    }

private:
    const RunTable<Node>& m_table;
    const typename RunTable<Node>::Band& m_band;
    std::size_t m_firstRow;
    std::size_t m_lastRow;
};

std::size_t shifted(std::size_t index, int by) {
    return by < 0 ? index - 1 : index + static_cast<std::size_t>(by);
}

/// The numbers of the first nodes of rows were noted for single rows when the rows were packed.
template <class Node>
void numberPairRows(RunTable<Node>& table, std::size_t bandIndex, const CountKernels& counts) {
    const auto& band = table.band(bandIndex);
    const BandRows<Node> rows(table, bandIndex);
    std::size_t number = 0;
    for (std::size_t plane = band.firstPlane; plane < band.lastPlane; ++plane) {
        for (std::size_t row = rows.firstRow(); row < rows.lastRow(); ++row) {
            table.firstOfRow(plane, row) = static_cast<Node>(number);
            const NodeRow<Node> nodes = table.row(band, plane, row);
            number += counts.pairRuns(nodes.top, nodes.bottom, table.words());
        }
    }
}

template <class Node>
void joinInsideBand(access::BlockProgress& progress, RunTable<Node>& table, std::size_t bandIndex,
                    OptimLevelType level) {
    const ContactKernels<Node>& kernels = contactKernels<Node>(level);
    auto& band = table.band(bandIndex);
    const BandRows<Node> rows(table, bandIndex);
    const auto earlierRowsOf = earlierRows(table.geometry().connectivity, table.nodeRows());
    Node* const entries = table.entries(band.volume);
    const Node first = RunTable<Node>::nameOf(band.firstNode);
    const auto end = static_cast<Node>(first + band.nodeCount);
    for (Node node = first; node != end; ++node) {
        entries[node] = node;
    }
    for (std::size_t plane = band.firstPlane; plane < band.lastPlane; ++plane) {
        for (std::size_t row = rows.firstRow(); row < rows.lastRow(); ++row) {
            const NodeRow<Node> later = table.row(band, plane, row);
            bool fresh = true;
            for (const EarlierRow& step : earlierRowsOf) {
                if (rows.exists(plane, row, step) && rows.isInside(plane, row, step)) {
                    const NodeRow<Node> earlier = table.row(band, shifted(plane, step.plane), shifted(row, step.row));
                    const auto& join = fresh ? kernels.joinFresh : kernels.join;
                    join[static_cast<std::size_t>(step.contact)](earlier, later, table.words(), entries);
                    fresh = false;
                }
            }
            progress.add(table.rowStep() * table.geometry().columns);
        }
    }
    band.roots = nodeKernels<Node>(level).countRoots(entries, first, end);  // while they are in the cache
}

/// Joins sets across the seam before a band. Only roots of bands get a parent in another band; they are kept in the
/// order in which that happened.
template <class Node>
class Seam {
public:
    /// @param reach the number of bands to either side that are joined by then, where there are so many
    Seam(RunTable<Node>& table, std::size_t bandIndex, std::size_t reach)
        : m_table(table), m_bandIndex(bandIndex), m_reach(reach) {}

    void join(const ContactKernels<Node>& kernels) {
        const auto& band = m_table.band(m_bandIndex);
        const auto& before = m_table.band(m_bandIndex - 1);
        const BandRows<Node> rows(m_table, m_bandIndex);
        const auto earlierRowsOf = earlierRows(m_table.geometry().connectivity, m_table.nodeRows());
        Node* const entries = m_table.entries(band.volume);
        const Node beforeName = RunTable<Node>::nameOf(before.firstNode);
        const Node bandName = RunTable<Node>::nameOf(band.firstNode);
        const access::Scratch pairMemory(2 * m_table.longestRow() * sizeof(NodePair<Node>));
        auto* const pairs = pairMemory.template as<NodePair<Node>>();
        const bool byPlanes = m_table.geometry().planes > 1;
        const std::size_t lastRow = byPlanes ? rows.lastRow() : rows.firstRow() + 1;
        for (std::size_t row = rows.firstRow(); row < lastRow; ++row) {
            const NodeRow<Node> later = m_table.row(band, band.firstPlane, row);
            for (const EarlierRow& step : earlierRowsOf) {
                if (!rows.exists(band.firstPlane, row, step) || rows.isInside(band.firstPlane, row, step)) {
                    continue;
                }
                const NodeRow<Node> earlier =
                    m_table.row(before, shifted(band.firstPlane, step.plane), shifted(row, step.row));
                const std::size_t count =
                    kernels.list[static_cast<std::size_t>(step.contact)](earlier, later, m_table.words(), pairs);
                for (std::size_t i = 0; i < count; ++i) {
                    joinSets(entries, rootOfBand(entries, pairs[i].earlier, beforeName),
                             rootOfBand(entries, pairs[i].later, bandName));
                }
            }
        }
    }

    /// Makes the roots that got a parent point to the roots of their whole sets, provided that the seams that were
    /// joined later did so before: the parent of a root was joined later than the root itself, or never.
    void resolve() {
        Node* const entries = m_table.entries(m_table.band(m_bandIndex).volume);
        for (auto root = m_joined.rbegin(); root != m_joined.rend(); ++root) {
            entries[*root] = entries[entries[*root]];
            --bandOf(*root).roots;
        }
    }

private:
    /// Follows the parents of a node inside its band, whose first node is given, and shortens the path.
    static Node rootOfBand(Node* entries, Node node, Node firstOfBand) {
        Node root = node;
        while (entries[root] != root && entries[root] >= firstOfBand) {
            root = entries[root];
        }
        while (node != root) {
            const Node parent = entries[node];
            entries[node] = root;
            node = parent;
        }
        return root;
    }

    static Node rootOfSet(Node* entries, Node rootOfBand) {
        Node root = rootOfBand;
        while (entries[root] != root) {
            root = entries[root];
        }
        // Every node on the way is one of those that got a parent.
        for (Node node = rootOfBand; node != root;) {
            const Node parent = entries[node];
            entries[node] = root;
            node = parent;
        }
        return root;
    }

    void joinSets(Node* entries, Node a, Node b) {
        a = rootOfSet(entries, a);
        b = rootOfSet(entries, b);
        if (a == b) {
            return;
        }
        const Node larger = a > b ? a : b;
        entries[larger] = a > b ? b : a;
        m_joined.push_back(larger);
    }

    /// The band of a node among those that the seam joins.
    auto& bandOf(Node node) {
        std::size_t index = m_bandIndex;
        if (node < RunTable<Node>::nameOf(m_table.band(index).firstNode)) {
            // Of the bands before, the last one that begins at the node or before it.
            std::size_t first = m_bandIndex - m_reach;
            for (std::size_t last = m_bandIndex - 1; first < last;) {
                const std::size_t middle = last - (last - first) / 2;
                const bool isBefore = node < RunTable<Node>::nameOf(m_table.band(middle).firstNode);
                first = isBefore ? first : middle;
                last = isBefore ? middle - 1 : last;
            }
            index = first;
        } else {
            while (node >= RunTable<Node>::nameOf(m_table.band(index).firstNode + m_table.band(index).nodeCount)) {
                ++index;
            }
        }
        return m_table.band(index);
    }

    RunTable<Node>& m_table;
    std::size_t m_bandIndex;
    std::size_t m_reach;
    access::CountedVector<Node> m_joined;
};

/// The seams in the order of a tree: first between neighbouring bands, then between pairs of bands, and so on. The
/// seams of one level touch different sets of bands, so that they can be joined at the same time.
template <class Node>
std::vector<access::CountedVector<Seam<Node>>> seamTree(RunTable<Node>& table) {
    std::vector<access::CountedVector<Seam<Node>>> levels;
    std::size_t first = 0;
    for (std::size_t i = 1; i < table.bandCount(); ++i) {
        if (table.band(i).volume != table.band(first).volume) {
            first = i;
            continue;
        }
        std::size_t level = 0;
        for (std::size_t index = i - first; index % 2 == 0; index /= 2) {
            ++level;
        }
        if (levels.size() <= level) {
            levels.resize(level + 1);
        }
        levels[level].emplace_back(table, i, std::size_t{1} << level);
    }
    return levels;
}

}  // namespace

template <class Node>
void joinNodes(access::ExecutionContext& context, RunTable<Node>& table, OptimLevelType level) {
    const ContactKernels<Node>& kernels = contactKernels<Node>(level);
    access::run(context, table.plan(), [&](const access::Block& block, access::BlockProgress& progress) {
        if (table.nodeRows() == NodeRows::Pairs) {
            numberPairRows(table, block.index, countKernels(level));
        }
        joinInsideBand(progress, table, block.index, level);
    });
    auto levels = seamTree(table);
    for (auto& seams : levels) {
        access::forEachPart(context, seams.size(), table.nanosecondsPerBand(),
                            [&](std::size_t i) { seams[i].join(kernels); });
    }
    for (auto seams = levels.rbegin(); seams != levels.rend(); ++seams) {
        access::forEachPart(context, seams->size(), table.nanosecondsPerBand(),
                            [&](std::size_t i) { (*seams)[i].resolve(); });
    }
}

template void joinNodes<std::uint32_t>(access::ExecutionContext&, RunTable<std::uint32_t>&, OptimLevelType);
template void joinNodes<std::uint64_t>(access::ExecutionContext&, RunTable<std::uint64_t>&, OptimLevelType);

}  // namespace rix::segmentation
