#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <rix/properties/Property.h>

#include "../Algorithms.h"
#include "../Assignments.h"
#include "../Commands.h"
#include "../Examples.h"
#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Output.h"

namespace rix::cli {
namespace {

struct DescribeOptions {
    std::string className;
    std::vector<std::string> assignments;
    bool json = false;
};

/// What a user has to know of a property.
struct PropertyFacts {
    explicit PropertyFacts(BaseProperty& property)
        : name(property.getName()),
          direction(directionOf(property)),
          type(property.getImpl()->describeType()),
          image(imageRoleOf(property) != ImageRole::None),
          required(isRequired(property)),
          rules(property.getImpl()->describeRules()),
          description(property.getDescription()) {
        if (!image && !required && direction != "out") {
            defaultValue = valueToText(property);
        }
        if (const EnumInfo* enumeration = enumerationOf(property)) {
            labels = labelsOf(*enumeration);
        }
    }

    std::string name;
    std::string direction;
    std::string type;
    bool image;
    bool required;
    std::optional<std::string> defaultValue;
    std::vector<std::string> labels;
    std::vector<std::string> rules;
    std::string description;
};

std::string join(const std::vector<std::string>& texts, const char* separator) {
    std::string joined;
    for (const auto& text : texts) {
        joined += (joined.empty() ? "" : separator) + text;
    }
    return joined;
}

std::string toText(const PropertyFacts& property) {
    std::string text = property.name + "  (" + property.direction + ", " + property.type +
                       (property.required ? ", required)\n" : ")\n");
    TextTable details;
    if (!property.description.empty()) {
        text += "      " + property.description + '\n';
    }
    if (property.defaultValue) {
        details.add({"default:", property.defaultValue->empty() ? "''" : *property.defaultValue});
    }
    if (!property.labels.empty()) {
        details.add({"values:", join(property.labels, ", ")});
    }
    if (!property.rules.empty()) {
        details.add({"rules:", join(property.rules, "; ")});
    }
    return "  " + text + details.toText("      ");
}

nlohmann::json toJson(const PropertyFacts& property) {
    nlohmann::json value = {
        {"name", property.name},     {"direction", property.direction}, {"type", property.type},
        {"image", property.image},   {"required", property.required},   {"default", nullptr},
        {"labels", property.labels}, {"rules", property.rules},         {"description", property.description}};
    if (property.defaultValue) {
        value["default"] = *property.defaultValue;
    }
    return value;
}

/// "1 before and 2 after in columns, ...", or nothing when no neighbour has a part in the result.
std::string reachOf(const BorderInfluence& influence) {
    constexpr std::array<const char*, 3> axes{"columns", "rows", "planes"};
    std::vector<std::string> reaches;
    for (std::size_t i = 0; i < axes.size(); ++i) {
        if (influence.lower[i] != 0 || influence.upper[i] != 0) {
            reaches.push_back(std::to_string(influence.lower[i]) + " before and " + std::to_string(influence.upper[i]) +
                              " after along " + axes[i]);
        }
    }
    return join(reaches, ", ");
}

/// Sets the values and the input images that are given: what is said of a run may depend on them.
void setInputs(const BaseAlgorithm& algorithm, const std::vector<std::string>& assignments, ImageInputs& inputs) {
    for (const auto& [name, text] : parseAssignments(assignments)) {
        BaseProperty& property = findProperty(algorithm, name);
        const ImageRole role = imageRoleOf(property);
        if (role == ImageRole::Input) {
            dynamic_cast<Property<const ImageModel*>&>(property).set(&inputs.read(text));
        } else if (role == ImageRole::None && !property.isOutput()) {
            setValue(property, text);
        } else {
            throw Failure(WRONG_USAGE, name + " is made by a run and can't be given");
        }
    }
}

/// "12345 bytes beside the images", of the most that a run takes.
std::string memoryOf(const AlgorithmDescription& description) {
    return (description.extraMemoryIsExact ? "" : "at most ") + std::to_string(description.extraMemory) +
           " bytes beside the images";
}

int runDescribe(const DescribeOptions& options) {
    const AlgoInfo& info = findClass(options.className);
    const auto algorithm = createAlgorithm(info);
    ImageInputs inputs;
    setInputs(*algorithm, options.assignments, inputs);
    const AlgorithmDescription description = algorithm->describe();
    // Of a new object: what was given is no default.
    const auto untouched = createAlgorithm(info);
    std::vector<PropertyFacts> properties;
    for (BaseProperty* property : listProperties(*untouched)) {
        properties.emplace_back(*property);
    }
    const std::string example = exampleCommand(info, sampleImages());
    const auto levels = supportedLevels(*algorithm);
    if (options.json) {
        nlohmann::json list = nlohmann::json::array();
        for (const auto& property : properties) {
            list.push_back(toJson(property));
        }
        const auto& influence = description.borderInfluence;
        writeJson(nlohmann::json{
            {"name", info.getName()},
            {"area", areaOf(*algorithm)},
            {"library", info.getLibName()},
            {"summary", description.summary},
            {"kind", algorithmKindToString(description.kind)},
            {"inPlace", description.inPlace},
            {"borderInfluence", {{"lower", influence.lower}, {"upper", influence.upper}}},
            {"extraMemory", {{"bytes", description.extraMemory}, {"isExact", description.extraMemoryIsExact}}},
            {"levels", levels},
            {"deprecatedSince", info.getDeprecationVersion()},
            {"properties", list},
            {"example", example}});
        return DONE;
    }
    TextTable facts;
    facts.add({"area:", areaOf(*algorithm)});
    facts.add({"kind:", algorithmKindToString(description.kind) + (description.inPlace ? ", may work in place" : "")});
    if (const std::string reach = reachOf(description.borderInfluence); !reach.empty()) {
        facts.add({"reach:", reach});
    }
    if (!options.assignments.empty()) {
        facts.add({"memory:", memoryOf(description)});
    }
    facts.add({"levels:", join(levels, ", ")});
    if (!info.getDeprecationVersion().empty()) {
        facts.add({"deprecated:", "since " + info.getDeprecationVersion()});
    }
    std::string text = info.getName() + "\n  " + description.summary + "\n\n" + facts.toText("  ") + "\nProperties:\n";
    for (const auto& property : properties) {
        text += toText(property);
    }
    writeData(text + "\nExample:\n  " + example + '\n');
    return DONE;
}

}  // namespace

void addDescribeCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<DescribeOptions>();
    CLI::App* command = program.add_subcommand(
        "describe", "Describe an algorithm: its properties with types, defaults, labels and rules");
    command->add_option("CLASS", options->className, "Name of the algorithm, as 'rix list' shows it")->required();
    command->add_option("name=value", options->assignments,
                        "Properties of a run, images as files: the memory that it takes depends on them");
    command->add_flag("--json", options->json, "Print a JSON object");
    command->footer("Example:\n  rix describe ThresholdingByCriterion");
    command->callback([&chosen, options] { chosen = [options] { return runDescribe(*options); }; });
}

}  // namespace rix::cli
