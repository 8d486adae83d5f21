#pragma once

#include <cstdint>

#include <rix/algorithms/AbstractPrivateImplementation.h>

#include "labeling/LabelingBody.h"

namespace rix::segmentation {

/// The private part of `Labeling2d` and `Labeling3d`.
struct LabelingState : algorithms::AbstractPrivateImplementation {
    LabelingTuning tuning;
    RunVisitor visitRun;
    std::uint64_t numberOfLabels = 0;
};

}  // namespace rix::segmentation
