// What is done to objects by a measure of each of them: to keep some, or to show it.

#include <algorithm>
#include <bit>
#include <cmath>
#include <variant>

#include <rix/access/KeyTable.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/individual_analysis/ObjectValues.h>
#include <rix/rules/OutputRules.h>
#include <rix/rules/OverlapRules.h>
#include <rix/segmentation/MeasureToImage.h>
#include <rix/segmentation/SelectObjects.h>

#include "LabelRows.h"

namespace rix::segmentation {

namespace {

using individual_analysis::LabelAnalysisMsr;
using individual_analysis::ObjectValueTask;

template <class Filter>
void declareInputs(Filter& filter, algorithms::Properties& properties, Property<String>& text, const char* whatItIs) {
    properties.input(filter.inputLabelImage,
                     "The labels of the objects; in an image of several planes a label is one "
                     "body in space.");
    individual_analysis::addRulesForObjects(filter, filter.inputLabelImage);
    properties.input(filter.inputIntensityImage, "The grey values of the objects, when they are measured.");
    individual_analysis::addRulesForGreyValues(filter.inputLabelImage, filter.inputIntensityImage);
    properties.input(text, whatItIs);
    individual_analysis::addRuleObjectValue(filter, text, filter.inputLabelImage, filter.inputIntensityImage);
}

void declareSelection(SelectObjects& select, algorithms::Properties& properties) {
    select.formula = String("PixelCount > 0");
    declareInputs(select, properties, select.formula, "What holds for the objects that stay.");
    properties.output(select.outputLabelImage, "The objects that stay.", AddRuleAssertNotNull(),
                      AddRuleDisjointFrom(select.inputLabelImage),
                      AddRuleEnforceLike(select.inputLabelImage, {.interpretation = RIX_LABEL}));
}

void declarePainting(MeasureToImage& paint, algorithms::Properties& properties) {
    paint.measure = String("Area");
    declareInputs(paint, properties, paint.measure, "The value that each object gets.");
    properties.output(
        paint.outputImage, "The values.", AddRuleAssertNotNull(), AddRuleDisjointFrom(paint.inputLabelImage),
        AddRuleEnforceLike(paint.inputLabelImage, {.voxelType = RIX_FLOAT32, .interpretation = RIX_VALUE}));
}

ObjectValueTask taskOf(const SelectObjects& select) {
    return {*select.getInputLabelImage(), select.getInputIntensityImage(), select.getFormula()};
}

ObjectValueTask taskOf(const MeasureToImage& paint) {
    return {*paint.getInputLabelImage(), paint.getInputIntensityImage(), paint.getMeasure()};
}

/// Measures objects and keeps what `bitsOf(value)` makes of the value of each that it gives other bits than 0. A step
/// of the run.
template <class BitsOf>
access::KeyTable valuesOf(access::ExecutionContext& context, const ObjectValueTask& task, OptimLevelType level,
                          const BitsOf& bitsOf) {
    constexpr std::size_t columns = 3;
    LabelAnalysisMsr table;
    individual_analysis::measureObjectValue(context, task, table, level);
    const access::MemoryCharge charge(columns * sizeof(double) * table.label.size());
    access::KeyTable values;
    access::Looks looks;
    std::visit(
        [&](const auto& column) {
            for (std::size_t row = 0; row < column.size(); ++row) {
                looks.add(1);
                if (const std::uint64_t bits = bitsOf(static_cast<double>(column[row])); bits != 0) {
                    values[keyOfLabel(static_cast<std::uint64_t>(table.frame[row]),
                                      static_cast<std::uint32_t>(table.label[row]))] = bits;
                }
            }
        },
        table.values.front());
    return values;
}

/// Writes what `resultOf(label, bits)` makes of every voxel of an object: a step of the run.
template <class Label, class Out, class ResultOf>
void writeObjects(access::ExecutionContext& context, const ImageModel& labels, ImageModel& output,
                  const access::KeyTable& values, const ResultOf& resultOf) {
    transformLabels<Label, Out>(context, labels, output, [&](const access::RowSegment& segment) {
        return [&, frame = std::uint64_t{segment.sequence}](Label label) {
            return resultOf(label, values.find(keyOfLabel(frame, label)));
        };
    });
}

void processSelection(SelectObjects& select, OptimLevelType level) {
    access::ExecutionContext& context = select.executionContext();
    const access::Steps steps(context, {0.8, 0.2});
    const ObjectValueTask task = taskOf(select);
    const access::KeyTable chosen =
        valuesOf(context, task, level, [](double value) { return std::uint64_t{value != 0.0 && !std::isnan(value)}; });
    access::dispatch(access::Integers{}, task.labels.getVoxelType(), [&](auto tag) {
        using Label = typename decltype(tag)::type;
        writeObjects<Label, Label>(context, task.labels, *select.getOutputLabelImage(), chosen,
                                   [](Label label, std::uint64_t bits) { return bits != 0 ? label : Label{0}; });
    });
}

void processPainting(MeasureToImage& paint, OptimLevelType level) {
    access::ExecutionContext& context = paint.executionContext();
    const access::Steps steps(context, {0.8, 0.2});
    const ObjectValueTask task = taskOf(paint);
    const access::KeyTable values =
        valuesOf(context, task, level, [](double value) { return std::bit_cast<std::uint64_t>(value); });
    access::dispatch(access::Integers{}, task.labels.getVoxelType(), [&](auto tag) {
        using Label = typename decltype(tag)::type;
        writeObjects<Label, float>(
            context, task.labels, *paint.getOutputImage(), values,
            [](Label /*label*/, std::uint64_t bits) { return static_cast<float>(std::bit_cast<double>(bits)); });
    });
}

/// The values are kept when what they were measured with has gone.
template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ObjectValueTask task = taskOf(filter);
    const Extents n = helper::getExtents(task.labels);
    double frames = 1;
    for (const Components axis : {SEQUENCE, SPECTRAL_SERIES}) {
        frames *= static_cast<double>(n[axis]);
    }
    const double voxels =
        static_cast<double>(n[COLUMNS]) * static_cast<double>(n[ROWS]) * static_cast<double>(n[PLANS]);
    const double types = std::exp2(8.0 * static_cast<double>(helper::getSizeOf(task.labels.getVoxelType())));
    const double objects = frames * std::min(voxels, types);
    const double kept = access::KeyTable::bytesFor(objects) + 3.0 * sizeof(double) * objects;
    return std::max(individual_analysis::objectValueMemory(task, filter.getMaximumThreads()),
                    access::boundOf(kept + rowBytesOf(task.labels, filter.getMaximumThreads())));
}

constexpr algorithms::Definition<SelectObjects> selection{
    .summary = "Keeps the objects of a label image for which a formula over measures holds.",
    .kind = AlgorithmKind::Labeling,
    .declare = &declareSelection,
    .process = &processSelection,
    .memory = &memoryOf<SelectObjects>,
    .memoryIsExact = false,
};

constexpr algorithms::Definition<MeasureToImage> painting{
    .summary = "Paints a measure on the objects that it belongs to.",
    .kind = AlgorithmKind::Labeling,
    .declare = &declarePainting,
    .process = &processPainting,
    .memory = &memoryOf<MeasureToImage>,
    .memoryIsExact = false,
};

}  // namespace

RIX_DEFINE_ALGORITHM(SelectObjects, selection)
RIX_DEFINE_ALGORITHM(MeasureToImage, painting)

}  // namespace rix::segmentation
