#include <rix/segmentation/Algorithms.h>

#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/Labeling3d.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

namespace rix::segmentation {

std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms() {
    static constexpr algorithms::AlgoInfoAccessor accessors[] = {
        &ThresholdingByCriterion::getInfo,
        &Labeling2d::getInfo,
        &Labeling3d::getInfo,
    };
    return accessors;
}

}  // namespace rix::segmentation
