#pragma once

#include <cstddef>
#include <memory>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>
#include <rix/individual_analysis/LabelAnalysisMsr.h>
#include <rix/individual_analysis/MeasureGroup.h>

namespace rix::individual_analysis {

/// Measures the objects of a label image and brings the rows into a table.
/// @param intensity may be null
/// @param framesBefore in the table already: rows are appended to them
void analyseLabels(access::ExecutionContext& context, OptimLevelType level, const ImageModel& labels,
                   const ImageModel* intensity, std::shared_ptr<const MeasureGroup> request, LabelAnalysisMsr& result,
                   std::size_t framesBefore);

}  // namespace rix::individual_analysis
