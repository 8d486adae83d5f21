#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/image/ImageTypes.h>

namespace rix {

/// What kind of operation an algorithm is: tells which parts of its inputs one part of its output depends on.
enum class AlgorithmKind : std::uint8_t {
    Point,          ///< a voxel of the output depends on the same voxel of the inputs
    Neighbourhood,  ///< on a window around it
    Reduction,      ///< the result depends on all voxels
    Labeling,       ///< connected sets
    Composite,      ///< a chain of other algorithms
    Geometry,       ///< a voxel of the output comes from elsewhere in the inputs
};

/// "point", "neighbourhood", "reduction", "labeling", "composite", "geometry"
RIX_EXPORT String algorithmKindToString(AlgorithmKind kind);

/// How far the window of a voxel reaches to either side, in voxels, for columns, rows and planes.
struct BorderInfluence {
    std::array<std::size_t, 3> lower{0, 0, 0};
    std::array<std::size_t, 3> upper{0, 0, 0};
    bool operator==(const BorderInfluence&) const = default;
};

/// An output as it will be after the run.
struct OutputDescription {
    String name;
    VoxelTypes voxelType = RIX_UINT8;
    std::array<std::size_t, 5> extents{0, 0, 0, 0, 0};
};

/// What can be said of a run from the properties and the headers of the images alone.
struct AlgorithmDescription {
    String summary;  ///< one line
    AlgorithmKind kind = AlgorithmKind::Point;
    BorderInfluence borderInfluence;
    bool inPlace = false;                    ///< an output may be an input of the same type
    std::vector<OutputDescription> outputs;  ///< only those that the present inputs determine
    /// Peak bytes beyond inputs and outputs for the present inputs, with the threads that the settings allow.
    std::size_t extraMemory = 0;
    /// True when a run has that peak; false when it depends on the samples and `extraMemory` is the most that it can
    /// be.
    bool extraMemoryIsExact = true;
};

}  // namespace rix
