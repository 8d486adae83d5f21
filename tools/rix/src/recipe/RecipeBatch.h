#pragma once

#include "../batch/BatchOptions.h"
#include "RunRecipe.h"

namespace rix::cli {

/// Runs a recipe for each of many files. Parameters and the path of the record have placeholders for the file. A table
/// that goes to the same path for all files becomes one table with a column for the file; so does a record.
/// @return the exit code
int runRecipes(const RecipeOptions& options, const BatchOptions& batch);

}  // namespace rix::cli
