#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include <rix/algorithms/InteractionInterface.h>

#include "Plan.h"

namespace rix::cli {

/// What the processes of a plan may be told.
struct CarryOptions {
    std::optional<int> threads;
    std::optional<std::uint64_t> memory;          ///< bytes, of what works on whole images
    std::function<void(const std::string&)> say;  ///< takes lines for people
};

/// Does a block of a round, unless it has a valid receipt: then false. What it was killed at before is done again.
/// @throws Failure when the round before was not joined; what a run throws
bool carryOutBlock(const Plan& plan, std::size_t round, std::size_t block, InteractionInterface& interaction,
                   const CarryOptions& options);

/// Does what a round does with whole images, when all its blocks have valid receipts, and prepares the next one.
/// A step that was done is not done again. False when the round is joined already.
bool join(const Plan& plan, std::size_t round, InteractionInterface& interaction, const CarryOptions& options);

/// Writes what the recipe writes, and its record, which it returns; removes what lies in the plan's folder. Of a plan
/// that is finished the record is read; null when it is gone.
/// @param keep leaves that
nlohmann::json finish(const Plan& plan, bool keep, const CarryOptions& options);

}  // namespace rix::cli
