#include "Planning.h"

#include <algorithm>
#include <ranges>
#include <set>

#include <rix/description/Algorithms.h>
#include <rix/description/Text.h>
#include <rix/image/RowRefusals.h>
#include <rix/io/ChunkedFile.h>
#include <rix/measurement/PropertyMeasurement.h>

#include "../Failure.h"
#include "../FileOptions.h"
#include "../ImageFiles.h"
#include "../recipe/DryRun.h"
#include "../recipe/Record.h"
#include "PlanImages.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;
using description::ImageRole;

std::uint64_t bytesOfElement(const ImageModel& image) {
    return helper::getSizeOf(image.getVoxelType()) * helper::getElementNumber(image.getElementType()) *
           image.getNumOf(SPECTRAL_SERIES);
}

std::uint64_t product(std::uint64_t a, std::uint64_t b) {
    return b != 0 && a > UINT64_MAX / b ? UINT64_MAX : a * b;
}

/// Goes through the steps with headers instead of images.
class Planner {
public:
    explicit Planner(Plan& plan)
        : m_plan(plan),
          m_workspace([&](const fs::path& object) { return readHeader(plan.inputs.at(object.string()).name); },
                      Workspace::Images::Headers) {}

    void run() {
        for (m_step = 0; m_step < m_plan.steps.size(); ++m_step) {
            Recipe::Step step = m_plan.steps[m_step];
            if (step.kind == Recipe::Step::Kind::Run) {
                rename(step);
                enter(step);
            } else {
                for (Recipe::View& view : step.views) {
                    view.image = objectOf(view.image);
                    view.over = view.over.empty() ? std::string() : objectOf(view.over);
                    m_elsewhere.insert(view.image);
                    m_elsewhere.insert(view.over);
                }
                if (step.kind == Recipe::Step::Kind::Render) {
                    m_plan.outputs.push_back({Plan::Output::Kind::Picture, {}, m_step, step.target});
                } else {
                    addOutput(step.views.front().image, step.target);
                }
            }
            m_plan.renamed.push_back(std::move(step));
        }
        for (Plan::Round& round : m_plan.rounds) {
            cut(round);
        }
    }

private:
    std::string objectOf(const std::string& text) {
        const auto known = m_objects.find(text);
        if (known != m_objects.end()) {
            return known->second;
        }
        const std::string object = "input-" + std::to_string(m_plan.inputs.size());
        m_plan.inputs[object] = {text, identityOfInput(text)};
        return m_objects[text] = object;
    }

    void addOutput(const std::string& object, const fs::path& target) {
        const bool isTable = object.starts_with("table-");
        m_plan.outputs.push_back({isTable ? Plan::Output::Kind::Table : Plan::Output::Kind::Image, object, 0, target});
        m_elsewhere.insert(object);
    }

    void rename(Recipe::Step& step) {
        const auto algorithm = description::createAlgorithm(description::findClass(step.className));
        std::vector<std::pair<std::string, std::string>> images;
        std::vector<std::pair<std::string, std::string>> tables;
        for (Assignment& assignment : step.assignments) {
            const BaseProperty& property = description::findProperty(*algorithm, assignment.name);
            const ImageRole role = description::imageRoleOf(property);
            if (role == ImageRole::Input) {
                assignment.text = objectOf(assignment.text);
            } else if (role == ImageRole::InPlace) {
                throw Failure(WRONG_USAGE, step.className + " changes " + assignment.name +
                                               " in place, which a plan can't have: blocks may be done twice");
            } else if (role == ImageRole::Output || dynamic_cast<const MeasurementSlot*>(&property) != nullptr) {
                auto& made = role == ImageRole::Output ? images : tables;
                made.emplace_back(assignment.text,
                                  (role == ImageRole::Output ? "image-" : "table-") + std::to_string(m_made++));
                assignment.text = made.back().second;
            }
        }
        for (auto* const made : {&images, &tables}) {
            for (const auto& [text, object] : *made) {
                m_objects[text] = object;
                if (memoryName(text).empty()) {
                    addOutput(object, text);
                }
            }
        }
    }

    void enter(const Recipe::Step& step) {
        const PreparedRun run = prepareRun(step, m_workspace);
        run.algorithm->applyAllRules();
        Extents shape{};
        const bool inBlocks = isForBlocks(run, shape);
        const bool fits = !m_plan.rounds.empty() && m_plan.rounds.back().whole.empty() &&
                          (m_plan.rounds.back().inBlocks.empty() || m_plan.rounds.back().grid.image == shape);
        if (m_plan.rounds.empty() || (inBlocks && !fits)) {
            m_plan.rounds.emplace_back();
        }
        Plan::Round& round = m_plan.rounds.back();
        if (inBlocks) {
            round.grid.image = shape;
        }
        (inBlocks ? round.inBlocks : round.whole).push_back(m_step);
        Images& images = m_images[m_step];
        images.round = m_plan.rounds.size() - 1;
        images.inBlocks = inBlocks;
        images.influence = run.algorithm->describe().borderInfluence;
        for (const auto& [name, object] : step.assignments) {
            const ImageRole role = description::imageRoleOf(description::findProperty(*run.algorithm, name));
            if (role == ImageRole::Input) {
                images.read.push_back(object);
            } else if (role == ImageRole::Output) {
                images.made.push_back(object);
            }
        }
    }

