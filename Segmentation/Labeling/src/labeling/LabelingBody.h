#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>

#include <rix/access/FunctionRef.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "labeling/LabelGeometry.h"
#include "labeling/RunTable.h"

namespace rix::access {
class ExecutionContext;
}

namespace rix::segmentation {

/// The voxel types of label images, narrowest first. The index is the value of `LabelType`.
inline constexpr VoxelTypes labelVoxelTypes[] = {RIX_UINT8, RIX_UINT16, RIX_UINT32};

/// What tests force, so that small images reach what otherwise only large ones or other machines do. Labels never
/// depend on it.
struct LabelingTuning {
    std::size_t voxelsPerBand = 0;     ///< of the bands of work; 0: chosen, and small images stay on one thread
    std::optional<NodeRows> nodeRows;  ///< where pairs are possible; none: whatever gives clearly fewer nodes
    bool wideNodes = false;            ///< 64-bit nodes, as for volumes of more than 2^31 possible runs
    /// The largest label that the widest type holds.
    std::uint64_t largestLabel = std::numeric_limits<std::uint32_t>::max();
};

/// Takes the runs of foreground with their final labels, for measuring objects without reading the label image. Called
/// by several threads at once, in the raster order of each band of lines.
using RunVisitor = std::function<void(std::size_t band, const LabelledRun& run)>;

/// One run of a labeling.
struct LabelingTask {
    access::ExecutionContext& context;
    OptimLevelType level;
    const ImageModel& input;
    ImageModel& output;  ///< of the input's extents
    Connectivity connectivity;
    int labelType;           ///< as the user set it
    std::size_t processors;  ///< that the scan bands are made for
    const LabelingTuning& tuning;
    /// Called when the labels turn out to need the wider type of this index.
    access::FunctionRef<void(int)> upgraded;
    /// Called once, when the type of the labels is known: gives the output this type, or leaves it a wider one, and
    /// returns which. Throws when the output can have neither.
    access::FunctionRef<VoxelTypes(VoxelTypes)> retype;
    const RunVisitor& visitRun;  ///< empty: runs are not visited
};

/// What the nodes are to be, once the runs of all bands are counted.
template <class Node>
NodeRows chooseNodeRows(const RunTable<Node>& table, const LabelingTuning& tuning);

/// Whether 32-bit nodes can name every possible run of a volume.
bool fitsNarrowNodes(const LabelGeometry& geometry);

/// Labels every volume of the input. The type of the output is decided before the first label is written: it is widened
/// as often as a scan in its place would have had to begin again.
/// @return the largest number of labels of a volume
/// @throws RuntimeError when the labels fit no type, and what `retype` throws.
std::uint64_t labelObjects(const LabelingTask& task);

/// The most bytes that a run can take beside its images, from the header of the input alone. Assumes as many runs of
/// foreground as rows can have, one every second pixel, and that all of them touch runs across the seams of bands.
/// @param processors as in the task
std::size_t labelingMemory(const ImageModel& input, Connectivity connectivity, std::size_t threads,
                           std::size_t processors);

}  // namespace rix::segmentation
