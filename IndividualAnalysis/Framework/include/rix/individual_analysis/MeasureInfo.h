#pragma once

#include <cstddef>
#include <vector>

#include <vessel/DataFrameView.h>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/individual_analysis/Dimension.h>
#include <rix/individual_analysis/MeasureStatus.h>

namespace rix::individual_analysis {

/// What a measure is, in words.
struct MeasureInfo {
    String nativeName;   ///< the name in requests and formulas, with its parameters: "Area", "Percentile(25)"
    String description;  ///< one sentence; the first of a column's description
};

/// One value of a measure: a column of the table.
struct MeasureComponent {
    String suffix;  ///< appended to the native name: "X"; empty for a measure of one value
    String description;
    Dimension dimension;
    String unit;  ///< only where the dimension does not say it: "rad"
    vessel::ColumnType type = vessel::ColumnType::REAL;
};

struct QuantityInfo;

/// What the framework has to know of a measure.
struct MeasureAttributes {
    MeasureProcessingType processingType = MeasureProcessingType::None;
    /// What the first pass has to gather, beside the shape, which it always does.
    std::vector<const QuantityInfo*> quantities{};
    bool needsIntensity = false;  ///< then there is one value for each channel of the intensity image
    std::vector<MeasureComponent> components;
};

}  // namespace rix::individual_analysis
