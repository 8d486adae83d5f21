#include "RunRecipe.h"

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include <rix/description/Algorithms.h>
#include <rix/description/Values.h>
#include <rix/io/TextFile.h>
#include <rix/rendering/Picture.h>
#include <rix/rendering/View.h>

#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Interrupts.h"
#include "../Output.h"
#include "../TableFiles.h"
#include "DryRun.h"
#include "PreparedRun.h"
#include "Record.h"
#include "Workspace.h"

namespace rix::cli {
namespace {

constexpr std::size_t gapBetweenPictures = 8;
constexpr std::size_t mostRowsShown = 40;

nlohmann::json describeRun(const PreparedRun& run, const Recipe::Step& step, double seconds) {
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
    return {{"run", step.className},
            {"version", run.algorithm->getVersion()},
            {"level", level ? nlohmann::json(description::levelToString(*level)) : nlohmann::json()},
            {"seconds", seconds},
            {"properties", std::move(properties)},
            {"images", std::move(images)},
            {"results", std::move(results)}};
}

/// The recipe as it is carried out: images in memory, files kept back until the end.
class Execution {
public:
    explicit Execution(const RecipeOptions& options, const Recipe& recipe)
        : m_options(options),
          m_recipe(recipe),
          m_workspace(
              loadImage, [] { return std::make_unique<io::MemoryImage>(); },
              [](const ImageModel& image) {
                  return std::make_unique<io::MemoryImage>(dynamic_cast<const io::MemoryImage&>(image));
              }),
          m_record(options.recipe, recipe) {}

    void carryOut() {
        for (std::size_t i = 0; i < m_recipe.steps.size(); ++i) {
            Interrupts::throwIfRequested();
            const Recipe::Step& step = m_recipe.steps[i];
            try {
                carryOut(step);
            } catch (...) {
                throw failureOfCurrentException().within("step " + std::to_string(i + 1) + " of the recipe");
            }
        }
        for (const auto& path : m_workspace.files()) {
            m_record.addInput(path);  // before an output takes its place
        }
        for (const auto& [path, write] : m_files) {
            Interrupts::throwIfRequested();
            write();
            m_record.addOutput(path);
            say("wrote   " + path.string() + '\n');
        }
        try {
            io::writeTextFile(m_options.record, m_record.json().dump(2) + '\n');
        } catch (const Exception& exception) {
            throw Failure(UNWRITABLE_OUTPUT, exception);
        }
        say("record  " + m_options.record.string() + '\n');
        if (m_options.json) {
            writeJson(m_record.json());
        }
    }

private:
    void carryOut(const Recipe::Step& step) {
        if (step.kind == Recipe::Step::Kind::Run) {
            run(step);
        } else if (step.kind == Recipe::Step::Kind::Write) {
            const std::string& name = step.views.front().image;
            if (const auto* const table = m_workspace.table(name)) {
                m_files.emplace_back(step.target,
                                     [frame = table->toDataFrame(), path = step.target] { saveTable(path, frame); });
                return;
            }
            m_files.emplace_back(step.target,
                                 [image = m_workspace.asItIs(name), path = step.target] { saveImage(path, *image); });
        } else {
            // Drawn now: a later step may change the images.
            auto picture = std::make_shared<io::MemoryImage>(rendering::toImage(draw(step)));
            m_files.emplace_back(step.target, [picture, path = step.target] { saveImage(path, *picture); });
        }
    }

    void run(const Recipe::Step& step) {
        PreparedRun run = prepareRun(step, m_workspace);
        const auto start = std::chrono::steady_clock::now();
        {
            ConsoleInteraction interaction(m_options.progress);
            run.algorithm->run(&interaction);
        }
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        m_record.addStep(describeRun(run, step, seconds.count()));
        say("ran     " + step.className + '\n');
        for (const Result& result : readResults(*run.algorithm)) {
            say(result.toText("          ", mostRowsShown));
        }
        for (const auto& file : run.files) {
            m_files.emplace_back(file.first, [file] { saveImage(file.first, *file.second); });
        }
        for (const auto& file : run.tables) {
            m_files.emplace_back(file.first, [file] { saveTable(file.first, file.second->toDataFrame()); });
        }
    }

    rendering::Picture draw(const Recipe::Step& step) {
        std::unique_ptr<rendering::Picture> picture;
        for (const Recipe::View& view : step.views) {
            const ImageModel* const base = view.over.empty() ? nullptr : &m_workspace.input(view.over);
            rendering::Picture next =
                rendering::renderView(m_workspace.input(view.image), base, {},
                                      view.numbers ? rendering::LabelNumbers::Drawn : rendering::LabelNumbers::None);
            picture = std::make_unique<rendering::Picture>(
                picture == nullptr ? std::move(next) : rendering::sideBySide(*picture, next, gapBetweenPictures));
        }
        return std::move(*picture);
    }

    void say(const std::string& text) const {
        if (!m_options.json) {
            writeData(text);
        }
    }

    const RecipeOptions& m_options;
    const Recipe& m_recipe;
    Workspace m_workspace;
    Record m_record;
    std::vector<std::pair<std::filesystem::path, std::function<void()>>> m_files;
};

}  // namespace

void runRecipe(const RecipeOptions& options) {
    const Recipe recipe = readRecipe(options.recipe, options.parameters);
    dryRun(recipe);
    Execution(options, recipe).carryOut();
}

}  // namespace rix::cli