    /// What blocks read and write, how far they reach, and how many there are.
    void cut(Plan::Round& round) {
        if (round.inBlocks.empty()) {
            return;
        }
        std::set<std::string> made;
        std::set<std::string> held;
        for (const std::size_t step : round.inBlocks) {
            const Images& images = m_images.at(step);
            made.insert(images.made.begin(), images.made.end());
            held.insert(images.read.begin(), images.read.end());
        }
        std::map<std::string, BorderInfluence> margins;
        for (auto step = round.inBlocks.rbegin(); step != round.inBlocks.rend(); ++step) {
            const Images& images = m_images.at(*step);
            BorderInfluence margin;
            for (const std::string& object : images.made) {
                margin = largestOf(margin, margins[object]);
            }
            margin = sumOf(margin, images.influence);
            for (const std::string& object : images.read) {
                margins[object] = largestOf(margins[object], margin);
                round.grownBy = largestOf(round.grownBy, margin);
            }
        }
        std::uint64_t bytesRead = 0;
        std::uint64_t bytesHeld = 0;
        held.insert(made.begin(), made.end());
        for (const std::string& object : held) {
            const std::uint64_t bytes = bytesOfElement(m_workspace.input(object));
            bytesHeld += bytes;
            if (!made.contains(object)) {
                round.read.push_back(object);
                bytesRead += bytes;
            } else if (isUsedElsewhere(object, round)) {
                round.kept.push_back(object);
            }
        }
        round.grid = cutIntoBlocks(round.grid.image, m_plan.wantedBlocks, round.grownBy);
        round.bytesRead = product(bytesRead, round.grid.allSources(round.grownBy));
        round.blockMemory = product(bytesHeld, round.grid.largestSource(round.grownBy));
    }

    bool isUsedElsewhere(const std::string& object, const Plan::Round& round) const {
        return m_elsewhere.contains(object) ||
               std::ranges::any_of(std::views::values(m_images), [&](const Images& images) {
                   return std::ranges::count(images.read, object) > 0 &&
                          (!images.inBlocks || &m_plan.rounds[images.round] != &round);
               });
    }

    /// Of a step that runs.
    struct Images {
        std::size_t round = 0;
        bool inBlocks = false;
        BorderInfluence influence{};
        std::vector<std::string> read{};
        std::vector<std::string> made{};
    };

    Plan& m_plan;
    Workspace m_workspace;
    std::map<std::string, std::string> m_objects;  ///< by the texts of the recipe, as they stand now
    std::set<std::string> m_elsewhere;             ///< objects that are written or drawn
    std::map<std::size_t, Images> m_images;        ///< by steps
    std::size_t m_made = 0;
    std::size_t m_step = 0;
};

}  // namespace

Plan makePlan(const PlanRequest& request) {
    const Recipe recipe = readRecipe(request.recipe, request.parameters);
    Targets targets;
    targets.addInput(request.recipe, Targets::Kind::Other);
    dryRun(recipe, targets);
    checkCanWriteFile(request.record);
    checkCanWriteFile(request.file);
    targets.addOutput("the record", request.record, Targets::Kind::Other);
    targets.addOutput("the plan", request.file, Targets::Kind::Other);
    targets.refuseCollisions();
    if (targets.useStandardOutput()) {
        throw Failure(WRONG_USAGE, "a recipe that is planned can't write to standard output");
    }
    Plan plan;
    plan.file = fs::absolute(request.file);
    plan.folder = fs::current_path();
    plan.recipe = Record::describeFile(request.recipe);
    plan.record = request.record;
    plan.description = recipe.description;
    plan.parameters = recipe.parameters;
    plan.steps = recipe.steps;
    plan.wantedBlocks = request.blocks;
    Planner(plan).run();
    if (plan.rounds.empty()) {
        throw Failure(WRONG_USAGE, "the recipe runs nothing that could be planned");
    }
    return plan;
}

void prepareRound(const Plan& plan, std::size_t round) {
    const Plan::Round& made = plan.rounds[round];
    Workspace workspace(
        [&](const fs::path& object) {
            return std::make_unique<HeaderImage>(helper::headerOf(*openObject(plan, object.string())));
        },
        Workspace::Images::Headers);
    for (const std::size_t step : made.inBlocks) {
        prepareRun(plan.renamed[step], workspace).algorithm->applyAllRules();
    }
    for (const std::string& object : made.kept) {
        const fs::path path = plan.imageOf(object);
        std::error_code error;
        if (fs::is_directory(path, error)) {
            continue;
        }
        try {
            io::WriteOptions options;
            options.tileColumns = made.grid.chunk[COLUMNS];
            options.tileRows = made.grid.chunk[ROWS];
            const auto image = io::createImage(path, options);
            const ImageModel& header = workspace.input(object);
            if (!helper::applyHeader(helper::headerOf(header), *image)) {
                throw WritingError(helper::takeRowRefusal());
            }
            image->close();
        } catch (const Exception& exception) {
            throw Failure(UNWRITABLE_OUTPUT, exception);
        }
    }
}

}  // namespace rix::cli
