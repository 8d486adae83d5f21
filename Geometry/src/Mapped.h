#pragma once

#include <rix/algorithms/Definition.h>
#include <rix/rules/OverlapRules.h>
#include <rix/rules/When.h>

#include "AxisMap.h"
#include "Gather.h"
#include "World.h"

/// What operations have in common whose output is their input by other indices.
namespace rix::geometry {

/// The rules of an image whose place in the world is asked for.
struct AddRulesForPlacedImage {
    template <class T>
    void operator()(Property<T>& property) const {
        AddRulesForScalarImage()(property);
        addRules(property, AddRuleAssertPlaced());
    }
};

/// `mappedHeader`, of the whole image.
/// @throws RuleException where frames or channels are to be runs of their own, and the maps move them
ImageHeader headerOfRun(const BaseAlgorithm& algorithm, const ImageModel& input, const AxisMaps& maps);

/// The rules of an output that becomes what `header` says, apart from its inputs.
template <class... Inputs>
void declareOutput(algorithms::Properties& properties, Property<ImageModel*>& output, const char* description,
                   RuleEnforceHeader::Header header, const Inputs&... inputs) {
    properties.output(output, description, AddRuleAssertNotNull(), AddRuleDisjointFrom(inputs)...,
                      AddRuleEnforceHeader(std::move(header), "the place in the world that follows from the inputs"));
}

/// The definition of an operation whose maps a function tells.
template <class Operation, AxisMaps (*mapsOf)(const Operation&)>
struct Mapped {
    static void declareInput(Operation& operation, algorithms::Properties& properties, const char* description) {
        properties.input(operation.inputImage, description, AddRulesForPlacedImage());
    }
    static void declareOutput(Operation& operation, algorithms::Properties& properties, const char* description) {
        geometry::declareOutput(
            properties, operation.outputImage, description,
            [&operation] { return headerOfRun(operation, *operation.getInputImage(), mapsOf(operation)); },
            operation.inputImage);
    }
    static void process(Operation& operation, OptimLevelType level) {
        gather(operation.executionContext(), *operation.getInputImage(), mapsOf(operation), *operation.getOutputImage(),
               level);
    }
};

}  // namespace rix::geometry
