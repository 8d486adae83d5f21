#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>

#include <rix/description/Text.h>

#include "../Commands.h"
#include "../Examples.h"
#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Output.h"
#include "../recipe/RunRecipe.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;

struct DemoOptions {
    std::string folder = "rix-demo";
    std::string imagePath;
};

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw Failure(UNWRITABLE_OUTPUT,
                      "folder " + description::inQuotes(folder.string()) + " can't be made: " + error.message());
    }
}

int runDemo(const DemoOptions& options) {
    const fs::path folder(options.folder);
    RecipeOptions recipe;
    recipe.recipe = findExample("coins.json");
    const fs::path photograph =
        options.imagePath.empty() ? findExample("images/coins.png") : fs::path(options.imagePath);
    recipe.parameters = {{"photograph", photograph.string()}, {"folder", folder.string()}};
    recipe.record = folder / "coins-record.json";
    recipe.progress = chooseProgressDisplay(true);
    readHeader(photograph);  // before there is a folder
    makeFolder(folder);
    runRecipe(recipe);
    writeData("recipe  " + recipe.recipe.string() + '\n');
    return DONE;
}

}  // namespace

void addDemoCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<DemoOptions>();
    CLI::App* command =
        program.add_subcommand("demo", "Measure the coins of a sample photograph, and say where the results are");
    command->add_option("FOLDER", options->folder, "Where the results go; made when it is missing")
        ->capture_default_str();
    command->add_option("--image", options->imagePath, "Another photograph")->type_name("PATH");
    command->footer("Example:\n  rix demo");
    command->callback([&chosen, options] { chosen = [options] { return runDemo(*options); }; });
}

}  // namespace rix::cli
