#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>
#include <rix/individual_analysis/LabelAnalysisMsr.h>
#include <rix/properties/Property.h>

/// For algorithms that use a measure, or what a formula makes of measures, of every object of a label image.
namespace rix::individual_analysis {

/// The rules of a label image whose objects are measured.
void addRulesForObjects(BaseAlgorithm& algorithm, Property<const ImageModel*>& labels);
/// Those of the grey values beside it, which may be left out.
void addRulesForGreyValues(const Property<const ImageModel*>& labels, Property<const ImageModel*>& intensity);

/// Attaches the rule that a text asks for one value of each object: a formula, a value of a measure, or a measure that
/// has only one. Grey values must then have one channel, unless each channel is a run of its own.
void addRuleObjectValue(const BaseAlgorithm& algorithm, Property<String>& text,
                        const Property<const ImageModel*>& labels, const Property<const ImageModel*>& intensity);

/// What to be measured of objects; grey values may be null.
struct ObjectValueTask {
    const ImageModel& labels;
    const ImageModel* intensity;
    String text;
};

/// Measures it: a table of one column beside the frame and the label, in their order.
void measureObjectValue(access::ExecutionContext& context, const ObjectValueTask& task, LabelAnalysisMsr& result,
                        OptimLevelType level);

/// An upper bound of the bytes that it takes.
std::size_t objectValueMemory(const ObjectValueTask& task, std::size_t threads);

}  // namespace rix::individual_analysis
