#include "skeleton/SkeletonPaths.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include <rix/access/Looks.h>
#include <rix/access/Run.h>

namespace rix::morphology {

SkeletonPaths::SkeletonPaths(access::ExecutionContext& context, const BitImage& skeleton, std::size_t axes,
                             const std::array<double, 3>& spacing)
    : m_skeleton(skeleton),
      m_axes(axes),
      m_spacing(spacing),
      m_rest(skeleton.extents()),
      m_columns(skeleton.extents()[COLUMNS]) {
    findVoxels();
    findDegrees(context);
    findNodes();
}

std::size_t SkeletonPaths::bytes(const Extents& extents) {
    const std::size_t rows = extents[ROWS] * extents[PLANS] * extents[SEQUENCE] * extents[SPECTRAL_SERIES];
    // Places, nodes and degrees, voxels of a piece, or of a branch, and nodes, of which there may be as many.
    const std::size_t ofVoxel = 4 * sizeof(std::size_t) + 1 + sizeof(Node);
    const std::size_t words =
        (extents[COLUMNS] - 1) / BitImage::columnsPerChunk * BitImage::wordsPerChunk + BitImage::wordsPerChunk;
    return BitImage::bytes(extents) + rows * words * sizeof(std::size_t) + rows * extents[COLUMNS] * ofVoxel +
           access::Scratch::granularity;
}

void SkeletonPaths::findVoxels() {
    access::Looks looks;
    const std::size_t words = m_skeleton.words();
    m_before.reserve(m_skeleton.rows() * words);
    std::size_t count = 0;
    for (std::size_t row = 0; row < m_skeleton.rows(); ++row) {
        for (std::size_t word = 0; word < words; ++word) {
            m_before.push_back(count);
            count += static_cast<std::size_t>(std::popcount(m_skeleton.row(row)[word]));
        }
        looks.add(words);
    }
    m_places.reserve(count);
    for (std::size_t row = 0; row < m_skeleton.rows(); ++row) {
        for (std::size_t word = 0; word < words; ++word) {
            for (std::uint64_t bits = m_skeleton.row(row)[word]; bits != 0; bits &= bits - 1) {
                m_places.push_back(row * m_columns + word * BitImage::bitsPerWord +
                                   static_cast<std::size_t>(std::countr_zero(bits)));
            }
        }
        looks.add(words);
    }
}

std::size_t SkeletonPaths::voxelAt(std::size_t row, std::size_t column) const {
    const std::size_t word = column / BitImage::bitsPerWord;
    const std::uint64_t below = (std::uint64_t{1} << (column % BitImage::bitsPerWord)) - 1;
    return m_before[row * m_skeleton.words() + word] +
           static_cast<std::size_t>(std::popcount(m_skeleton.row(row)[word] & below));
}

std::uint64_t SkeletonPaths::bitsAround(const std::uint64_t* row, std::size_t place, std::size_t column) {
    // The words beside those of a row are zeros.
    const std::uint64_t* const word = row + column / BitImage::bitsPerWord;
    const std::size_t bit = column % BitImage::bitsPerWord;
    std::uint64_t bits = bit > 0 ? *word >> (bit - 1) : *word << 1U | *(word - 1) >> 63U;
    if (bit == BitImage::bitsPerWord - 1) {
        bits |= *(word + 1) << 2U;
    }
    return bits & (place == 4 ? 5U : 7U);
}

void SkeletonPaths::findDegrees(access::ExecutionContext& context) {
    m_degrees.resize(m_places.size());
    constexpr std::size_t rowsOfPart = 16;
    constexpr double nanosecondsPerVoxel = 10;
    const std::size_t rows = m_skeleton.rows();
    const auto voxelsBefore = [&](std::size_t row) {
        return row < rows ? m_before[row * m_skeleton.words()] : m_places.size();
    };
    const std::size_t parts = (rows - 1) / rowsOfPart + 1;
    const double voxelsOfPart = static_cast<double>(m_places.size()) / static_cast<double>(parts);
    access::forEachPart(context, parts, voxelsOfPart * nanosecondsPerVoxel, [&](std::size_t part) {
        access::Looks looks;
        for (std::size_t row = part * rowsOfPart; row < std::min(rows, (part + 1) * rowsOfPart); ++row) {
            const RowsAround around = m_skeleton.around(row, m_axes);
            for (std::size_t voxel = voxelsBefore(row); voxel < voxelsBefore(row + 1); ++voxel) {
                int degree = 0;
                for (std::size_t place = 0; place < around.size(); ++place) {
                    degree += std::popcount(bitsAround(around[place], place, columnOf(voxel)));
                }
                m_degrees[voxel] = static_cast<std::uint8_t>(degree);
            }
            std::copy_n(m_skeleton.row(row), m_skeleton.words(), m_rest.row(row));
            looks.add(m_skeleton.words() / 4 + (voxelsBefore(row + 1) - voxelsBefore(row)) / 4 + 1);
        }
    });
}

SkeletonPaths::Neighbours SkeletonPaths::neighboursOf(std::size_t voxel, const BitImage& set) const {
    Neighbours neighbours;
    const std::size_t column = columnOf(voxel);
    set.forEachRowAround(rowOf(voxel), m_axes, [&](std::size_t row, std::size_t place) {
        for (std::uint64_t bits = bitsAround(set.row(row), place, column); bits != 0; bits &= bits - 1) {
            neighbours.voxels[neighbours.count++] =
                voxelAt(row, column + static_cast<std::size_t>(std::countr_zero(bits)) - 1);
        }
    });
    return neighbours;
}

std::array<double, 3> SkeletonPaths::positionOf(std::size_t voxel) const {
    const Extents& n = m_skeleton.extents();
    const std::size_t row = rowOf(voxel);
    return {static_cast<double>(columnOf(voxel)), static_cast<double>(row % n[ROWS]),
            static_cast<double>(row / n[ROWS] % n[PLANS])};
}

double SkeletonPaths::stepBetween(std::size_t from, std::size_t to) const {
    const auto a = positionOf(from);
    const auto b = positionOf(to);
    double sum = 0;
    for (std::size_t axis = 0; axis < m_axes; ++axis) {
        const double way = (a[axis] - b[axis]) * m_spacing[axis];
        sum += way * way;
    }
    return std::sqrt(sum);
}

void SkeletonPaths::addToNode(std::size_t voxel, std::size_t node) {
    m_nodeOf[voxel] = node;
    const auto position = positionOf(voxel);
    Node& to = m_nodes[node];
    ++to.voxels;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        to.centre[axis] += (position[axis] - to.centre[axis]) / static_cast<double>(to.voxels);
    }
    const Extents& n = m_skeleton.extents();
    to.part = rowOf(voxel) / (n[ROWS] * (m_axes == 3 ? n[PLANS] : 1));
}

