#include <rix/individual_analysis/LabelAnalysis.h>

#include <cmath>
#include <limits>

#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/AlgorithmClass.h>
#include <rix/exceptions/Exception.h>
#include <rix/rules/ImageAssertions.h>
#include <rix/rules/RuleSupport.h>
#include <rix/rules/ValueRules.h>
#include <rix/rules/When.h>

#include "LabelAnalysisMemory.h"
#include "LabelAnalysisPrivate.h"
#include "LabelAnalysisRunners.h"
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
                              " on the " + helper::componentToString(axis) +
                              " axis; it must be positive, and 1 where no scale is known.");
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

IntensityUse useOf(const ImageModel* intensity) {
    return intensity != nullptr ? IntensityUse::Present : IntensityUse::Absent;
}

String joined(const std::vector<String>& names) {
    String text;
    for (const String& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

/// Reads the request, and keeps what it asks for.
class RuleReadRequest : public Rules<Property<String>> {
public:
    explicit RuleReadRequest(LabelAnalysisPrivate& state) : m_state(state) {}
    void apply(Property<String>& property) override {
        m_state.request = readMeasureRequest(property.get(), modeOf(*m_state.inputLabelImage.get()),
                                             useOf(m_state.inputIntensityImage.get()));
    }
    String describe() const override {
        return "must be names of measures (" + joined(knownMeasures()->getNames()) + "), presets (" +
               joined(presetNames()) + ") and formulas";
    }

private:
    LabelAnalysisPrivate& m_state;
};

}  // namespace

AlgoInfo& LabelAnalysis::getInfo() {
    return algorithms::classRecord<LabelAnalysis>("LabelAnalysis", &addLabelAnalysisRunners);
}

std::shared_ptr<LabelAnalysis> LabelAnalysis::New() {
    return std::make_shared<LabelAnalysis>();
}

LabelAnalysis::LabelAnalysis(algorithms::AbstractPrivateImplementation* given)
    : BaseAlgorithm(algorithms::orMake<LabelAnalysisPrivate>(given)) {
    auto& state = static_cast<LabelAnalysisPrivate&>(*implementation());
    addInput(state.inputLabelImage, "inputLabelImage", "The labels of the objects; 0 is background.");
    addRules(state.inputLabelImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(),
             AddRuleAssertType({RIX_UINT8, RIX_UINT16, RIX_UINT32}), AddRuleAssertImageNotEmpty(),
             AddRuleAssertDimension(ImageDimension::Any, AxisUse::Refused));
    state.inputLabelImage.getImpl()->addRule(std::make_shared<RuleMeasurable>());
    addInput(state.inputIntensityImage, "inputIntensityImage",
             "The grey values of the objects, when they are measured.");
    addRules(state.inputIntensityImage, AddRuleWhenSet(AddRuleAssertSingleElement()),
             AddRuleWhenSet(AddRuleAssertIntegerOrFloating()), AddRuleWhenSet(AddRuleAssertImageNotEmpty()));
    for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE}) {
        addRules(state.inputIntensityImage, AddRuleWhenSet(AddRuleAssertDimensionImage(axis, state.inputLabelImage)));
    }
    addInput(state.measures, "measures", "What is measured: names, presets and formulas, separated by commas.");
    state.measures.getImpl()->addRule(std::make_shared<RuleReadRequest>(state));
    addOutput(state.outputMeasurement, "outputMeasurement", "A row for each object, a column for each value.");
    addRules(state.outputMeasurement, AddRuleCreateMeasurement());
}

AlgoInfo& LabelAnalysis::getClassInfo() const {
    return getInfo();
}

void LabelAnalysis::applyAllRules() {
    auto& state = static_cast<LabelAnalysisPrivate&>(*implementation());
    state.framesBefore = 0;
    state.request.reset();
    BaseAlgorithm::applyAllRules();
}

AlgorithmDescription LabelAnalysis::describe() const {
    AlgorithmDescription description;
    description.summary = "Measures the objects of a label image.";
    description.kind = AlgorithmKind::Reduction;
    description.extraMemoryIsExact = false;
    const auto& state = static_cast<const LabelAnalysisPrivate&>(*implementation());
    const ImageModel* const labels = state.inputLabelImage.get();
    if (labels == nullptr || !access::contains(access::UnsignedIntegers{}, labels->getVoxelType())) {
        return description;
    }
    try {
        const ImageModel* const intensity = state.inputIntensityImage.get();
        const auto request = readMeasureRequest(state.measures.get(), modeOf(*labels), useOf(intensity));
        description.extraMemory = labelAnalysisMemory(*labels, intensity, *request, getMaximumThreads());
    } catch (const RuleException&) {
        // Nothing can be said of a request that a run would refuse.
    }
    return description;
}

}  // namespace rix::individual_analysis
