#include <rix/description/Facts.h>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/description/Algorithms.h>
#include <rix/description/Values.h>

namespace rix::description {

PropertyFacts describeProperty(BaseProperty& property) {
    PropertyFacts facts{
        .name = property.getName(),
        .direction = directionOf(property),
        .type = property.getImpl()->describeType(),
        .image = imageRoleOf(property) != ImageRole::None,
        // Results that are no images are made by whoever runs the algorithm, not given.
        .required = (!property.isOutput() || imageRoleOf(property) != ImageRole::None) && isRequired(property),
        .defaultValue = nullptr,
        .defaultText = {},
        .labels = {},
        .rules = property.getImpl()->describeRules(),
        .onlyWith = property.describeRelevance(),
        .description = property.getDescription()};
    if (!facts.required && !property.isOutput()) {
        facts.defaultValue = valueToJson(property);
        facts.defaultText = valueToText(property).value_or(std::string());
    }
    if (const EnumInfo* enumeration = enumerationOf(property)) {
        facts.labels = labelsOf(*enumeration);
    }
    return facts;
}

AlgorithmFacts describeAlgorithm(const BaseAlgorithm& algorithm) {
    const AlgoInfo& info = algorithm.getClassInfo();
    AlgorithmFacts facts{.name = info.getName(),
                         .area = areaOf(algorithm),
                         .library = info.getLibName(),
                         .description = algorithm.describe(),
                         .levels = supportedLevels(algorithm),
                         .deprecatedSince = info.getDeprecationVersion(),
                         .properties = {}};
    const auto untouched = createAlgorithm(info);
    for (BaseProperty* const property : listProperties(*untouched)) {
        facts.properties.push_back(describeProperty(*property));
    }
    return facts;
}

nlohmann::json toJson(const PropertyFacts& facts) {
    return {{"name", facts.name},        {"direction", facts.direction}, {"type", facts.type},
            {"image", facts.image},      {"required", facts.required},   {"default", facts.defaultValue},
            {"labels", facts.labels},    {"rules", facts.rules},         {"description", facts.description},
            {"onlyWith", facts.onlyWith}};
}

nlohmann::json toJson(const AlgorithmFacts& facts) {
    nlohmann::json properties = nlohmann::json::array();
    for (const PropertyFacts& property : facts.properties) {
        properties.push_back(toJson(property));
    }
    const AlgorithmDescription& description = facts.description;
    nlohmann::json outputs = nlohmann::json::array();
    for (const OutputDescription& output : description.outputs) {
        outputs.push_back({{"name", output.name},
                           {"voxelType", helper::voxelTypesToString(output.voxelType)},
                           {"extents", output.extents}});
    }
    const BorderInfluence& influence = description.borderInfluence;
    return {{"name", facts.name},
            {"area", facts.area},
            {"library", facts.library},
            {"summary", description.summary},
            {"kind", algorithmKindToString(description.kind)},
            {"inPlace", description.inPlace},
            {"borderInfluence", {{"lower", influence.lower}, {"upper", influence.upper}}},
            {"extraMemory", {{"bytes", description.extraMemory}, {"isExact", description.extraMemoryIsExact}}},
            {"outputs", std::move(outputs)},
            {"levels", facts.levels},
            {"deprecatedSince", facts.deprecatedSince},
            {"properties", std::move(properties)}};
}

}  // namespace rix::description
