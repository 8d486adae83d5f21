#include <rix/segmentation/Algorithms.h>

#include <rix/segmentation/AutoThresholdingBright.h>
#include <rix/segmentation/AutoThresholdingDark.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/Labeling3d.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

namespace rix::segmentation {

std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms() {
    static constexpr algorithms::AlgoInfoAccessor accessors[] = {
        &ThresholdingByCriterion::getInfo,
        &AutoThresholdingBright::getInfo,
        &AutoThresholdingDark::getInfo,
        &Labeling2d::getInfo,
        &Labeling3d::getInfo,
    };
    return accessors;
}

}  // namespace rix::segmentation
