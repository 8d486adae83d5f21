#include <nlohmann/json.hpp>

#include <rix/description/Algorithms.h>
#include <rix/exceptions/Exception.h>
#include <rix/io/ChunkedFile.h>
#include <rix/properties/Property.h>
#include <rix/settings/Settings.h>

#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Interrupts.h"
#include "../TableFiles.h"
#include "../recipe/RunRecipe.h"
#include "../run/MemoryBudget.h"
#include "Carry.h"
#include "PlanImages.h"
#include "Planning.h"
#include "Receipts.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// An image that a step makes, in a folder that appears when it is complete.
struct Made {
    fs::path path;
    std::unique_ptr<io::DiskImage> image;
};

/// Images are read from disk and made there, where the program is told how much memory it may take.
void runWhole(const Plan& plan, std::size_t step, InteractionInterface& interaction, const CarryOptions& options) {
    Workspace workspace([&](const fs::path& object) { return openObject(plan, object.string()); },
                        Workspace::Images::InMemory);
    std::optional<MemoryBudget> budget;
    if (options.memory) {
        budget.emplace(*options.memory);
        budget->limitReading();
    }
    const PreparedRun run = prepareRun(plan.renamed[step], workspace);
    if (options.threads) {
        run.algorithm->settings().setMaximumNumberOfThreads(*options.threads);
    }
    std::vector<Made> made;
    for (const auto& [object, placeholder] : run.files) {
        made.push_back({plan.imageOf(object.string()), io::createImage(plan.imageOf(object.string()))});
        for (BaseProperty* const property : description::listProperties(*run.algorithm)) {
            auto* const output = dynamic_cast<Property<ImageModel*>*>(property);
            if (output != nullptr && output->get() == placeholder) {
                output->set(made.back().image.get());
            }
        }
    }
    if (budget) {
        budget->fit(*run.algorithm);
    }
    const RunNotes notes(*run.algorithm);
    json record = runAndDescribe(run, plan.steps[step], interaction, notes);
    for (Made& image : made) {
        saveImage(image.path, *image.image);
    }
    std::vector<fs::path> tables;
    for (const auto& [object, table] : run.tables) {
        for (std::size_t i = 0; i < plan.outputs.size(); ++i) {
            if (plan.outputs[i].object == object.string()) {
                tables.push_back(plan.outputOf(i));
                saveTable(tables.back(), table->toDataFrame());
            }
        }
    }
    saveReceipt(plan, plan.stepReceipt(step), {{"record", std::move(record)}}, tables);
}

/// One record of a step out of those of all blocks.
void joinRecords(const Plan& plan, const Plan::Round& round, const std::vector<json>& receipts) {
    for (std::size_t i = 0; i < round.inBlocks.size(); ++i) {
        json record = receipts.front().at("steps").at(i);
        double seconds = 0;
        std::uint64_t wrapped = 0;
        for (const json& receipt : receipts) {
            const json& part = receipt.at("steps").at(i);
            seconds += part.at("seconds").get<double>();
            wrapped += part.at("wrappedVoxels").get<std::uint64_t>();
        }
        record["seconds"] = seconds;
        record["wrappedVoxels"] = wrapped;
        saveReceipt(plan, plan.stepReceipt(round.inBlocks[i]), {{"record", std::move(record)}}, {});
    }
}

}  // namespace

bool join(const Plan& plan, std::size_t round, InteractionInterface& interaction, const CarryOptions& options) {
    const Plan::Round& made = plan.rounds[round];
    if (isJoined(plan, round)) {
        return false;
    }
    if (round > 0 && !isJoined(plan, round - 1)) {
        throw Failure(RUN_FAILED, "round " + std::to_string(round - 1) + " is not joined yet");
    }
    const std::vector<json> receipts = readBlockReceipts(plan, round);
    if (!receipts.empty()) {
        joinRecords(plan, made, receipts);
    }
    for (const std::size_t step : made.whole) {
        Interrupts::throwIfRequested();
        if (readReceipt(plan, plan.stepReceipt(step))) {
            continue;
        }
        try {
            runWhole(plan, step, interaction, options);
        } catch (...) {
            throw failureOfCurrentException().within("step " + std::to_string(step + 1) + " of the recipe");
        }
        options.say("ran     " + plan.steps[step].className + '\n');
    }
    if (round + 1 < plan.rounds.size()) {
        prepareRound(plan, round + 1);
    }
    saveReceipt(plan, plan.joinReceipt(round), {{"round", round}}, {});
    return true;
}

}  // namespace rix::cli
