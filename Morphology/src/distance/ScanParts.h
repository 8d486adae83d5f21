#pragma once

#include <algorithm>
#include <cstddef>

#include <rix/access/Run.h>

#include "distance/DistanceTask.h"

namespace rix::morphology {

/// What is scanned by itself: a plane, or a volume.
struct ScanPart {
    std::size_t plane = 0;  ///< the first
    std::size_t planes = 1;
    std::size_t sequence = 0;
    std::size_t spectral = 0;

    access::RowSegment row(std::size_t y, std::size_t z, std::size_t columns) const {
        return {{0, y, plane + z, sequence, spectral}, columns};
    }
};

inline std::size_t scanPartsOf(const DistanceTask& task) {
    return task.extents[SPECTRAL_SERIES] * task.extents[SEQUENCE] * (task.axes == 3 ? 1 : task.extents[PLANS]);
}

template <class Use>
void forEachScanPart(access::ExecutionContext& context, const DistanceTask& task, double nanosecondsPerVoxel,
                     const Use& use) {
    const auto& n = task.extents;
    const std::size_t planes = task.axes == 3 ? n[PLANS] : 1;
    const std::size_t inFrame = n[PLANS] / planes;
    const double voxels = static_cast<double>(n[COLUMNS]) * static_cast<double>(n[ROWS] * planes);
    access::forEachPart(context, scanPartsOf(task), voxels * nanosecondsPerVoxel, [&](std::size_t index) {
        const std::size_t frame = index / inFrame;
        use(ScanPart{index % inFrame, planes, frame % n[SEQUENCE], frame / n[SEQUENCE]});
    });
}

/// A plan whose segments are whole rows.
inline access::Plan planScanRows(const DistanceTask& task) {
    return access::Plan(task.extents, access::JoinedAxes::None);
}

}  // namespace rix::morphology
