#include "Thresholds.h"

#include <rix/analysis/ThresholdCriteria.h>
#include <rix/math/Histogram.h>

#include "Errors.h"

namespace rix::python {

double thresholdOfCounts(const std::vector<std::uint64_t>& counts, double minimum, double maximum, int criterion) {
    math::Histogram histogram(counts.size(), minimum, maximum);
    histogram.addToClasses(0, counts);
    switch (criterion) {
        case analysis::ThresholdChoices::ENTROPY: return analysis::details::computeThresholdEntropy(histogram);
        case analysis::ThresholdChoices::FACTORISATION:
            return analysis::details::computeThresholdFactorization(histogram);
        case analysis::ThresholdChoices::MOMENTS: return analysis::details::computeThresholdMoments(histogram);
        default: throw RefusedError("counts alone give no threshold by this criterion");
    }
}

}  // namespace rix::python
