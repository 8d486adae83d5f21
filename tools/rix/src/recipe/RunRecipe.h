#pragma once

#include <filesystem>
#include <vector>

#include "../Assignments.h"
#include "../Progress.h"

namespace rix::cli {

struct RecipeOptions {
    std::filesystem::path recipe;
    std::vector<Assignment> parameters;
    std::filesystem::path record;  ///< where the record goes
    ProgressDisplay progress = ProgressDisplay::None;
    bool json = false;  ///< prints the record instead of lines for people
};

/// Checks a recipe, runs its steps, and then writes what they made and the record.
/// Files are written when the last step has succeeded; a failure before leaves none.
/// @throws Failure naming the step.
void runRecipe(const RecipeOptions& options);

}  // namespace rix::cli
