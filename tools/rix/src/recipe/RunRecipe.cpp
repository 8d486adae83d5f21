#include "RunRecipe.h"

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include <rix/description/Algorithms.h>
#include <rix/description/Values.h>
#include <rix/rendering/Picture.h>
#include <rix/rendering/View.h>
#include <rix/settings/Settings.h>

#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Interrupts.h"
#include "../Output.h"
#include "../RunNotes.h"
#include "../TableFiles.h"
#include "DryRun.h"
#include "PreparedRun.h"
#include "RecipeBudget.h"
#include "Record.h"
#include "Workspace.h"

namespace rix::cli {
namespace {

constexpr std::size_t gapBetweenPictures = 8;
constexpr std::size_t mostRowsShown = 40;

/// The share of one step in the progress of all.
class StepInteraction : public InteractionInterface {
public:
    StepInteraction(InteractionInterface& whole, std::size_t step, std::size_t steps)
        : m_whole(whole), m_step(step), m_steps(steps) {}
    void setProgress(double progress) override {
        m_whole.setProgress((static_cast<double>(m_step) + progress) / static_cast<double>(m_steps));
    }
    void setProgressionMessage(const String& message) override { m_whole.setProgressionMessage(message); }
    bool isCancelRequested() override { return m_whole.isCancelRequested(); }

private:
    InteractionInterface& m_whole;
    std::size_t m_step;
    std::size_t m_steps;
};

/// The recipe as it is carried out: images in memory or temporary data, files kept back until the end.
class Execution {
public:
    Execution(const std::filesystem::path& path, const Recipe& recipe, const RecipeSurroundings& surroundings)
        : m_recipe(recipe),
          m_surroundings(surroundings),
          m_budget(surroundings.memory),
          m_workspace([&](const std::filesystem::path& name) { return m_budget.load(name, m_workspace); },
                      m_budget.images()),
          m_record(path, recipe) {}

    nlohmann::json carryOut() {
        for (m_step = 0; m_step < m_recipe.steps.size(); ++m_step) {
            Interrupts::throwIfRequested();
            try {
                carryOut(m_recipe.steps[m_step]);
            } catch (...) {
                throw failureOfCurrentException().within("step " + std::to_string(m_step + 1) + " of the recipe");
            }
        }
        for (const auto& path : m_workspace.files()) {
            m_record.addInput(path);  // before an output takes its place
        }
        for (const auto& [path, write] : m_files) {
            Interrupts::throwIfRequested();
            write();
            m_record.addOutput(path);
            m_surroundings.say("wrote   " + path.string() + '\n');
        }
        return m_record.json();
    }

private:
    void carryOut(const Recipe::Step& step) {
        if (step.kind == Recipe::Step::Kind::Run) {
            run(step);
        } else if (step.kind == Recipe::Step::Kind::Write) {
            const std::string& name = step.views.front().image;
            if (const auto* const table = m_workspace.table(name)) {
                keepTable(step.target, table->toDataFrame());
                return;
            }
            m_files.emplace_back(step.target,
                                 [image = m_workspace.asItIs(name), path = step.target] { saveImage(path, *image); });
        } else {
            m_budget.fitPicture(step, m_workspace);
            // Drawn now: a later step may change the images.
            auto picture = std::make_shared<io::MemoryImage>(rendering::toImage(drawPicture(step, m_workspace)));
            m_workspace.track(picture);
            m_files.emplace_back(step.target, [picture, path = step.target] { saveImage(path, *picture); });
        }
    }

    void run(const Recipe::Step& step) {
        PreparedRun run = prepareRun(step, m_workspace);
        if (m_surroundings.threads) {
            run.algorithm->settings().setMaximumNumberOfThreads(*m_surroundings.threads);
        }
        m_budget.fit(run, step, m_workspace);
        StepInteraction interaction(m_surroundings.interaction, m_step, m_recipe.steps.size());
        const RunNotes notes(*run.algorithm);
        m_record.addStep(runAndDescribe(run, step, interaction, notes));
        m_surroundings.say("ran     " + step.className + '\n');
        for (const std::string& note : notes.lines(*run.algorithm)) {
            m_surroundings.note("step " + std::to_string(m_step + 1) + "  " + note);
        }
        for (const Result& result : readResults(*run.algorithm)) {
            m_surroundings.say(result.toText("          ", mostRowsShown));
        }
        for (const auto& file : run.files) {
            m_files.emplace_back(file.first, [file] { saveImage(file.first, *file.second); });
        }
        for (const auto& file : run.tables) {
            keepTable(file.first, file.second->toDataFrame());
        }
    }

