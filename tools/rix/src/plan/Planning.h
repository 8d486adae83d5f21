#pragma once

#include <filesystem>
#include <vector>

#include "../Assignments.h"
#include "../recipe/PreparedRun.h"
#include "Plan.h"

namespace rix::cli {

struct PlanRequest {
    std::filesystem::path recipe;
    std::vector<Assignment> parameters;
    std::filesystem::path record;
    std::size_t blocks = 1;  ///< the most of a round
    std::filesystem::path file;
};

/// Checks a recipe as a dry run does and makes its plan; no sample is read.
/// @throws Failure as a dry run does, and for what can't be done by several processes
Plan makePlan(const PlanRequest& request);

/// Whether the run, whose rules have been applied, gives on a part of its images, with its influence around, the bits
/// that it gives on the whole of them.
/// @param shape gets the extents of its images, of one channel
bool isForBlocks(const PreparedRun& run, Extents& shape);

/// Makes the images of a round, which blocks then write: their types follow from what lies on disk by now.
void prepareRound(const Plan& plan, std::size_t round);

/// "2 rounds ...", for people.
std::string describePlan(const Plan& plan);

}  // namespace rix::cli
