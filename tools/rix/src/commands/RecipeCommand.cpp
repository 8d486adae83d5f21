#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "../Commands.h"
#include "../Failure.h"
#include "../FileOptions.h"
#include "../recipe/RecipeBatch.h"

namespace rix::cli {
namespace {

struct RecipeCommandOptions {
    std::string path;
    std::vector<std::string> parameters;
    std::string record;
    std::optional<std::uint64_t> memory;
    BatchOptions batch;
    bool noProgress = false;
    bool json = false;
};

int runCommand(const RecipeCommandOptions& options) {
    RecipeOptions recipe;
    recipe.recipe = options.path;
    recipe.parameters = parseAssignments(options.parameters);
    recipe.record = options.record.empty() ? recipe.recipe.stem().string() + "-record.json" : options.record;
    recipe.progress = chooseProgressDisplay(!options.noProgress && !options.json);
    recipe.memory = options.memory;
    recipe.json = options.json;
    if (!options.batch.files.empty()) {
        return runRecipes(recipe, options.batch);
    }
    options.batch.refuseWithoutFiles(options.parameters, options.record);
    runRecipe(recipe);
    return DONE;
}

}  // namespace

void addRecipeCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<RecipeCommandOptions>();
    CLI::App* command = program.add_subcommand(
        "recipe",
        "Run a chain of algorithms with images passed in memory, or on disk with --memory. The whole recipe is checked "
        "before the first pixel is read; files are written when every step has succeeded, and a record of what was run "
        "beside them");
    command->add_option("FILE", options->path, "The recipe, a JSON file; docs/recipes.md describes it")->required();
    command->add_option(
        "name=value", options->parameters,
        "Values for the recipe's parameters; brackets behind the name of an image select a part, as in a.tif[z=3]");
    command->add_option("--record", options->record, "Where the record goes; unless given, NAME-record.json here")
        ->type_name("PATH");
    addMemoryOption(*command, options->memory);
    options->batch.addTo(*command);
    command->add_flag("--no-progress", options->noProgress, "Draw no progress bar");
    command->add_flag("--json", options->json, "Print the record, or what goes wrong, as a JSON object");
    addReadingOptions(*command);
    addWritingOptions(*command);
    command->footer(
        "Many files:\n"
        "  rix recipe examples/coins.json photograph={file} folder=out/{stem} --files photographs/*.png\n"
        "A table that has the same path for all files becomes one table with a column for the file.\n"
        "\n"
        "Example:\n  rix recipe examples/coins.json folder=.");
    command->callback([&chosen, options] { chosen = [options] { return runCommand(*options); }; });
}

}  // namespace rix::cli
