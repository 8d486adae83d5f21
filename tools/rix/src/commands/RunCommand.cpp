#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <rix/description/Algorithms.h>
#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>
#include <rix/description/Values.h>
#include <rix/properties/Property.h>
#include <rix/settings/Settings.h>

#include "../Assignments.h"
#include "../Commands.h"
#include "../Failure.h"
#include "../FileOptions.h"
#include "../ImageFiles.h"
#include "../Interrupts.h"
#include "../Output.h"
#include "../Progress.h"
#include "../Results.h"
#include "../TableFiles.h"

namespace rix::cli {
namespace {

struct RunOptions {
    std::string className;
    std::vector<std::string> assignments;
    std::optional<int> threads;
    std::string maxLevel;
    std::string csv;
    bool noProgress = false;
    bool json = false;
};

/// An image property and the file that stands for it.
struct ImageAssignment {
    BaseProperty* property;
    description::ImageRole role;
    std::string path;
};

/// Sets every value, and returns the images for later: a slip in the last value must not cost the reading of images.
std::vector<ImageAssignment> setValues(const BaseAlgorithm& algorithm, const std::vector<Assignment>& assignments) {
    std::vector<ImageAssignment> images;
    for (const auto& [name, text] : assignments) {
        BaseProperty& property = description::findProperty(algorithm, name);
        const description::ImageRole role = description::imageRoleOf(property);
        if (role != description::ImageRole::None) {
            if (text.empty()) {
                throw Failure(WRONG_USAGE, name + " needs the path of an image");
            }
            images.push_back({&property, role, text});
        } else if (property.isOutput()) {
            throw Failure(WRONG_USAGE, name + " is a result: it is printed after the run and can't be given");
        } else {
            description::setValue(property, text);
        }
    }
    return images;
}

/// Gives every image property its image: outputs first, because checking where they go is quick.
ImageOutputs bindImages(const std::vector<ImageAssignment>& images, ImageInputs& inputs) {
    ImageOutputs outputs;
    for (const auto& [property, role, path] : images) {
        if (role == description::ImageRole::Input) {
            continue;
        }
        auto image = std::make_unique<io::MemoryImage>();
        dynamic_cast<Property<ImageModel*>&>(*property).set(image.get());
        outputs.add(property->getName(), path, std::move(image));
    }
    for (const auto& [property, role, path] : images) {
        if (role == description::ImageRole::Input) {
            dynamic_cast<Property<const ImageModel*>&>(*property).set(&inputs.read(path));
        } else if (role == description::ImageRole::InPlace) {
            // A copy of its own: the same file may also be an input that has to stay as it is.
            auto* image = dynamic_cast<Property<ImageModel*>&>(*property).get();
            dynamic_cast<io::MemoryImage&>(*image) = *loadImage(path);
        }
    }
    return outputs;
}

OptimLevelType levelFromOption(const std::string& text) {
    for (const OptimLevelType level : {SCALAR, VEC_SSE, VEC_AVX}) {
        if (description::levelToString(level) == text) {
            return level;
        }
    }
    throw Failure(WRONG_USAGE, "--max-level can't be " + description::inQuotes(text) + ": it takes scalar, sse, avx",
                  description::suggest(text, {"scalar", "sse", "avx"}));
}

void applyLimits(BaseAlgorithm& algorithm, const RunOptions& options) {
    if (options.threads) {
        algorithm.settings().setMaximumNumberOfThreads(*options.threads);
    }
    if (!options.maxLevel.empty()) {
        algorithm.setMaxOptimLevel(levelFromOption(options.maxLevel));
    }
}

/// Every file is whole or not there. When one can't be written, those before it stay, and were named.
void writeImages(const ImageOutputs& outputs, const RunOptions& options) {
    for (const auto& entry : outputs.entries()) {
        Interrupts::throwIfRequested();
        saveImage(entry.path, *entry.image);
        if (!options.json) {
            writeMessage(entry.property + " written to " + entry.path.string() + ' ' +
                         helper::describeImage(*entry.image) + '\n');
        }
    }
}

/// The table that a run makes; null when it makes none.
std::shared_ptr<const vessel::DataFrame> tableOf(const std::vector<Result>& results) {
    for (const Result& result : results) {
        if (result.table != nullptr) {
            return result.table;
        }
    }
    return nullptr;
}

void report(const BaseAlgorithm& algorithm, const ImageOutputs& outputs, double seconds, const RunOptions& options) {
    const auto results = readResults(algorithm);
    if (!options.csv.empty()) {
        const auto table = tableOf(results);
        saveTable(options.csv, *table);
        writeMessage("table of " + std::to_string(table->getRowCount()) + " rows written to " + options.csv + '\n');
    }
    if (options.json) {
        nlohmann::json images = nlohmann::json::object();
        for (const auto& entry : outputs.entries()) {
            images[entry.property] = {{"path", entry.path.string()},
                                      {"extents", helper::getExtents(*entry.image)},
                                      {"voxelType", helper::voxelTypesToString(entry.image->getVoxelType())}};
        }
        nlohmann::json values = nlohmann::json::object();
        for (const auto& result : results) {
            values[result.name] = result.toJson();
        }
        const auto level = algorithm.getLastRunLevel();
        writeJson(
            nlohmann::json{{"class", algorithm.getClassInfo().getName()},
                           {"level", level ? nlohmann::json(description::levelToString(*level)) : nlohmann::json()},
                           {"seconds", seconds},
                           {"images", images},
                           {"results", values}});
        return;
    }
    for (const auto& result : results) {
        if (result.table == nullptr || options.csv.empty()) {
            writeData(result.toText());
        }
    }
}

int runRun(const RunOptions& options) {
    const auto algorithm = description::createAlgorithm(description::findClass(options.className));
    const auto images = setValues(*algorithm, parseAssignments(options.assignments));
    applyLimits(*algorithm, options);
    ResultObjects resultObjects;
    resultObjects.create(*algorithm);
    if (!options.csv.empty()) {
        if (tableOf(readResults(*algorithm)) == nullptr) {
            throw Failure(WRONG_USAGE, "--csv: " + options.className + " makes no table");
        }
        checkCanWriteFile(options.csv);
    }
    ImageInputs inputs;
    const ImageOutputs outputs = bindImages(images, inputs);

    const auto start = std::chrono::steady_clock::now();
    {
        // Objects on standard error are for programs: no bar between them.
        ConsoleInteraction interaction(chooseProgressDisplay(!options.noProgress && !options.json));
        algorithm->run(&interaction);
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    writeImages(outputs, options);
    report(*algorithm, outputs, seconds.count(), options);
    return DONE;
}

}  // namespace

void addRunCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<RunOptions>();
    CLI::App* command = program.add_subcommand("run", "Run an algorithm on files");
    command->add_option("CLASS", options->className, "Name of the algorithm, as 'rix list' shows it")->required();
    command->add_option("name=value", options->assignments,
                        "Properties, as 'rix describe CLASS' shows them; an image property takes the path of a file. "
                        "Outputs are written when the run has succeeded, in the format of their extension");
    command->add_option("--threads", options->threads, "Use at most N threads")
        ->check(CLI::Range(1, 1 << 20).description(""))
        ->type_name("N");
    command->add_option("--max-level", options->maxLevel, "Use no implementation above this level")
        ->type_name("scalar|sse|avx");
    command->add_option("--csv", options->csv, "Write the table that the run makes to this file instead of printing it")
        ->type_name("PATH");
    command->add_flag("--no-progress", options->noProgress, "Draw no progress bar");
    command->add_flag("--json", options->json, "Print results, or what goes wrong, as a JSON object");
    addReadingOptions(*command);
    addWritingOptions(*command);
    command->footer(
        "Example:\n"
        "  rix run AutoThresholdingBright inputGrayImage=examples/images/coins.png thresholdCriterion=FACTORISATION"
        " outputBinaryImage=coins-binary.tif");
    command->callback([&chosen, options] { chosen = [options] { return runRun(*options); }; });
}

}  // namespace rix::cli
