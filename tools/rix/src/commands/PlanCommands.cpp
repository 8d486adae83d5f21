// A recipe carried out by many processes: planned once, block by block, joined, and finished.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "../Commands.h"
#include "../Failure.h"
#include "../FileOptions.h"
#include "../Output.h"
#include "../Progress.h"
#include "../plan/Carry.h"
#include "../plan/Planning.h"
#include "../plan/Receipts.h"

namespace rix::cli {
namespace {

struct PlanCommandOptions {
    std::string path;
    std::vector<std::string> parameters;
    std::size_t blocks = 1;
    std::string file;
    std::string record;
    bool json = false;
};

struct CarryCommandOptions {
    std::string plan;
    std::size_t block = 0;
    std::optional<std::size_t> round;
    std::optional<int> threads;
    std::optional<std::uint64_t> memory;
    bool keep = false;
    bool noProgress = false;
    bool json = false;
};

int runPlan(const PlanCommandOptions& options) {
    PlanRequest request;
    request.recipe = options.path;
    request.parameters = parseAssignments(options.parameters);
    const std::string name = request.recipe.stem().string();
    request.record = options.record.empty() ? name + "-record.json" : options.record;
    request.file = options.file.empty() ? name + "-plan.json" : options.file;
    request.blocks = options.blocks;
    Plan plan = makePlan(request);
    setSum(plan);
    claimWorkFolder(plan);
    prepareRound(plan, 0);
    savePlan(plan);
    if (options.json) {
        writeJson(toJson(plan));
    } else {
        writeData(describePlan(plan) + "plan    " + request.file.string() + '\n');
    }
    return DONE;
}

Plan planOf(const CarryCommandOptions& options) {
    Plan plan = openPlan(options.plan);
    checkWorkFolder(plan);
    if (options.round && *options.round >= plan.rounds.size()) {
        throw Failure(WRONG_USAGE, "--round can't be " + std::to_string(*options.round) +
                                       ": the plan has rounds 0 to " + std::to_string(plan.rounds.size() - 1));
    }
    return plan;
}

CarryOptions carryOptionsOf(const CarryCommandOptions& options) {
    CarryOptions carry;
    carry.threads = options.threads;
    carry.memory = options.memory;
    carry.say = [json = options.json](const std::string& line) {
        if (!json) {
            writeData(line);
        }
    };
    return carry;
}

void report(const CarryCommandOptions& options, const nlohmann::json& object, const std::string& line) {
    options.json ? writeJson(object) : writeData(line);
}

bool tellsFinished(const Plan& plan, const CarryCommandOptions& options) {
    if (!isFinished(plan)) {
        return false;
    }
    report(options, {{"done", false}, {"finished", true}}, "nothing to do: the plan is finished\n");
    return true;
}

int runBlock(const CarryCommandOptions& options) {
    const Plan plan = planOf(options);
    if (tellsFinished(plan, options)) {
        return DONE;
    }
    const std::size_t round = options.round.value_or(currentRound(plan));
    if (round >= plan.rounds.size()) {
        report(options, {{"round", nullptr}, {"block", options.block}, {"done", false}},
               "nothing to do: all rounds are joined\n");
        return DONE;
    }
    const std::string name = "block " + std::to_string(options.block) + " of round " + std::to_string(round);
    const std::size_t blocks = plan.rounds[round].grid.blocks();
    if (options.block >= blocks) {
        throw Failure(WRONG_USAGE, "there is no " + name + ", which has " + std::to_string(blocks) +
                                       (blocks == 1 ? " block" : " blocks"));
    }
    bool isDone = false;
    if (isJoined(plan, round)) {
        report(options, {{"round", round}, {"block", options.block}, {"done", false}},
               name + " is done already: the round is joined\n");
        return DONE;
    }
    {
        ConsoleInteraction interaction(chooseProgressDisplay(!options.noProgress && !options.json));
        isDone = carryOutBlock(plan, round, options.block, interaction, carryOptionsOf(options));
    }
    report(options, {{"round", round}, {"block", options.block}, {"done", isDone}},
           name + (isDone ? " done\n" : " is done already\n"));
    return DONE;
}

int runJoin(const CarryCommandOptions& options) {
    const Plan plan = planOf(options);
    if (tellsFinished(plan, options)) {
        return DONE;
    }
    const std::size_t round = options.round.value_or(std::min(currentRound(plan), plan.rounds.size() - 1));
    bool isDone = false;
    {
        ConsoleInteraction interaction(chooseProgressDisplay(!options.noProgress && !options.json));
        isDone = join(plan, round, interaction, carryOptionsOf(options));
    }
    const std::size_t left = plan.rounds.size() - round - 1;
    report(options, {{"round", round}, {"done", isDone}, {"roundsLeft", left}},
           "round " + std::to_string(round) + (isDone ? " joined, " : " is joined already, ") +
               (left == 0 ? "ready to finish" : "ready for round " + std::to_string(round + 1)) + '\n');
    return DONE;
}

int runFinish(const CarryCommandOptions& options) {
    const Plan plan = planOf(options);
    const nlohmann::json record = finish(plan, options.keep, carryOptionsOf(options));
    report(options, record, "record  " + plan.record.string() + '\n');
    return DONE;
}

void addCarryOptions(CLI::App& command, CarryCommandOptions& options) {
    command.add_option("PLAN", options.plan, "What rix plan wrote")->required();
    command.add_flag("--no-progress", options.noProgress, "Draw no progress bar");
    command.add_flag("--json", options.json, "Print what was done, or what goes wrong, as a JSON object");
}

void addRunOptions(CLI::App& command, CarryCommandOptions& options) {
    command.add_option("--round", options.round, "The round; unless given, the first that was not joined")
        ->type_name("R");
    command.add_option("--threads", options.threads, "Use at most so many threads")
        ->check(CLI::PositiveNumber.description(""))
        ->type_name("N");
}

void addBlockCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<CarryCommandOptions>();
    CLI::App* command = program.add_subcommand(
        "block",
        "Do one block of a plan. A block that was done, with its files as they were then, is left; one that was "
        "killed is done again. Blocks may run at the same time, on any machines that share the folder");
    addCarryOptions(*command, *options);
    command->add_option("I", options->block, "The block, from 0")->required();
    addRunOptions(*command, *options);
    command->footer("Example:\n  rix block cells-plan.json 3");
    command->callback([&chosen, options] { chosen = [options] { return runBlock(*options); }; });
}

void addJoinCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<CarryCommandOptions>();
    CLI::App* command = program.add_subcommand(
        "join", "End a round of a plan: check the receipts of its blocks and do the steps that need whole images");
    addCarryOptions(*command, *options);
    addRunOptions(*command, *options);
    command
        ->add_option(
            "--memory", options->memory,
            "Take at most so much memory, as in 500M or 2G, for images, working memory and chunks of images on "
            "disk; unless given, a quarter of the machine's for chunks and no limit on the rest")
        ->transform(CLI::AsSizeValue(false).description(""))
        ->type_name("SIZE");
    command->footer("Example:\n  rix join cells-plan.json --memory 2G");
    command->callback([&chosen, options] { chosen = [options] { return runJoin(*options); }; });
}

void addFinishCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<CarryCommandOptions>();
    CLI::App* command = program.add_subcommand(
        "finish",
        "Write the files of a plan's recipe and its record, when all rounds are joined, and remove what lies in "
        "the plan's folder");
    addCarryOptions(*command, *options);
    command->add_flag("--keep", options->keep, "Leave the plan's folder as it is");
    addWritingOptions(*command);
    command->footer("Example:\n  rix finish cells-plan.json");
    command->callback([&chosen, options] { chosen = [options] { return runFinish(*options); }; });
}

}  // namespace

void addPlanCommands(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<PlanCommandOptions>();
    CLI::App* command = program.add_subcommand(
        "plan",
        "Cut a recipe into blocks that many processes can do, for a scheduler of jobs; docs/batch.md tells how");
    command->add_option("RECIPE", options->path, "The recipe, a JSON file; docs/recipes.md describes it")->required();
    command->add_option("name=value", options->parameters, "Values for the recipe's parameters");
    command->add_option("--blocks", options->blocks, "Make at most so many blocks of an image")
        ->required()
        ->check(CLI::Range(std::size_t{1}, std::size_t{1000000}).description(""))
        ->type_name("N");
    command
        ->add_option(
            "-o,--output", options->file,
            "Where the plan goes; unless given, NAME-plan.json here. What blocks make goes to a folder beside it, "
            "of its name with -work")
        ->type_name("PLAN");
    command->add_option("--record", options->record, "Where the record goes in the end; unless given, NAME-record.json")
        ->type_name("PATH");
    command->add_flag("--json", options->json, "Print the plan, or what goes wrong, as a JSON object");
    command->footer(
        "Then, for I from 0 to N - 1, at the same time or not:\n"
        "  rix block PLAN I\n"
        "  rix join PLAN\n"
        "for each round, and in the end\n"
        "  rix finish PLAN\n"
        "\n"
        "Example:\n  rix plan examples/coins.json folder=. --blocks 4");
    command->callback([&chosen, options] { chosen = [options] { return runPlan(*options); }; });
    addBlockCommand(program, chosen);
    addJoinCommand(program, chosen);
    addFinishCommand(program, chosen);
}

}  // namespace rix::cli
