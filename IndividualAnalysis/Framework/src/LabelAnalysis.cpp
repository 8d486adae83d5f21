#include <rix/individual_analysis/LabelAnalysis.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>

#include <rix/algorithms/Definition.h>
#include <rix/image/ImageDetails.h>
#include <rix/rules/KnownWords.h>
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

/// What the property "measures" asks for. @throws RuleException for a request that cannot be served
std::shared_ptr<const MeasureGroup> requestOf(const LabelAnalysis& analysis) {
    return readMeasureRequest(analysis.getMeasures(), modeOf(*analysis.getInputLabelImage()),
                              useOf(analysis.getInputIntensityImage()));
}

class RuleReadRequest : public Rules<Property<String>>, public KnownWords {
public:
    explicit RuleReadRequest(const LabelAnalysis& analysis) : m_analysis(analysis) {}
    void apply(Property<String>& /*property*/) override { static_cast<void>(requestOf(m_analysis)); }
    String describe() const override {
        return "must be names of measures (" + joined(knownMeasures()->getNames()) + "), presets (" +
               joined(presetNames()) + ") and formulas";
    }
    std::vector<String> words() const override {
        std::vector<String> all = presetNames();
        for (const String& name : knownMeasures()->getNames()) {
            if (name.find('(') == String::npos) {
                all.push_back(name);
            }
        }
        return all;
    }

private:
    const LabelAnalysis& m_analysis;
};

void declare(LabelAnalysis& analysis, algorithms::Properties& properties) {
    properties.input(analysis.inputLabelImage,
                     "The labels of the objects; 0 is background. In an image of several planes a label is one body in "
                     "space, also where each plane was labelled by itself (then a note says so).",
                     AddRulesForImageOf({RIX_UINT8, RIX_UINT16, RIX_UINT32}),
                     AddRuleWhen(
                         "unless each channel is a run of its own",
                         [&analysis] { return !analysis.isIterationOnSpectralAxisEnabled(); },
                         AddRuleAssertDimension(ImageDimension::Any, AxisUse::Refused)));
    analysis.inputLabelImage.getImpl()->addRule(std::make_shared<RuleMeasurable>());
    properties.input(analysis.inputIntensityImage, "The grey values of the objects, when they are measured.",
                     AddRuleWhenSet(AddRuleAssertSingleElement()), AddRuleWhenSet(AddRuleAssertIntegerOrFloating()),
                     AddRuleWhenSet(AddRuleAssertImageNotEmpty()));
    for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE}) {
        addRules(analysis.inputIntensityImage,
                 AddRuleWhenSet(AddRuleAssertDimensionImage(axis, analysis.inputLabelImage)));
    }
    analysis.measures = String("Basic");
    properties.input(analysis.measures, "What is measured: names, presets and formulas, separated by commas.");
    analysis.measures.getImpl()->addRule(std::make_shared<RuleReadRequest>(analysis));
    properties.output(analysis.outputMeasurement, "A row for each object, a column for each value.",
                      AddRuleCreateMeasurement());
}

void process(LabelAnalysis& analysis, OptimLevelType level) {
    analyseLabels(analysis.executionContext(), level, *analysis.getInputLabelImage(), analysis.getInputIntensityImage(),
                  requestOf(analysis), *analysis.getOutputMeasurement());
}

std::vector<String> notesOn(const LabelAnalysis& analysis) {
    if (!helper::areLabelsOfPlanes(*analysis.getInputLabelImage())) {
        return {};
    }
    return {"The objects of " + analysis.inputLabelImage.getName() +
            " were told apart plane by plane, as Labeling2d does. Each row measures all voxels of its label in all "
            "planes as one body, which they are not: number bodies with Labeling3d, or measure each plane by itself."};
}

constexpr algorithms::Definition<LabelAnalysis> definition{
    .summary = "Measures the objects of a label image.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
    .memory =
        [](const LabelAnalysis& analysis) {
            return labelAnalysisMemory(*analysis.getInputLabelImage(), analysis.getInputIntensityImage(),
                                       *requestOf(analysis), analysis.getMaximumThreads());
        },
    .memoryIsExact = false,
    .notes = &notesOn,
};

}  // namespace

RIX_DEFINE_ALGORITHM(LabelAnalysis, definition)

}  // namespace rix::individual_analysis
