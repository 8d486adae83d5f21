#include <rix/analysis/Algorithms.h>

#include <rix/analysis/AutoThresholdingValue.h>
#include <rix/analysis/IntensityExtrema.h>

namespace rix::analysis {

std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms() {
    static constexpr algorithms::AlgoInfoAccessor accessors[] = {
        &IntensityExtrema::getInfo,
        &AutoThresholdingValue::getInfo,
    };
    return accessors;
}

std::span<const algorithms::ObjectInfoAccessor> moduleObjects() {
    static constexpr algorithms::ObjectInfoAccessor accessors[] = {
        &IntensityExtremaMsr::getInfo,
        &AutoThresholdingMsr::getInfo,
    };
    return accessors;
}

}  // namespace rix::analysis
