#pragma once

#include "Recipe.h"

namespace rix::cli {

/// Goes through the recipe with images that have a header but no samples: every name, value, type and rule that does
/// not depend on samples is checked, every file that is read is looked into, every place that is written to is tried.
/// @throws Failure naming the step.
void dryRun(const Recipe& recipe);

}  // namespace rix::cli
