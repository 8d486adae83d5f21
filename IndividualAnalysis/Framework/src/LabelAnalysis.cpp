#include <rix/individual_analysis/LabelAnalysis.h>

#include <memory>

#include <rix/algorithms/Definition.h>
#include <rix/image/ImageDetails.h>
#include <rix/individual_analysis/ObjectValues.h>
#include <rix/rules/KnownWords.h>

#include "LabelAnalysisMemory.h"
#include "LabelAnalysisRun.h"
#include "formula/MeasureRequest.h"
#include "gathering/GatheringNeeds.h"
#include "measures/Measures.h"

namespace rix::individual_analysis {

namespace {

String joined(const std::vector<String>& names) {
    String text;
    for (const String& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

/// What the property "measures" asks for. @throws RuleException for a request that cannot be served
std::shared_ptr<const MeasureGroup> requestOf(const LabelAnalysis& analysis) {
    return readMeasureRequest(
        analysis.getMeasures(), modeOf(*analysis.getInputLabelImage()),
        analysis.getInputIntensityImage() != nullptr ? IntensityUse::Present : IntensityUse::Absent);
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
                     "space, also where each plane was labelled by itself (then a note says so).");
    addRulesForObjects(analysis, analysis.inputLabelImage);
    properties.input(analysis.inputIntensityImage, "The grey values of the objects, when they are measured.");
    addRulesForGreyValues(analysis.inputLabelImage, analysis.inputIntensityImage);
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
