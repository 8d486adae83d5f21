#pragma once

#include <cstddef>
#include <memory>

#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/image/ImageModel.h>
#include <rix/individual_analysis/LabelAnalysisMsr.h>
#include <rix/individual_analysis/MeasureGroup.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/Property.h>

namespace rix::individual_analysis {

struct LabelAnalysisPrivate : algorithms::AbstractPrivateImplementation {
    LabelAnalysisPrivate() { measures = String("Basic"); }

    Property<const ImageModel*> inputLabelImage;
    Property<const ImageModel*> inputIntensityImage;
    Property<String> measures;
    PropertyMeasurement<LabelAnalysisMsr> outputMeasurement;

    /// What `measures` asks for, read by its rule.
    std::shared_ptr<const MeasureGroup> request;
    /// Frames that passes of this run have measured, when frames are iterated.
    std::size_t framesBefore = 0;
};

}  // namespace rix::individual_analysis
