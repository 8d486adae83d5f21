#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Joins.h>
#include <rix/access/MemoryAccount.h>

#include "SlicKernels.h"

namespace rix::segmentation {

/// A plane or volume that is divided into superpixels, and the grid of centres that it begins with.
struct SlicGrid {
    /// @param axes 2 for planes, 3 for volumes
    SlicGrid(const std::array<std::size_t, 3>& extents, std::size_t axes, std::size_t segments, std::size_t channels);

    std::size_t rows() const { return extents[1] * extents[2]; }
    std::size_t voxels() const { return extents[0] * rows(); }
    std::size_t centers() const { return counts[0] * counts[1] * counts[2]; }

    std::array<std::size_t, 3> extents;
    std::array<std::size_t, 3> counts;  ///< centres along each axis
    std::array<double, 3> steps;        ///< from a centre to the next
    double side = 1.0;                  ///< of a square or cube of as many voxels as one centre has
    std::size_t channels;
};

/// The centres, which move to the middle of what is nearest to them.
class SlicClusters {
public:
    /// @param values of all voxels, channel after channel: integers of a magnitude of at most 2^22
    /// @param weight of squared distances in the grid against those of values
    SlicClusters(const SlicGrid& grid, const float* values, double weight, OptimLevelType level);
    static std::size_t bytes(const SlicGrid& grid, std::size_t threads);

    /// Moves each centre to the mean of the voxels that are nearest to it: a step of the run.
    void move(access::ExecutionContext& context);
    /// Writes for each voxel the number of the nearest centre: a step of the run.
    void assign(access::ExecutionContext& context, std::uint32_t* numbers);

private:
    using Sums = access::CountedVector<std::int64_t>;
    struct Row;

    std::size_t stride() const { return 4 + m_grid.channels; }
    /// Sorts the centres into the rows of the grid, of which each has the centres of its rows and planes.
    void sortIntoCells();
    std::size_t cellOf(double position, std::size_t axis) const;
    template <class Use>
    void forEachRow(access::ExecutionContext& context, double nanosecondsPerVoxel, const Use& use);
    void findNearest(const Row& row) const;
    void approachFrom(const Row& row, double windows, std::size_t begin, std::size_t end) const;
    void addRow(const Row& row, Sums& sums) const;

    const SlicGrid& m_grid;
    const float* m_values;
    float m_weight;
    SlicKernels m_kernels;
    access::CountedVector<std::array<double, 3>> m_positions;
    access::CountedVector<float> m_colors;
    access::CountedVector<std::uint32_t> m_sorted;  ///< numbers of centres, cell after cell
    access::CountedVector<std::uint32_t> m_cells;   ///< where each cell begins
    access::Accumulators<Sums> m_sums;
};

}  // namespace rix::segmentation
