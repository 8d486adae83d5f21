#pragma once

#include <memory>
#include <vector>

#include <vessel/DataFrame.h>

#include <rix/individual_analysis/MeasureSet.h>

#include "gathering/ObjectTable.h"

namespace rix::individual_analysis {

/// The values of the requested measures as a table, behind the rows of an earlier one with the same columns.
/// @param frames the objects of each frame, for the keys of the rows
/// @param earlier may be null; its frames come before
std::shared_ptr<vessel::DataFrame> makeMeasureTable(const MeasureSet& set, const std::vector<ObjectTable>& frames,
                                                    const vessel::DataFrameView* earlier);

}  // namespace rix::individual_analysis
