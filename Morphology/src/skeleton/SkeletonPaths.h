#pragma once

#include <array>
#include <cstddef>
#include <functional>

#include <rix/access/MemoryAccount.h>

#include "bits/BitImage.h"

namespace rix::morphology {

/// A line of a skeleton, from node to node. Nodes are its ends, and pieces of voxels with three neighbours or more.
struct SkeletonBranch {
    std::array<std::size_t, 2> nodes{};  ///< numbers of nodes
    std::size_t freeEnds = 0;            ///< how many of them are ends of the skeleton
    double length = 0;                   ///< the sum of its steps, to the voxels of the nodes
    /// The places of its voxels among those of the skeleton, without those of branch points.
    access::CountedVector<std::size_t> voxels;
};

/// The voxels of skeletons in storage order, and the lines that they make: of planes by themselves, or of volumes.
class SkeletonPaths {
public:
    struct Node {
        std::array<double, 3> centre{};  ///< of its voxels, in columns, rows and planes
        std::size_t voxels = 0;
        std::size_t part = 0;  ///< the plane or volume, counted in storage order
    };

    /// @param spacing along which axes steps are how long
    SkeletonPaths(access::ExecutionContext& context, const BitImage& skeleton, std::size_t axes,
                  const std::array<double, 3>& spacing);

    /// The most bytes that it holds.
    static std::size_t bytes(const Extents& extents);

    /// Calls `use(branch)` for every line, in the order of the first voxels of their nodes; then for lines that are
    /// closed and branch nowhere, whose first voxel becomes their node. A voxel by itself is a line of length 0.
    void forEachBranch(const std::function<void(const SkeletonBranch&)>& use);

    /// Nodes by their numbers, those of closed lines once they were told of.
    const access::CountedVector<Node>& nodes() const { return m_nodes; }
    std::size_t voxelCount() const { return m_places.size(); }
    std::size_t rowOf(std::size_t voxel) const { return m_places[voxel] / m_columns; }
    std::size_t columnOf(std::size_t voxel) const { return m_places[voxel] % m_columns; }

private:
    struct Neighbours {
        std::array<std::size_t, 26> voxels;  // the first `count` of them
        std::size_t count = 0;
    };

    void findVoxels();
    void findDegrees(access::ExecutionContext& context);
    void findNodes();
    std::size_t voxelAt(std::size_t row, std::size_t column) const;
    /// The three voxels of a row around a column, without the column itself in the row of the voxel (place 4).
    static std::uint64_t bitsAround(const std::uint64_t* row, std::size_t place, std::size_t column);
    /// What of a set is around a voxel.
    Neighbours neighboursOf(std::size_t voxel, const BitImage& set) const;
    /// Its neighbours that are not of the same piece of voxels with three neighbours or more.
    Neighbours otherNeighboursOf(std::size_t voxel) const {
        return neighboursOf(voxel, m_degrees[voxel] > 2 ? m_rest : m_skeleton);
    }
    double stepBetween(std::size_t from, std::size_t to) const;
    std::array<double, 3> positionOf(std::size_t voxel) const;
    void addToNode(std::size_t voxel, std::size_t node);
    void follow(std::size_t from, std::size_t to, SkeletonBranch& branch);
    void startAt(std::size_t voxel, SkeletonBranch& branch) const;

    static constexpr std::size_t onPath = ~std::size_t{0};        ///< a voxel that is of no node
    static constexpr std::size_t followed = ~std::size_t{0} - 1;  ///< and was met on a line

    const BitImage& m_skeleton;
    std::size_t m_axes;
    std::array<double, 3> m_spacing;
    BitImage m_rest;  ///< the skeleton without what belongs to pieces of voxels with three neighbours or more
    std::size_t m_columns;
    access::CountedVector<std::size_t> m_before;  ///< for each word the number of voxels before it
    access::CountedVector<std::size_t> m_places;  ///< row times columns plus column
    access::CountedVector<std::size_t> m_nodeOf;
    access::CountedVector<std::uint8_t> m_degrees;
    access::CountedVector<Node> m_nodes;
};

}  // namespace rix::morphology
