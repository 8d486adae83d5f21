#include "GaussianRows.h"

namespace rix::filtering::smoothing {

void declareDeviation(algorithms::Properties& properties, Property<double>& deviation, double initial) {
    deviation = initial;
    properties.input(deviation, "Width of the Gaussian in voxels.", AddRuleAssertFinite(),
                     AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL),
                     AddRuleLimitedValue<double>(largestDeviation, CHECK_LOWER_OR_EQUAL));
}

}  // namespace rix::filtering::smoothing
