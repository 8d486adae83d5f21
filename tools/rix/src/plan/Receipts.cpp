#include "Receipts.h"

#include <algorithm>

#include <rix/description/Text.h>

#include "../Failure.h"
#include "../Interrupts.h"
#include "../Sha256.h"
#include "../TableFiles.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw Failure(UNWRITABLE_OUTPUT,
                      "the folder " + description::inQuotes(folder.string()) + " can't be made: " + error.message());
    }
}

/// By which a receipt is known that was copied to the place of another one.
std::string nameOf(const Plan& plan, const fs::path& receipt) {
    return fs::relative(receipt, plan.workFolder()).string();
}

/// The files that it tells of, as they are.
bool holds(const Plan& plan, const json& files) {
    return std::ranges::all_of(files, [&](const json& file) {
        Interrupts::throwIfRequested();
        const auto sum = sumOfFile(plan.workFolder() / file.at("path").get<std::string>());
        return sum && json(sum->bytes) == file.at("bytes") && json(sum->sha256) == file.at("sha256");
    });
}

}  // namespace

void claimWorkFolder(const Plan& plan) {
    std::error_code error;
    if (readJsonFile(plan.finishReceipt()).is_object()) {
        fs::remove_all(plan.workFolder(), error);
    }
    makeFolder(plan.workFolder());
    const json claim = readJsonFile(plan.claimFile());
    if (claim.is_null() ? !fs::is_empty(plan.workFolder(), error) : claim != json{{"plan", plan.sum}}) {
        throw Failure(WRONG_USAGE, "the folder " + description::inQuotes(plan.workFolder().string()) +
                                       " has the work of another plan; finish that, or remove the folder");
    }
    saveJsonFile(plan.claimFile(), {{"plan", plan.sum}});
    for (std::size_t round = 0; round < plan.rounds.size(); ++round) {
        makeFolder(plan.joinReceipt(round).parent_path());
    }
    for (const std::string& object : plan.madeImages()) {
        makeFolder(plan.imageOf(object).parent_path());
    }
    std::string rounds;
    for (std::size_t round = 0; round < plan.rounds.size(); ++round) {
        rounds += std::to_string(round) + ' ' + std::to_string(plan.rounds[round].grid.blocks()) + '\n';
    }
    saveText(plan.roundsFile(), rounds);
}

void checkWorkFolder(const Plan& plan) {
    if (readJsonFile(plan.claimFile()) != json{{"plan", plan.sum}}) {
        throw Failure(WRONG_USAGE, "the folder " + description::inQuotes(plan.workFolder().string()) +
                                       " is not that of this plan; plan the recipe anew");
    }
}

void saveReceipt(const Plan& plan, const fs::path& path, json content, const std::vector<fs::path>& files) {
    content["plan"] = plan.sum;
    content["receipt"] = nameOf(plan, path);
    content["files"] = json::array();
    for (const fs::path& file : files) {
        const auto sum = sumOfFile(file);
        if (!sum) {
            throw Failure(RUN_FAILED, description::inQuotes(file.string()) + " was written and can't be read");
        }
        content["files"].push_back(
            {{"path", fs::relative(file, plan.workFolder()).string()}, {"bytes", sum->bytes}, {"sha256", sum->sha256}});
    }
    content["sha256"] = sha256Of(content.dump());
    saveJsonFile(path, content);
}

std::optional<json> readReceipt(const Plan& plan, const fs::path& path) {
    json content = readJsonFile(path);
    if (!content.is_object() || content.value("plan", json()) != plan.sum ||
        content.value("receipt", json()) != nameOf(plan, path)) {
        return std::nullopt;
    }
    const json sum = content.value("sha256", json());
    content.erase("sha256");
    if (sum != sha256Of(content.dump()) || !holds(plan, content.at("files"))) {
        return std::nullopt;
    }
    return content;
}

std::vector<json> readBlockReceipts(const Plan& plan, std::size_t round) {
    const std::size_t blocks = plan.rounds[round].grid.blocks();
    std::vector<json> receipts;
    std::vector<std::size_t> missing;
    for (std::size_t block = 0; block < blocks; ++block) {
        auto receipt = readReceipt(plan, plan.blockReceipt(round, block));
        if (receipt) {
            receipts.push_back(std::move(*receipt));
        } else {
            missing.push_back(block);
        }
    }
    if (missing.empty()) {
        return receipts;
    }
    constexpr std::size_t mostShown = 20;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(missing.size(), mostShown); ++i) {
        names.push_back(std::to_string(missing[i]));
    }
    throw Failure(RUN_FAILED, "round " + std::to_string(round) + " is not complete: " + std::to_string(missing.size()) +
                                  " of " + std::to_string(blocks) + " blocks have no valid receipt: " +
                                  description::join(names) + (missing.size() > mostShown ? ", ..." : ""));
}

bool isFinished(const Plan& plan) {
    return readReceipt(plan, plan.finishReceipt()).has_value();
}

bool isJoined(const Plan& plan, std::size_t round) {
    return readReceipt(plan, plan.joinReceipt(round)).has_value();
}

std::size_t currentRound(const Plan& plan) {
    std::size_t round = 0;
    while (round < plan.rounds.size() && isJoined(plan, round)) {
        ++round;
    }
    return round;
}

}  // namespace rix::cli
