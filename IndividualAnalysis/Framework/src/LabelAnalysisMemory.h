#pragma once

#include <cstddef>

#include <rix/image/ImageModel.h>
#include <rix/individual_analysis/MeasureGroup.h>

namespace rix::individual_analysis {

/// The most bytes that an analysis can take, from the headers of the images alone. Assumes the worst images that there
/// are: each element an object of its own, as far as the type of the labels has so many labels, and labels as sparse as
/// makes their tables large. Ordinary images, with objects of some hundred elements, take a small part of it.
/// @param intensity may be null
std::size_t labelAnalysisMemory(const ImageModel& labels, const ImageModel* intensity, const MeasureGroup& request,
                                std::size_t threads);

}  // namespace rix::individual_analysis
