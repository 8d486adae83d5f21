#pragma once

#include <memory>

#include <vessel/DataFrameView.h>

#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/image/ImageModel.h>
#include <rix/individual_analysis/MeasureGroup.h>
#include <rix/properties/Property.h>

namespace rix::individual_analysis {

struct LabelAnalysisPrivate : algorithms::AbstractPrivateImplementation {
    LabelAnalysisPrivate() { measures = String("Basic"); }

    Property<const ImageModel*> inputLabelImage;
    Property<const ImageModel*> inputIntensityImage;
    Property<String> measures;
    Property<std::shared_ptr<vessel::DataFrameView>> outputTable;

    /// What `measures` asks for, read by its rule.
    std::shared_ptr<const MeasureGroup> request;
    /// The table of the passes before, when frames are iterated.
    std::shared_ptr<const vessel::DataFrameView> earlierPasses;
};

}  // namespace rix::individual_analysis
