#pragma once

#include <type_traits>

#include <rix/algorithms/Definition.h>
#include <rix/rules/CompareRules.h>
#include <rix/rules/When.h>

namespace rix::segmentation {

/// What of a filter that starts from markers says where it may go.
template <class Filter>
void declareFloodMask(Filter& filter, algorithms::Properties& properties, const char* description) {
    properties.input(filter.inputMaskImage, description, AddRuleWhenSet(AddRuleAssertSingleElement()),
                     AddRuleWhenSet(AddRuleAssertIntegerOrFloating()),
                     AddRuleWhenSet(AddRuleAssertSameSize(filter.inputGrayImage)));
}

/// The labels that the markers have got, in the markers' type.
template <class Filter>
void declareMarkerLabels(Filter& filter, algorithms::Properties& properties, const char* description) {
    constexpr bool ofVolumes = requires { Filter::CONNECTIVITY_26; };
    properties.output(
        filter.outputLabelImage, description, AddRuleAssertNotNull(), AddRuleDisjointFrom(filter.inputGrayImage),
        AddRuleDisjointFrom(filter.inputMarkerImage),
        AddRuleWhenSet(filter.inputMaskImage, AddRuleDisjointFrom(filter.inputMaskImage)),
        AddRuleEnforceLike(filter.inputGrayImage,
                           {.interpretation = RIX_LABEL,
                            .chosenType = [&filter] { return filter.getInputMarkerImage()->getVoxelType(); },
                            .labelScope = ofVolumes ? LabelScope::Volume : LabelScope::Plane}));
}

}  // namespace rix::segmentation
