#include <array>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <rix/description/Algorithms.h>
#include <rix/description/Facts.h>
#include <rix/description/Tables.h>
#include <rix/description/Text.h>
#include <rix/description/Values.h>
#include <rix/properties/Property.h>

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

std::string toText(const description::PropertyFacts& property) {
    std::string text = property.name + "  (" + property.direction + ", " + property.type +
                       (property.required ? ", required)\n" : ")\n");
    description::TextTable details;
    if (!property.description.empty()) {
        text += "      " + property.description + '\n';
    }
    if (!property.defaultValue.is_null()) {
        details.add({"default:", property.defaultText.empty() ? "''" : property.defaultText});
    }
    if (!property.labels.empty()) {
        details.add({"values:", description::join(property.labels)});
    }
    if (!property.onlyWith.empty()) {
        details.add({"with:", property.onlyWith});
    }
    if (!property.rules.empty()) {
        details.add({"rules:", description::join(property.rules, "; ")});
    }
    return "  " + text + details.toText("      ");
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
    return description::join(reaches);
}

/// Sets the values and the input images that are given: what is said of a run may depend on them.
void setInputs(const BaseAlgorithm& algorithm, const std::vector<std::string>& assignments, ImageInputs& inputs) {
    for (const auto& [name, text] : parseAssignments(assignments)) {
        BaseProperty& property = description::findProperty(algorithm, name);
        const description::ImageRole role = description::imageRoleOf(property);
        if (role == description::ImageRole::Input) {
            dynamic_cast<Property<const ImageModel*>&>(property).set(&inputs.read(text));
        } else if (role == description::ImageRole::None && !property.isOutput()) {
            description::setValue(property, text);
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

/// "384 x 303 x 1 x 1 x 1"
std::string sizeOf(const OutputDescription& output) {
    std::vector<std::string> sizes;
    for (const std::size_t size : output.extents) {
        sizes.push_back(std::to_string(size));
    }
    return description::join(sizes, " x ");
}

int runDescribe(const DescribeOptions& options) {
    const AlgoInfo& info = description::findClass(options.className);
    const auto algorithm = description::createAlgorithm(info);
    ImageInputs inputs;
    setInputs(*algorithm, options.assignments, inputs);
    const description::AlgorithmFacts facts = description::describeAlgorithm(*algorithm);
    const std::string example = exampleCommand(info, sampleImages());
    if (options.json) {
        nlohmann::json object = description::toJson(facts);
        object["example"] = example;
        writeJson(object);
        return DONE;
    }
    const AlgorithmDescription& run = facts.description;
    description::TextTable table;
    table.add({"area:", facts.area});
    table.add({"kind:", algorithmKindToString(run.kind) + (run.inPlace ? ", may work in place" : "")});
    if (const std::string reach = reachOf(run.borderInfluence); !reach.empty()) {
        table.add({"reach:", reach});
    }
    if (!options.assignments.empty()) {
        table.add({"memory:", memoryOf(run)});
    }
    for (const OutputDescription& output : run.outputs) {
        table.add(
            {"result:", output.name + ' ' + helper::voxelTypesToString(output.voxelType) + ", " + sizeOf(output)});
    }
    table.add({"levels:", description::join(facts.levels)});
    if (!facts.deprecatedSince.empty()) {
        table.add({"deprecated:", "since " + facts.deprecatedSince});
    }
    std::string text = facts.name + "\n  " + run.summary + "\n\n" + table.toText("  ") + "\nProperties:\n";
    for (const auto& property : facts.properties) {
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
                        "Properties of a run, images as files: the types of its results and its memory depend on them");
    command->add_flag("--json", options->json, "Print a JSON object");
    command->footer("Example:\n  rix describe ThresholdingByCriterion");
    command->callback([&chosen, options] { chosen = [options] { return runDescribe(*options); }; });
}

}  // namespace rix::cli
