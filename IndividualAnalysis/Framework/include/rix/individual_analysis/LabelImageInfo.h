#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/image/ImageCalibration.h>
#include <rix/individual_analysis/MeasureStatus.h>

namespace rix::individual_analysis {

/// What measures know of the analysed label image: everything but its pixels.
struct LabelImageInfo {
    std::vector<std::size_t> numLabels;     ///< objects of each sequence plane: labels that occur, without background
    std::vector<std::uint32_t> labelSizes;  ///< largest label of each sequence plane, 0 where there is none
    std::size_t numSpectralPlanes = 1;      ///< channels of the intensity image
    ImageCalibration calibration;
    DimensionalMode dimensionalMode = DimensionalMode::Mode2d;
};

}  // namespace rix::individual_analysis
