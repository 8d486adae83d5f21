#include <algorithm>
#include <fstream>

#include <nlohmann/json.hpp>

#include <rix/description/Text.h>
#include <rix/io/TextFile.h>
#include <rix/rendering/View.h>

#include "../Failure.h"
#include "../FileOptions.h"
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

bool isAsked(const io::WriteOptions& options) {
    return options.pyramid || options.compression != io::Compression::FormatDefault;
}

/// Whether nothing else is made of an image.
bool isUsedOnce(const Plan& plan, const std::string& object) {
    return std::ranges::count(plan.outputs, object, &Plan::Output::object) == 1 &&
           std::ranges::none_of(plan.outputs, [&](const Plan::Output& output) {
               return output.kind == Plan::Output::Kind::Picture &&
                      std::ranges::any_of(plan.renamed[output.picture].views, [&](const Recipe::View& view) {
                          return view.image == object || view.over == object;
                      });
           });
}

/// Gives a folder of chunks its name instead of writing it once more, where it is new and on the same disk.
bool movesFolder(const Plan& plan, const Plan::Output& output) {
    const fs::path from = plan.imageOf(output.object);
    std::error_code error;
    if (isAsked(writingOptions()) || from.filename() != output.target.filename() || !isUsedOnce(plan, output.object) ||
        output.target.parent_path().filename() == "labels") {
        return false;
    }
    const bool isThere = fs::exists(fs::symlink_status(output.target, error));
    if (!fs::exists(from, error)) {
        return isThere;  // moved before the process was killed
    }
    if (isThere) {
        return false;  // what gives way to an image, and how, is known where images are written
    }
    for (const auto& entry : fs::recursive_directory_iterator(from, error)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with(".rix-") && name.ends_with(".tmp")) {  // of a block that was killed
            std::error_code ignored;
            fs::remove(entry.path(), ignored);
        }
    }
    fs::rename(from, output.target, error);
    return !error;
}

void writeOutput(const Plan& plan, std::size_t i, bool keep) {
    const Plan::Output& output = plan.outputs[i];
    switch (output.kind) {
        case Plan::Output::Kind::Image:
            if (!keep && movesFolder(plan, output)) {
                break;
            }
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
                                Workspace::Images::InMemory);
            const io::MemoryImage picture = rendering::toImage(drawPicture(plan.renamed[output.picture], workspace));
            saveImage(output.target, picture);
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
        // What tells that the plan is done stays, and what scripts read.
        if (entry.path() != plan.finishReceipt() && entry.path() != plan.roundsFile() &&
            entry.path() != plan.claimFile()) {
            std::error_code ignored;
            fs::remove_all(entry.path(), ignored);
        }
    }
}

/// What is checked and noted before the first output takes a place, perhaps that of an input: the record without
/// outputs.
json beginFinishing(const Plan& plan) {
    if (const auto begun = readReceipt(plan, plan.finishingReceipt())) {
        return begun->at("record");
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
        record.addInput(plan.inputs.at("input-" + std::to_string(i)).name);
    }
    saveReceipt(plan, plan.finishingReceipt(), {{"record", record.json()}}, {});
    return record.json();
}

}  // namespace

json finish(const Plan& plan, bool keep, const CarryOptions& options) {
    if (isFinished(plan)) {
        return readJsonFile(plan.record);
    }
    const std::size_t round = currentRound(plan);
    if (round < plan.rounds.size()) {
        readBlockReceipts(plan, round);
        throw Failure(RUN_FAILED, "round " + std::to_string(round) + " is not joined yet: run rix join");
    }
    json record = beginFinishing(plan);
    for (std::size_t i = 0; i < plan.outputs.size(); ++i) {
        Interrupts::throwIfRequested();
        writeOutput(plan, i, keep);
        record["outputs"].push_back(Record::describeOutput(plan.outputs[i].target));
        options.say("wrote   " + plan.outputs[i].target.string() + '\n');
    }
    saveRecord(plan.record, record);
    saveReceipt(plan, plan.finishReceipt(), {}, {});
    if (!keep) {
        removeWork(plan);
    }
    return record;
}

}  // namespace rix::cli
