#pragma once

#include <cstddef>
#include <cstdint>
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

/// What the passes have to gather for a measure, beside the number of pixels, the box and the sums of positions of each
/// object, which are always there. Combined bit by bit.
enum GatheredData : std::uint32_t {
    GATHER_NOTHING_MORE = 0,
    GATHER_SECOND_MOMENTS = 1,      ///< sums of products of two coordinates
    GATHER_CONTACTS = 2,            ///< pairs of neighbouring pixels of the same object
    GATHER_OUTLINE = 4,             ///< first and last pixel of each object in each row
    GATHER_INTENSITY = 8,           ///< sums, minimum and maximum of the grey values
    GATHER_WEIGHTED_POSITION = 16,  ///< sums of positions weighted by the grey value
    GATHER_EULER = 32,              ///< the Euler number
    GATHER_VALUES = 64              ///< all grey values
};

/// What the framework has to know of a measure.
struct MeasureAttributes {
    MeasureProcessingType processingType = MeasureProcessingType::None;
    std::uint32_t gathered = GATHER_NOTHING_MORE;
    bool needsIntensity = false;  ///< then there is one value for each channel of the intensity image
    std::vector<MeasureComponent> components;
};

}  // namespace rix::individual_analysis
