#pragma once

#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include <rix/algorithms/BaseAlgorithm.h>

#include "../Results.h"
#include "Recipe.h"
#include "Workspace.h"

namespace rix::cli {

/// An algorithm with its properties set, as a step of a recipe wants it.
struct PreparedRun {
    std::unique_ptr<BaseAlgorithm> algorithm;
    ResultObjects resultObjects;
    /// The outputs that go to files: path, and image or table.
    std::vector<std::pair<std::filesystem::path, const ImageModel*>> files;
    std::vector<std::pair<std::filesystem::path, std::shared_ptr<measurement::MeasurementObject>>> tables;
};

/// Makes the algorithm of a step and gives it its values and images.
/// @throws Failure: wrong usage, unreadable input.
PreparedRun prepareRun(const Recipe::Step& step, Workspace& workspace);

}  // namespace rix::cli
