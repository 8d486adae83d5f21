#include <rix/individual_analysis/ObjectValues.h>

#include <cmath>
#include <limits>
#include <memory>

#include <rix/rules/InputRules.h>
#include <rix/rules/SizeRules.h>
#include <rix/rules/SpacingRules.h>
#include <rix/rules/When.h>

#include "LabelAnalysisMemory.h"
#include "LabelAnalysisRun.h"
#include "formula/MeasureRequest.h"
#include "gathering/GatheringNeeds.h"
#include "measures/Measures.h"

namespace rix::individual_analysis {

namespace {

/// Lengths need a scale, and positions in a row 32 bits.
class RuleMeasurable : public Rules<Property<const ImageModel*>> {
public:
    bool isIndividual() const override { return true; }
    void apply(Property<const ImageModel*>& property) override {
        const ImageModel& image = *property.get();
        const int axes = modeOf(image) == DimensionalMode::Mode3d ? 3 : 2;
        for (int i = 0; i < axes; ++i) {
            const auto axis = static_cast<Components>(i);
            const double spacing = image.getSpacingOf(axis);
            if (!(spacing > 0.0) || !std::isfinite(spacing)) {
                rules::refuse(rules::parameterText(property) + " has the spacing " + rules::numberToText(spacing) +
                              " on the " + helper::componentToString(axis) + " axis; it must be positive. " +
                              rules::spacingCure);
            }
            if (image.getNumOf(axis) > std::numeric_limits<std::uint32_t>::max()) {
                rules::refuse(rules::parameterText(property) + " has " + std::to_string(image.getNumOf(axis)) + ' ' +
                              helper::componentToString(axis) + "; at most " +
                              std::to_string(std::numeric_limits<std::uint32_t>::max()) + " are accepted.");
            }
        }
    }
    String describe() const override { return "must have positive spacings"; }
};

std::shared_ptr<const MeasureGroup> requestOf(const ObjectValueTask& task) {
    return readMeasureRequest(task.text, modeOf(task.labels),
                              task.intensity != nullptr ? IntensityUse::Present : IntensityUse::Absent);
}

class RuleObjectValue : public Rules<Property<String>> {
public:
    RuleObjectValue(const BaseAlgorithm& algorithm, const Property<const ImageModel*>& labels,
                    const Property<const ImageModel*>& intensity)
        : m_algorithm(algorithm), m_labels(labels), m_intensity(intensity) {}
    void apply(Property<String>& property) override {
        const auto request = requestOf({*m_labels.get(), m_intensity.get(), property.get()});
        std::size_t values = 0;
        bool needsIntensity = false;
        for (const auto& measure : request->getMeasures()) {
            const MeasureAttributes attributes = measure->getMeasureAttributes(modeOf(*m_labels.get()));
            values += attributes.components.size();
            needsIntensity = needsIntensity || attributes.needsIntensity;
        }
        if (values != 1) {
            rules::refuse(rules::parameterText(property) + ' ' + describe() + '.',
                          '"' + property.get() + "\" gives " + std::to_string(values) + '.');
        }
        if (needsIntensity && m_intensity.get()->getNumOf(SPECTRAL_SERIES) > 1 &&
            !m_algorithm.isIterationOnSpectralAxisEnabled()) {
            rules::refuse(rules::parameterText(property) + " needs grey values of one channel.",
                          rules::parameterText(m_intensity) + " has " +
                              std::to_string(m_intensity.get()->getNumOf(SPECTRAL_SERIES)) + '.');
        }
    }
    String describe() const override {
        return "must give one value for each object: a formula, a measure of one value, or a value of a measure";
    }

private:
    const BaseAlgorithm& m_algorithm;
    const Property<const ImageModel*>& m_labels;
    const Property<const ImageModel*>& m_intensity;
};

}  // namespace

void addRulesForObjects(BaseAlgorithm& algorithm, Property<const ImageModel*>& labels) {
    addRules(labels, AddRulesForImageOf({RIX_UINT8, RIX_UINT16, RIX_UINT32}),
             AddRuleWhen(
                 "unless each channel is a run of its own",
                 [&algorithm] { return !algorithm.isIterationOnSpectralAxisEnabled(); },
                 AddRuleAssertDimension(ImageDimension::Any, AxisUse::Refused)));
    labels.getImpl()->addRule(std::make_shared<RuleMeasurable>());
}

void addRulesForGreyValues(const Property<const ImageModel*>& labels, Property<const ImageModel*>& intensity) {
    addRules(intensity, AddRuleWhenSet(AddRuleAssertSingleElement()), AddRuleWhenSet(AddRuleAssertIntegerOrFloating()),
             AddRuleWhenSet(AddRuleAssertImageNotEmpty()));
    for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE}) {
        addRules(intensity, AddRuleWhenSet(AddRuleAssertDimensionImage(axis, labels)));
    }
}

void addRuleObjectValue(const BaseAlgorithm& algorithm, Property<String>& text,
                        const Property<const ImageModel*>& labels, const Property<const ImageModel*>& intensity) {
    text.getImpl()->addRule(std::make_shared<RuleObjectValue>(algorithm, labels, intensity));
}

void measureObjectValue(access::ExecutionContext& context, const ObjectValueTask& task, LabelAnalysisMsr& result,
                        OptimLevelType level) {
    analyseLabels(context, level, task.labels, task.intensity, requestOf(task), result);
}

std::size_t objectValueMemory(const ObjectValueTask& task, std::size_t threads) {
    return labelAnalysisMemory(task.labels, task.intensity, *requestOf(task), threads);
}

}  // namespace rix::individual_analysis
