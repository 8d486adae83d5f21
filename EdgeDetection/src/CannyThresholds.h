#pragma once

#include <array>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "Field.h"
#include "Hysteresis.h"

namespace rix::edge_detection {

/// How the thresholds of an image follow from what a user gives.
struct ThresholdRule {
    bool areQuantiles = false;
    double lower = -1.0;  ///< negative: a part of the greatest magnitude
    double upper = -1.0;

    bool needsGreatest() const { return lower < 0.0 || upper < 0.0; }
    bool needsMagnitudes() const { return areQuantiles && (lower >= 0.0 || upper >= 0.0); }
};

inline constexpr double lowerPart = 0.1;  ///< of the greatest magnitude
inline constexpr double upperPart = 0.2;

/// The lower and the upper threshold of each image, in the type of the magnitudes. @param job without a margin
template <class T>
access::CountedVector<std::array<T, 2>> cannyThresholds(access::ExecutionContext& context, const ImageModel& input,
                                                        const FieldJob& job, const ThresholdRule& rule,
                                                        const EdgeMap& layout, OptimLevelType level);

}  // namespace rix::edge_detection
