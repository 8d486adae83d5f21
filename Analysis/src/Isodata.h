#pragma once

#include "ValueCounts.h"

namespace rix::analysis {

/// The iterations of the criterion `ISODATA` from a start value on the counts of all values of an image.
double isodataOfCounts(const ValueCounts& values, double start);

}  // namespace rix::analysis
