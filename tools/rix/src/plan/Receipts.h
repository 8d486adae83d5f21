#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

#include <nlohmann/json.hpp>

#include "Plan.h"

namespace rix::cli {

/// Makes the folder of a plan and marks it as its own. What a finished plan has left gives way. @throws Failure (wrong
/// usage) when another plan has left work there
void claimWorkFolder(const Plan& plan);
/// @throws Failure (wrong usage) when the folder is of another plan, or gone
void checkWorkFolder(const Plan& plan);

/// Writes a receipt: last of all, whole, with the plan's sum and its own.
/// @param files what the receipt is for; their sums are noted
void saveReceipt(const Plan& plan, const std::filesystem::path& path, nlohmann::json content,
                 const std::vector<std::filesystem::path>& files);
/// A receipt of this plan whose files have the sums that it says; nothing for a missing, damaged or wrong one.
std::optional<nlohmann::json> readReceipt(const Plan& plan, const std::filesystem::path& path);

/// The receipts of all blocks of a round. @throws Failure naming the blocks that have none
std::vector<nlohmann::json> readBlockReceipts(const Plan& plan, std::size_t round);

/// The first round that was not joined; their number when all were.
std::size_t currentRound(const Plan& plan);
bool isFinished(const Plan& plan);
bool isJoined(const Plan& plan, std::size_t round);

}  // namespace rix::cli
