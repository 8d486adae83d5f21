#pragma once

#include <vector>

#include <rix/individual_analysis/LabelAnalysisMsr.h>
#include <rix/individual_analysis/MeasureSet.h>

#include "gathering/ObjectTable.h"

namespace rix::individual_analysis {

/// Gives a result the columns of the requested measures, and no row.
void startTable(LabelAnalysisMsr& result, const MeasureSet& set);

/// Appends a row for each object of a set whose measures are done. Frames are counted on from those that are there.
/// @param frames the objects of each frame, for the keys of the rows
/// @param firstFrame index of the first of them
void appendToTable(LabelAnalysisMsr& result, const MeasureSet& set, const std::vector<ObjectTable>& frames,
                   std::size_t firstFrame);

}  // namespace rix::individual_analysis
