#include "DryRun.h"

#include <string>

#include <rix/image/ImageHeader.h>
#include <rix/rendering/View.h>

#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Output.h"
#include "../TableFiles.h"
#include "PreparedRun.h"

namespace rix::cli {
namespace {

/// An output whose shape follows from samples has none yet.
bool isShaped(const ImageModel& image) {
    std::size_t elements = 0;
    return helper::getElementCount(image, elements) && elements != 0;
}

void checkShaped(const std::filesystem::path& path, const ImageModel& image) {
    if (isShaped(image)) {
        checkFits(path, image);
    }
}

}  // namespace

void dryRun(const Recipe& recipe, Targets& targets, const std::set<std::filesystem::path>& joined) {
    Workspace workspace(readHeader, Workspace::Images::Headers);
    std::string place;
    const auto announceImage = [&](const std::filesystem::path& path) {
        checkCanWrite(path);
        targets.addOutput(place, path, Targets::Kind::Image);
    };
    const auto announceTable = [&](const std::filesystem::path& path) {
        checkCanWriteTable(path);
        if (!joined.contains(path)) {
            targets.addOutput(place, path, Targets::Kind::Other);
        }
    };
    for (std::size_t i = 0; i < recipe.steps.size(); ++i) {
        const Recipe::Step& step = recipe.steps[i];
        place = "step " + std::to_string(i + 1);
        try {
            if (step.kind == Recipe::Step::Kind::Run) {
                const PreparedRun run = prepareRun(step, workspace);
                run.algorithm->applyAllRules();
                for (const auto& [path, image] : run.files) {
                    announceImage(path);
                    checkShaped(path, *image);
                }
                for (const auto& [path, table] : run.tables) {
                    announceTable(path);
                }
                continue;
            }
            if (step.kind == Recipe::Step::Kind::Write && workspace.table(step.views.front().image) != nullptr) {
                announceTable(step.target);
                continue;
            }
            for (const Recipe::View& view : step.views) {
                const ImageModel& image = workspace.input(view.image);
                const ImageModel* const base = view.over.empty() ? nullptr : &workspace.input(view.over);
                if (step.kind == Recipe::Step::Kind::Write) {
                    checkShaped(step.target, image);
                } else if (isShaped(image) && (base == nullptr || isShaped(*base))) {
                    rendering::checkView(image, base, {},
                                         view.numbers ? rendering::LabelNumbers::Drawn : rendering::LabelNumbers::None);
                }
            }
            announceImage(step.target);
        } catch (...) {
            const Failure failure = failureOfCurrentException();
            throw failure.within(place + " of the recipe" +
                                 (step.className.empty() ? std::string() : " (" + step.className + ')'));
        }
    }
    for (const auto& path : workspace.files()) {
        targets.addInput(path);
    }
}

}  // namespace rix::cli
