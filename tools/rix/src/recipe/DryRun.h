#pragma once

#include <filesystem>
#include <set>

#include "../Targets.h"
#include "Recipe.h"

namespace rix::cli {

/// Goes through the recipe with images that have a header but no samples: every name, value, type and rule that does
/// not depend on samples is checked, every file that is read is looked into, every place that is written to is tried.
/// @param targets gets all files that are read and written
/// @param joined tables that are written for several recipes at once, by somebody else: they are tried only
/// @throws Failure naming the step.
void dryRun(const Recipe& recipe, Targets& targets, const std::set<std::filesystem::path>& joined = {});

}  // namespace rix::cli
