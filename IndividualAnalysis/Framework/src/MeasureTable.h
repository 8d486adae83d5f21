#pragma once

#include <vector>

#include <rix/individual_analysis/LabelAnalysisMsr.h>
#include <rix/individual_analysis/MeasureSet.h>

#include "gathering/ObjectTable.h"

namespace rix::individual_analysis {

/// Gives a result the columns of the requested measures, and a row for each object of a set whose measures are done.
/// @param frames the objects of each frame, for the keys of the rows
void fillTable(LabelAnalysisMsr& result, const MeasureSet& set, const std::vector<ObjectTable>& frames);

}  // namespace rix::individual_analysis
