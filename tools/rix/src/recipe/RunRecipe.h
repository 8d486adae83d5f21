#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <rix/rendering/Picture.h>

#include <vessel/DataFrame.h>

#include "../Assignments.h"
#include "../Progress.h"
#include "../RunNotes.h"
#include "PreparedRun.h"
#include "Recipe.h"
#include "Workspace.h"

namespace rix::cli {

struct RecipeOptions {
    std::filesystem::path recipe;
    std::vector<Assignment> parameters;
    std::filesystem::path record;  ///< where the record goes
    ProgressDisplay progress = ProgressDisplay::None;
    std::optional<std::uint64_t> memory{};  ///< bytes for all that is in memory
    bool json = false;                      ///< prints the record instead of lines for people
};

/// Checks a recipe, runs its steps, and then writes what they made and the record.
/// Files are written when the last step has succeeded; a failure before leaves none.
/// @throws Failure naming the step.
void runRecipe(const RecipeOptions& options);

/// Where a recipe that is one of several leaves what it does not write itself.
struct RecipeSurroundings {
    InteractionInterface& interaction;
    std::optional<int> threads;                   ///< for each of its runs
    std::optional<std::uint64_t> memory;          ///< bytes
    std::function<void(const std::string&)> say;  ///< takes lines for people
    std::set<std::filesystem::path> joined;       ///< paths of tables that are not written
    std::function<void(const std::filesystem::path&, vessel::DataFrame)> join;  ///< takes them
    std::function<void(const std::string&)> note;                               ///< takes what people should know
};

/// Runs the steps of a recipe that has been checked, and writes what they made. @return the record
nlohmann::json carryOut(const std::filesystem::path& path, const Recipe& recipe,
                        const RecipeSurroundings& surroundings);

/// Runs it. @return what the record says of the run
/// @param step as the recipe has it
nlohmann::json runAndDescribe(const PreparedRun& run, const Recipe::Step& step, InteractionInterface& interaction,
                              const RunNotes& notes);

/// The picture that a step draws.
rendering::Picture drawPicture(const Recipe::Step& step, Workspace& workspace);

void saveRecord(const std::filesystem::path& path, const nlohmann::json& record);

}  // namespace rix::cli
