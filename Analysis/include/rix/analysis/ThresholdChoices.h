#pragma once

#include <rix/Export.h>
#include <rix/properties/EnumInfo.h>

namespace rix::analysis {

/// The choices that all automatic thresholding classes offer; they inherit them, so that
/// `AutoThresholdingValue::MOMENTS` and `AutoThresholdingBright::MOMENTS` are the same.
struct RIX_EXPORT ThresholdChoices {
    /// Which range of values the histogram covers.
    enum RangeModeType : int {
        MIN_MAX = 0,  ///< from the smallest to the greatest finite value of the whole image
        OTHER         ///< a given range
    };
    /// How the threshold is chosen from the histogram.
    enum ThresholdCriterionType : int {
        ENTROPY = 0,    ///< maximum of the summed entropies of the two sides
        FACTORISATION,  ///< maximum of the variance between the two sides
        MOMENTS,        ///< the two-valued image that keeps the first three moments
        ISODATA         ///< middle of the means of the two sides, iterated
    };
    static const EnumInfo& getInfoRangeModeType();
    static const EnumInfo& getInfoThresholdCriterionType();
};

}  // namespace rix::analysis
