#pragma once

#include <cstddef>
#include <memory>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>
#include <rix/individual_analysis/LabelAnalysisMsr.h>
#include <rix/individual_analysis/MeasureGroup.h>

namespace rix::individual_analysis {

/// Measures the objects of a label image and fills a table anew.
/// @param intensity may be null
void analyseLabels(access::ExecutionContext& context, OptimLevelType level, const ImageModel& labels,
                   const ImageModel* intensity, std::shared_ptr<const MeasureGroup> request, LabelAnalysisMsr& result);

}  // namespace rix::individual_analysis
