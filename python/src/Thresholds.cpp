#include "Thresholds.h"

#include <rix/analysis/ThresholdCriteria.h>
#include <rix/math/Histogram.h>

namespace rix::python {

double thresholdOfCounts(const std::vector<std::uint64_t>& counts, double minimum, double maximum, int criterion) {
    math::Histogram histogram(counts.size(), minimum, maximum);
    histogram.addToClasses(0, counts);
    return analysis::details::computeThreshold(
        static_cast<analysis::ThresholdChoices::ThresholdCriterionType>(criterion), histogram);
}

}  // namespace rix::python
