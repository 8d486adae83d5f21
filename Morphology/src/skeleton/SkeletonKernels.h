#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

#include "bits/BitImage.h"

namespace rix::morphology {

/// Which neighbours in the background make a voxel of an object one of its border. In planes corners are the edges.
enum class BorderKind : std::uint8_t { Faces, Edges, Corners };

/// Logic of 64 voxels at a time. Rows have whole chunks; of chunks that are not active nothing is read or written.
/// All have neighbours in a plane, or in a volume (3 axes).
struct SkeletonKernels {
    /// The voxels of objects with a neighbour in the background.
    void (*border)(const RowsAround& rows, BorderKind kind, const std::uint8_t* active, std::uint64_t* border,
                   std::size_t chunks);
    /// Those of a border that have two or more neighbours: all but ends. @return whether there is one
    bool (*candidates)(const RowsAround& rows, const std::uint8_t* active, const std::uint64_t* border,
                       std::uint64_t* candidates, std::size_t chunks);
    /// Takes candidates that are simple out of the row in the middle: first those in even columns at once, then those
    /// in odd ones. @param changed is set to 1 for chunks in which that changed anything
    void (*thin)(std::uint64_t* row, const RowsAround& rows, const std::uint8_t* active,
                 const std::uint64_t* candidates, std::uint8_t* changed, std::size_t chunks);
    /// Voxels of objects with at most one neighbour, or with three and more.
    void (*ends)(const RowsAround& rows, std::uint64_t* ends, std::size_t chunks);
    void (*branches)(const RowsAround& rows, std::uint64_t* branches, std::size_t chunks);
};

SkeletonKernels skeletonKernels(OptimLevelType level, std::size_t axes);

}  // namespace rix::morphology
