#pragma once

#include <span>

#include "Mapped.h"

/// What operations have in common that put several images into one.
namespace rix::geometry {

using ImageProperty = Property<const ImageModel*>;

/// @throws RuleException when an image that is set differs from the first elsewhere than on the axis, they are more
///         than can be counted, or lie along a spatial axis without spacing
void assertJoinable(std::span<const ImageProperty* const> images, Components axis);

/// The header of the images that are set, one behind the other.
ImageHeader joinedHeader(const BaseAlgorithm& algorithm, std::span<const ImageProperty* const> images, Components axis);

/// Copies the images that are set to their places in the output.
void join(access::ExecutionContext& context, std::span<const ImageProperty* const> images, Components axis,
          ImageModel& output, OptimLevelType level);

template <class Joining>
std::array<const ImageProperty*, 4> imagesOf(const Joining& joining) {
    return {&joining.inputImage1, &joining.inputImage2, &joining.inputImage3, &joining.inputImage4};
}

/// The rules of the images, but for what depends on the axis.
template <class Joining>
void declareImages(Joining& joining, algorithms::Properties& properties) {
    properties.input(joining.inputImage1, "The first image.", AddRulesForPlacedImage());
    const auto further = [&](ImageProperty& image, const char* description) {
        properties.input(image, description, AddRuleWhenSet(AddRuleAssertSingleElement()),
                         AddRuleWhenSet(AddRuleAssertImageNotEmpty()),
                         AddRuleWhenSet(AddRuleAssertSameType(joining.inputImage1)),
                         AddRuleWhenSet(AddRuleAssertSameInterpretation(joining.inputImage1)));
    };
    further(joining.inputImage2, "Optional: the second image.");
    further(joining.inputImage3, "Optional: the third image.");
    further(joining.inputImage4, "Optional: the fourth image.");
}

/// The output along the axis that `axisOf` tells.
template <class Joining, class AxisOf>
void declareJoined(Joining& joining, algorithms::Properties& properties, const char* description,
                   const AxisOf& axisOf) {
    const auto apart = [](const ImageProperty& image) { return AddRuleWhenSet(image, AddRuleDisjointFrom(image)); };
    properties.output(
        joining.outputImage, description, AddRuleAssertNotNull(), apart(joining.inputImage1),
        apart(joining.inputImage2), apart(joining.inputImage3), apart(joining.inputImage4),
        AddRuleEnforceHeader([&joining, axisOf] { return joinedHeader(joining, imagesOf(joining), axisOf(joining)); },
                             "the place in the world of inputImage1"));
}

}  // namespace rix::geometry
