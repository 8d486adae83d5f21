#include "Measures.h"

#include <iterator>

namespace rix::individual_analysis {

namespace {

struct Preset {
    const char* name;
    std::vector<const MeasureDefinition*> measures;
};

const std::vector<Preset>& presets() {
    static const std::vector<Preset> all{
        {"Basic",
         {&pixelCountDefinition, &areaDefinition, &volumeDefinition, &barycenterDefinition, &boundingBoxDefinition,
          &touchesBorderDefinition}},
        {"Shape",
         {&areaDefinition, &volumeDefinition, &extentDefinition, &equivalentDiameterDefinition}},
        {"Intensity",
         {&minimumDefinition, &maximumDefinition, &meanDefinition, &standardDeviationDefinition, &sumDefinition,
          &weightedBarycenterDefinition}},
    };
    return all;
}

}  // namespace

const MeasureNamesHandler& standardMeasures() {
    static const MeasureNamesHandler names = [] {
        MeasureNamesHandler made;
        for (const MeasureDefinition* const definition :
             {&pixelCountDefinition, &areaDefinition, &volumeDefinition, &barycenterDefinition, &boundingBoxDefinition,
              &touchesBorderDefinition, &extentDefinition, &equivalentDiameterDefinition, &minimumDefinition,
              &maximumDefinition, &meanDefinition, &standardDeviationDefinition, &sumDefinition,
              &weightedBarycenterDefinition}) {
            made.add(std::make_shared<const LabelMeasureId>(*definition));
        }
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