    void keepTable(const std::filesystem::path& path, vessel::DataFrame table) {
        if (m_surroundings.joined.contains(path)) {
            m_surroundings.join(path, std::move(table));
        } else {
            m_files.emplace_back(path, [path, table = std::move(table)] { saveTable(path, table); });
        }
    }

    const Recipe& m_recipe;
    const RecipeSurroundings& m_surroundings;
    RecipeBudget m_budget;
    Workspace m_workspace;
    Record m_record;
    std::vector<std::pair<std::filesystem::path, std::function<void()>>> m_files;
    std::size_t m_step = 0;
};

}  // namespace

nlohmann::json carryOut(const std::filesystem::path& path, const Recipe& recipe,
                        const RecipeSurroundings& surroundings) {
    return Execution(path, recipe, surroundings).carryOut();
}

void runRecipe(const RecipeOptions& options) {
    const Recipe recipe = readRecipe(options.recipe, options.parameters);
    Targets targets;
    targets.addInput(options.recipe, Targets::Kind::Other);
    dryRun(recipe, targets);
    checkCanWriteFile(options.record);
    targets.addOutput("the record", options.record, Targets::Kind::Other);
    targets.refuseCollisions();
    const bool dataOnStandardOutput = targets.useStandardOutput();
    if (options.json && dataOnStandardOutput) {
        throw Failure(WRONG_USAGE, "--json and an output \"-\" would both go to standard output");
    }
    const auto say = [&](const std::string& text) {
        if (!options.json) {
            dataOnStandardOutput ? writeMessage(text) : writeData(text);
        }
    };
    nlohmann::json record;
    {
        ConsoleInteraction console(options.progress);
        const auto sayBesideBar = [&](const std::string& text) {
            console.wipe();
            say(text);
        };
        const auto noteBesideBar = [&](const std::string& text) {
            if (!options.json) {
                console.wipe();
                writeMessage(text);
            }
        };
        record = carryOut(options.recipe, recipe,
                          {.interaction = console,
                           .threads = {},
                           .memory = options.memory,
                           .say = sayBesideBar,
                           .joined = {},
                           .join = {},
                           .note = noteBesideBar});
    }
    saveRecord(options.record, record);
    say("record  " + options.record.string() + '\n');
    if (options.json) {
        writeJson(record);
    }
}

nlohmann::json runAndDescribe(const PreparedRun& run, const Recipe::Step& step, InteractionInterface& interaction,
                              const RunNotes& notes) {
    const auto start = std::chrono::steady_clock::now();
    run.algorithm->run(&interaction);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    nlohmann::json properties = nlohmann::json::object();
    for (const BaseProperty* property : description::listProperties(*run.algorithm)) {
        if (const auto text = description::valueToText(*property); text && !property->isOutput()) {
            properties[property->getName()] = *text;
        }
    }
    nlohmann::json images = nlohmann::json::object();
    for (const auto& [name, text] : step.assignments) {
        if (description::imageRoleOf(description::findProperty(*run.algorithm, name)) != description::ImageRole::None) {
            images[name] = text;
        }
    }
    nlohmann::json results = nlohmann::json::object();
    for (const Result& result : readResults(*run.algorithm)) {
        results[result.name] = result.toJson();
    }
    const auto level = run.algorithm->getLastRunLevel();
    nlohmann::json record = {{"run", step.className},
                             {"version", run.algorithm->getVersion()},
                             {"level", level ? nlohmann::json(description::levelToString(*level)) : nlohmann::json()},
                             {"seconds", seconds.count()},
                             {"properties", std::move(properties)},
                             {"images", std::move(images)},
                             {"results", std::move(results)}};
    notes.addTo(record);
    return record;
}

rendering::Picture drawPicture(const Recipe::Step& step, Workspace& workspace) {
    std::unique_ptr<rendering::Picture> picture;
    for (const Recipe::View& view : step.views) {
        const ImageModel* const base = view.over.empty() ? nullptr : &workspace.input(view.over);
        rendering::Picture next = rendering::renderView(
            workspace.input(view.image), base, {},
            view.numbers ? rendering::LabelNumbers::Drawn : rendering::LabelNumbers::None, &Interrupts::requested);
        picture = std::make_unique<rendering::Picture>(
            picture == nullptr ? std::move(next) : rendering::sideBySide(*picture, next, gapBetweenPictures));
    }
    return std::move(*picture);
}

void saveRecord(const std::filesystem::path& path, const nlohmann::json& record) {
    saveText(path, record.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + '\n');
}

}  // namespace rix::cli