void SkeletonPaths::findNodes() {
    access::Looks looks;
    m_nodeOf.assign(m_places.size(), onPath);
    m_nodes.reserve(m_places.size());
    access::CountedVector<std::size_t> piece;
    piece.reserve(m_places.size());
    for (std::size_t voxel = 0; voxel < m_places.size(); ++voxel) {
        looks.add(8);
        if (m_degrees[voxel] == 2 || m_nodeOf[voxel] != onPath) {
            continue;
        }
        const std::size_t node = m_nodes.size();
        m_nodes.emplace_back();
        addToNode(voxel, node);
        if (m_degrees[voxel] <= 2) {
            continue;
        }
        m_rest.clear(rowOf(voxel), columnOf(voxel));
        piece.assign(1, voxel);
        while (!piece.empty()) {
            const Neighbours neighbours = neighboursOf(piece.back(), m_rest);
            piece.pop_back();
            for (std::size_t i = 0; i < neighbours.count; ++i) {
                const std::size_t other = neighbours.voxels[i];
                if (m_degrees[other] > 2) {
                    addToNode(other, node);
                    m_rest.clear(rowOf(other), columnOf(other));
                    piece.push_back(other);
                }
            }
            looks.add(8);
        }
    }
}

void SkeletonPaths::startAt(std::size_t voxel, SkeletonBranch& branch) const {
    const std::size_t node = m_nodeOf[voxel];
    branch.nodes = {node, node};
    branch.freeEnds = 0;
    branch.length = 0;
    branch.voxels.clear();
    if (m_degrees[voxel] < 2) {
        branch.freeEnds = 1;
        branch.voxels.push_back(voxel);
    }
}

void SkeletonPaths::follow(std::size_t from, std::size_t to, SkeletonBranch& branch) {
    access::Looks looks;
    while (true) {
        looks.add(8);
        branch.length += stepBetween(from, to);
        if (m_nodeOf[to] < followed) {
            break;
        }
        m_nodeOf[to] = followed;
        branch.voxels.push_back(to);
        const Neighbours neighbours = neighboursOf(to, m_skeleton);
        const std::size_t next = neighbours.voxels[neighbours.voxels[0] == from ? 1 : 0];
        from = to;
        to = next;
    }
    branch.nodes[1] = m_nodeOf[to];
    if (m_degrees[to] < 2) {
        ++branch.freeEnds;
        branch.voxels.push_back(to);
    }
}

void SkeletonPaths::forEachBranch(const std::function<void(const SkeletonBranch&)>& use) {
    access::Looks looks;
    SkeletonBranch branch;
    branch.voxels.reserve(m_places.size());
    for (std::size_t voxel = 0; voxel < m_places.size(); ++voxel) {
        looks.add(8);
        if (m_nodeOf[voxel] >= followed) {
            continue;
        }
        if (m_degrees[voxel] == 0) {
            startAt(voxel, branch);
            branch.freeEnds = 2;
            use(branch);
            continue;
        }
        const Neighbours neighbours = otherNeighboursOf(voxel);
        for (std::size_t i = 0; i < neighbours.count; ++i) {
            const std::size_t other = neighbours.voxels[i];
            // From node to node at once is told of by the first, a line that was followed by the other end of it.
            const bool isNew =
                m_nodeOf[other] == onPath || (m_nodeOf[other] < followed && m_nodeOf[other] > m_nodeOf[voxel]);
            if (isNew) {
                startAt(voxel, branch);
                follow(voxel, other, branch);
                use(branch);
            }
        }
    }
    for (std::size_t voxel = 0; voxel < m_places.size(); ++voxel) {
        looks.add(1);
        if (m_nodeOf[voxel] == onPath) {
            m_nodes.emplace_back();
            addToNode(voxel, m_nodes.size() - 1);
            startAt(voxel, branch);
            branch.voxels.push_back(voxel);
            follow(voxel, neighboursOf(voxel, m_skeleton).voxels[0], branch);
            use(branch);
        }
    }
}

}  // namespace rix::morphology
