#include "Measures.h"

#include <rix/rules/RuleSupport.h>

#include "LabelMeasure.h"

namespace rix::individual_analysis {

namespace {

const std::vector<const MeasureDefinition*>& definitions() {
#define RIX_ADDRESS_OF_MEASURE(name) &name##Definition,
    static const std::vector<const MeasureDefinition*> all{RIX_MEASURES(RIX_ADDRESS_OF_MEASURE)};
#undef RIX_ADDRESS_OF_MEASURE
    return all;
}

struct Preset {
    const char* name;
    std::vector<const MeasureDefinition*> measures;
};

const std::vector<Preset>& presets() {
    static const std::vector<Preset> all{
        {"Basic",
         {&pixelCountDefinition, &areaDefinition, &volumeDefinition, &barycenterDefinition, &boundingBoxDefinition,
          &touchesBorderDefinition, &minimumDefinition, &maximumDefinition, &meanDefinition,
          &standardDeviationDefinition}},
        {"Shape",
         {&areaDefinition, &perimeterDefinition, &volumeDefinition, &surfaceAreaDefinition,
          &equivalentDiameterDefinition, &extentDefinition, &principalAxesDefinition, &orientationDefinition,
          &elongationDefinition, &circularityDefinition, &sphericityDefinition, &eulerNumberDefinition}},
        {"Convexity", {&feretDefinition, &convexAreaDefinition, &convexVolumeDefinition, &solidityDefinition}},
        {"Intensity",
         {&minimumDefinition, &maximumDefinition, &meanDefinition, &standardDeviationDefinition, &sumDefinition,
          &weightedBarycenterDefinition}},
        {"All", definitions()},
    };
    return all;
}

std::shared_ptr<const BaseMeasureUniqueId> makePercentile(double percentage) {
    if (!(percentage >= 0.0 && percentage <= 100.0)) {
        return nullptr;
    }
    return std::make_shared<const LabelMeasureId>(
        percentileDefinition, String(percentileDefinition.name) + '(' + rules::numberToText(percentage) + ')',
        percentage);
}

}  // namespace

const MeasureNamesHandler& standardMeasures() {
    static const MeasureNamesHandler names = [] {
        MeasureNamesHandler made;
        for (const MeasureDefinition* const definition : definitions()) {
            made.add(std::make_shared<const LabelMeasureId>(*definition));
        }
        made.add(std::make_shared<const LabelMeasureId>(convexHullDefinition));
        made.addFamily(percentileDefinition.name, &makePercentile);
        return made;
    }();
    return names;
}

std::vector<String> presetMeasures(const String& preset, DimensionalMode mode) {
    std::vector<String> names;
    for (const Preset& candidate : presets()) {
        if (preset == candidate.name) {
            for (const MeasureDefinition* const measure : candidate.measures) {
                if (existsIn(measure->existence, mode)) {
                    names.emplace_back(measure->name);
                }
            }
        }
    }
    return names;
}

std::vector<String> presetNames() {
    std::vector<String> names;
    for (const Preset& preset : presets()) {
        names.emplace_back(preset.name);
    }
    return names;
}

}  // namespace rix::individual_analysis
