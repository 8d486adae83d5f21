#include <rix/segmentation/Algorithms.h>

#include <rix/segmentation/ThresholdingByCriterion.h>

namespace rix::segmentation {

std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms() {
    static constexpr algorithms::AlgoInfoAccessor accessors[] = {
        &ThresholdingByCriterion::getInfo,
    };
    return accessors;
}

}  // namespace rix::segmentation
