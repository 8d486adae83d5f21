#include "skeleton/SkeletonPaths.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include <rix/access/Looks.h>

namespace rix::morphology {

SkeletonPaths::SkeletonPaths(const BitImage& skeleton, std::size_t axes, const std::array<double, 3>& spacing)
    : m_skeleton(skeleton), m_axes(axes), m_spacing(spacing), m_columns(skeleton.extents()[COLUMNS]) {
    findVoxels();
    findNodes();
}

std::size_t SkeletonPaths::bytes(const Extents& extents) {
    const std::size_t rows = extents[ROWS] * extents[PLANS] * extents[SEQUENCE] * extents[SPECTRAL_SERIES];
    // Places, nodes and degrees, voxels of a piece, or of a branch, and nodes, of which there may be as many.
    const std::size_t ofVoxel = 4 * sizeof(std::size_t) + 1 + sizeof(Node);
    const std::size_t words =
        (extents[COLUMNS] - 1) / BitImage::columnsPerChunk * BitImage::wordsPerChunk + BitImage::wordsPerChunk;
    return rows * words * sizeof(std::size_t) + rows * extents[COLUMNS] * ofVoxel + access::Scratch::granularity;
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

std::uint64_t SkeletonPaths::bitsAround(std::size_t row, std::size_t place, std::size_t column) const {
    // The words beside those of a row are zeros.
    const std::uint64_t* const word = m_skeleton.row(row) + column / BitImage::bitsPerWord;
    const std::size_t bit = column % BitImage::bitsPerWord;
    std::uint64_t bits = bit > 0 ? *word >> (bit - 1) : *word << 1U | *(word - 1) >> 63U;
    if (bit == BitImage::bitsPerWord - 1) {
        bits |= *(word + 1) << 2U;
    }
    return bits & (place == 4 ? 5U : 7U);
}

std::size_t SkeletonPaths::degreeOf(std::size_t voxel) const {
    const std::size_t column = columnOf(voxel);
    std::size_t degree = 0;
    m_skeleton.forEachRowAround(rowOf(voxel), m_axes, [&](std::size_t row, std::size_t place) {
        degree += static_cast<std::size_t>(std::popcount(bitsAround(row, place, column)));
    });
    return degree;
}

SkeletonPaths::Neighbours SkeletonPaths::neighboursOf(std::size_t voxel) const {
    Neighbours neighbours;
    const std::size_t column = columnOf(voxel);
    m_skeleton.forEachRowAround(rowOf(voxel), m_axes, [&](std::size_t row, std::size_t place) {
        for (std::uint64_t bits = bitsAround(row, place, column); bits != 0; bits &= bits - 1) {
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
    m_degrees.reserve(m_places.size());
    for (std::size_t voxel = 0; voxel < m_places.size(); ++voxel) {
        m_degrees.push_back(static_cast<std::uint8_t>(degreeOf(voxel)));
        looks.add(8);
    }
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
        piece.assign(1, voxel);
        while (m_degrees[voxel] > 2 && !piece.empty()) {
            const Neighbours neighbours = neighboursOf(piece.back());
            piece.pop_back();
            for (std::size_t i = 0; i < neighbours.count; ++i) {
                const std::size_t other = neighbours.voxels[i];
                if (m_degrees[other] > 2 && m_nodeOf[other] == onPath) {
                    addToNode(other, node);
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
        const Neighbours neighbours = neighboursOf(to);
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
        const Neighbours neighbours = neighboursOf(voxel);
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
            follow(voxel, neighboursOf(voxel).voxels[0], branch);
            use(branch);
        }
    }
}

}  // namespace rix::morphology
