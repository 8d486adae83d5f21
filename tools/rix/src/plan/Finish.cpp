#include <algorithm>
#include <fstream>
#include <set>

#include <nlohmann/json.hpp>

#include <rix/description/Text.h>
#include <rix/io/TextFile.h>
#include <rix/rendering/View.h>

#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Interrupts.h"
#include "../TableFiles.h"
#include "../recipe/Record.h"
#include "../recipe/RunRecipe.h"
#include "Carry.h"
#include "PlanImages.h"
#include "Receipts.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

void writeOutput(const Plan& plan, std::size_t i) {
    const Plan::Output& output = plan.outputs[i];
    switch (output.kind) {
        case Plan::Output::Kind::Image:
            saveImage(output.target, std::as_const(*openObject(plan, output.object)));
            break;
        case Plan::Output::Kind::Table: {
            std::ifstream file(plan.outputOf(i), std::ios::binary);
            if (!file) {
                throw Failure(UNREADABLE_INPUT,
                              "the table " + description::inQuotes(plan.outputOf(i).string()) + " can't be read");
            }
            saveText(output.target, {std::istreambuf_iterator<char>(file), {}});
            break;
        }
        case Plan::Output::Kind::Picture: {
            Workspace workspace([&](const fs::path& object) { return openObject(plan, object.string()); },
                                [] { return std::unique_ptr<ImageModel>(); },
                                [](const ImageModel&) { return std::unique_ptr<ImageModel>(); });
            saveImage(output.target, std::as_const(*std::make_unique<io::MemoryImage>(
                                         rendering::toImage(drawPicture(plan.renamed[output.picture], workspace)))));
            break;
        }
    }
}

/// What blocks wrote that is written now is looked at again.
void checkBlocks(const Plan& plan) {
    for (std::size_t round = 0; round < plan.rounds.size(); ++round) {
        const auto& kept = plan.rounds[round].kept;
        if (std::ranges::any_of(plan.outputs, [&](const Plan::Output& output) {
                return std::ranges::count(kept, output.object) > 0 || output.kind == Plan::Output::Kind::Picture;
            })) {
            readBlockReceipts(plan, round);
        }
    }
}

void removeWork(const Plan& plan) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(plan.workFolder(), error)) {
        if (entry.path() != plan.finishReceipt() && entry.path().filename() != "plan.json") {
            std::error_code ignored;
            fs::remove_all(entry.path(), ignored);
        }
    }
}

}  // namespace

json finish(const Plan& plan, bool keep, const CarryOptions& options) {
    if (const auto done = readReceipt(plan, plan.finishReceipt())) {
        return done->at("record");
    }
    const std::size_t round = currentRound(plan);
    if (round < plan.rounds.size()) {
        readBlockReceipts(plan, round);
        throw Failure(RUN_FAILED, "round " + std::to_string(round) + " is not joined yet: run rix join");
    }
    checkBlocks(plan);
    Recipe recipe;
    recipe.description = plan.description;
    recipe.parameters = plan.parameters;
    Record record(plan.recipe, recipe);
    for (std::size_t step = 0; step < plan.steps.size(); ++step) {
        if (plan.steps[step].kind == Recipe::Step::Kind::Run) {
            const auto receipt = readReceipt(plan, plan.stepReceipt(step));
            if (!receipt) {
                throw Failure(RUN_FAILED, "step " + std::to_string(step + 1) + " of the recipe has no valid receipt");
            }
            record.addStep(receipt->at("record"));
        }
    }
    for (std::size_t i = 0; i < plan.inputs.size(); ++i) {
        record.addInput(plan.inputs.at("input-" + std::to_string(i)).name);  // before an output takes its place
    }
    for (std::size_t i = 0; i < plan.outputs.size(); ++i) {
        Interrupts::throwIfRequested();
        writeOutput(plan, i);
        record.addOutput(plan.outputs[i].target);
        options.say("wrote   " + plan.outputs[i].target.string() + '\n');
    }
    saveRecord(plan.record, record.json());
    saveReceipt(plan, plan.finishReceipt(), {{"record", record.json()}}, {});
    if (!keep) {
        removeWork(plan);
    }
    return record.json();
}

}  // namespace rix::cli
