#include <rix/analysis/ThresholdChoices.h>

namespace rix::analysis {

const EnumInfo& ThresholdChoices::getInfoRangeModeType() {
    static const EnumInfo info("RangeModeType", "MIN_MAX = 0, OTHER");
    return info;
}

const EnumInfo& ThresholdChoices::getInfoThresholdCriterionType() {
    static const EnumInfo info("ThresholdCriterionType", "ENTROPY = 0, FACTORISATION, MOMENTS, ISODATA");
    return info;
}

}  // namespace rix::analysis
