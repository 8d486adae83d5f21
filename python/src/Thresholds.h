#pragma once

#include <cstdint>
#include <vector>

namespace rix::python {

/// The threshold of an image of which the counts of its histogram are known, joined from those of its parts, say.
/// @param criterion a value of `ThresholdCriterionType` that needs no more than the counts: any but `ISODATA`
double thresholdOfCounts(const std::vector<std::uint64_t>& counts, double minimum, double maximum, int criterion);

}  // namespace rix::python
