#include <rix/individual_analysis/Algorithms.h>

#include <rix/individual_analysis/LabelAnalysis.h>

namespace rix::individual_analysis {

std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms() {
    static constexpr algorithms::AlgoInfoAccessor accessors[] = {
        &LabelAnalysis::getInfo,
    };
    return accessors;
}

std::span<const algorithms::ObjectInfoAccessor> moduleObjects() {
    static constexpr algorithms::ObjectInfoAccessor accessors[] = {
        &LabelAnalysisMsr::getInfo,
    };
    return accessors;
}

}  // namespace rix::individual_analysis
