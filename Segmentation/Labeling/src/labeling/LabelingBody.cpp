#include "labeling/LabelingBody.h"

#include <algorithm>
#include <limits>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>

#include "labeling/NumberPhase.h"
#include "labeling/PackPhase.h"
#include "labeling/PaintPhase.h"
#include "labeling/UnionPhase.h"

namespace rix::segmentation {

namespace {

/// Pairs of rows are taken as nodes when that leaves less than this part of the runs: finding their contacts costs
/// more.
constexpr double pairsPay = 0.7;
}  // namespace

template <class Node>
NodeRows chooseNodeRows(const RunTable<Node>& table, const LabelingTuning& tuning) {
    const Connectivity connectivity = table.geometry().connectivity;
    if (connectivity == Connectivity::Edges || connectivity == Connectivity::Faces) {
        return NodeRows::Single;
    }
    if (tuning.nodeRows.has_value()) {
        return *tuning.nodeRows;
    }
    double runs = 0.0;
    double pairRuns = 0.0;
    for (std::size_t i = 0; i < table.bandCount(); ++i) {
        runs += static_cast<double>(table.band(i).runs);
        pairRuns += static_cast<double>(table.band(i).pairRuns);
    }
    return pairRuns < pairsPay * runs ? NodeRows::Pairs : NodeRows::Single;
}

template NodeRows chooseNodeRows<std::uint32_t>(const RunTable<std::uint32_t>&, const LabelingTuning&);
template NodeRows chooseNodeRows<std::uint64_t>(const RunTable<std::uint64_t>&, const LabelingTuning&);

namespace {

/// The last value of `LabelType`.
constexpr int widestType = 2;

std::uint64_t largestLabelOf(int labelType, const LabelingTuning& tuning) {
    return labelType == widestType ? tuning.largestLabel : (std::uint64_t{1} << (8U << labelType)) - 1;
}

/// The narrowest type from the requested one on that holds the final and the provisional labels.
template <class Node>
int decideLabelType(const LabelingTask& task, const RunTable<Node>& table, std::uint64_t labels) {
    const ScanBands scanBands(table.geometry(), task.processors);
    int labelType = task.labelType;
    for (;;) {
        const std::uint64_t most = largestLabelOf(labelType, task.tuning);
        if (labels <= most && !opensMoreLabelsThan(task.context, table, task.level, scanBands, most)) {
            return labelType;
        }
        if (labelType == widestType) {
            throw RuntimeError("Too much labels to be contained in an unsigned int 32 bits image.");
        }
        ++labelType;
        task.upgraded(labelType);
    }
}

template <class Node>
std::uint64_t labelWith(const LabelingTask& task, const LabelGeometry& geometry) {
    RunTable<Node> table(geometry, cutIntoBands(geometry, task.tuning.voxelsPerBand));
    // Half of the work on a voxel is its label's.
    const access::Steps phases(task.context, {0.25, 0.25, 0.5});
    packImage(task.context, table, task.input, task.level);
    table.makeNodes(chooseNodeRows(table, task.tuning));
    joinNodes(task.context, table, task.level);
    const std::uint64_t labels = countSets(table);
    const int labelType = decideLabelType(task, table, labels);
    const VoxelTypes voxelType = task.retype(labelVoxelTypes[labelType]);
    labelRoots(task.context, table, task.level);
    access::dispatch(access::UnsignedIntegers{}, voxelType, [&](auto tag) {
        paintLabels<Node, typename decltype(tag)::type>(task.context, table, task.output, task.level);
    });
    if (task.visitRun) {
        access::forEachPart(task.context, table.bandCount(), table.nanosecondsPerBand(), [&](std::size_t i) {
            table.forEachRun(table.band(i), [&](const LabelledRun& run) { task.visitRun(i, run); });
        });
    }
    return labels;
}

}  // namespace

bool fitsNarrowNodes(const LabelGeometry& geometry) {
    const std::size_t runsOfRow = geometry.columns / 2 + 1;
    return geometry.rows * geometry.planes <= (std::size_t{1} << 31) / runsOfRow - 1;
}

std::uint64_t labelObjects(const LabelingTask& task) {
    const LabelGeometry geometry = geometryOf(task.input, task.connectivity);
    if (fitsNarrowNodes(geometry) && !task.tuning.wideNodes) {
        return labelWith<std::uint32_t>(task, geometry);
    }
    return labelWith<std::uint64_t>(task, geometry);
}

std::size_t labelingMemory(const ImageModel& input, Connectivity connectivity, std::size_t threads,
                           std::size_t processors) {
    const LabelGeometry geometry = geometryOf(input, connectivity);
    const std::size_t nodeSize = fitsNarrowNodes(geometry) ? sizeof(std::uint32_t) : sizeof(std::uint64_t);
    const std::size_t nodesOfLine = geometry.columns / 2 + geometry.columns % 2;
    const auto lines = static_cast<double>(geometry.lines());
    const access::Plan plan = cutIntoBands(geometry, 0);
    const auto bands = static_cast<double>(plan.blockCount());
    const auto volumes = static_cast<double>(geometry.volumes);
    const double table = (lines + 1.0) * static_cast<double>(geometry.words() * 8 + nodeSize * (1 + nodesOfLine)) +
                         bands * sizeof(RunTable<std::uint64_t>::Band) + (volumes + 1.0) * sizeof(std::size_t);
    // At a seam each set on either side may be joined to another one; what was joined is kept.
    const double seamNodes = 2.0 * static_cast<double>(geometry.planes > 1 ? geometry.rows : 1) *
                             static_cast<double>(nodesOfLine * nodeSize);
    const double seams = std::max(0.0, bands - volumes) * (2.0 * seamNodes + 128.0);
    // Halving makes less than twice as many bands as processors, and none of less than a row or plane.
    const std::size_t scanBands = std::min(processors, std::max(geometry.rows, geometry.planes));
    const double counts = volumes * 2.0 * static_cast<double>(scanBands) * 8.0;
    // Pairs of nodes that touch, or the labels of a row.
    const double ofThread = seamNodes + 4.0 * static_cast<double>(nodeSize * (nodesOfLine + 2)) + 65536.0;
    const double bytes = table + seams + counts + static_cast<double>(plan.isSmall() ? 1 : threads) * ofThread;
    return bytes < 1.8e19 ? static_cast<std::size_t>(bytes) : std::numeric_limits<std::size_t>::max();
}

}  // namespace rix::segmentation
