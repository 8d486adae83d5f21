#include "DryRun.h"

#include <filesystem>
#include <set>

#include <rix/description/Text.h>
#include <rix/image/ImageHeader.h>
#include <rix/io/ImageFile.h>
#include <rix/rendering/View.h>

#include "../Failure.h"
#include "../FileOptions.h"
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

void checkFits(const std::filesystem::path& path, const ImageModel& image) {
    if (!isShaped(image)) {
        return;
    }
    try {
        io::checkImageFits(path, image, writingOptions());
    } catch (const Exception& exception) {
        throw Failure(UNWRITABLE_OUTPUT, exception);
    }
}

}  // namespace

void dryRun(const Recipe& recipe) {
    Workspace workspace(
        readHeader, [] { return std::make_unique<HeaderImage>(); },
        [](const ImageModel& image) { return std::make_unique<HeaderImage>(helper::headerOf(image)); });
    std::set<std::filesystem::path> targets;
    const auto checkTarget = [&targets](const std::filesystem::path& path,
                                        void (*check)(const std::filesystem::path&)) {
        check(path);
        if (!targets.insert(path.lexically_normal()).second) {
            throw Failure(WRONG_USAGE, description::inQuotes(path.string()) + " is written twice");
        }
    };
    for (std::size_t i = 0; i < recipe.steps.size(); ++i) {
        const Recipe::Step& step = recipe.steps[i];
        try {
            if (step.kind == Recipe::Step::Kind::Run) {
                const PreparedRun run = prepareRun(step, workspace);
                run.algorithm->applyAllRules();
                for (const auto& [path, image] : run.files) {
                    checkTarget(path, checkCanWrite);
                    checkFits(path, *image);
                }
                for (const auto& [path, table] : run.tables) {
                    checkTarget(path, checkCanWriteTable);
                }
                continue;
            }
            if (step.kind == Recipe::Step::Kind::Write && workspace.table(step.views.front().image) != nullptr) {
                checkTarget(step.target, checkCanWriteTable);
                continue;
            }
            for (const Recipe::View& view : step.views) {
                const ImageModel& image = workspace.input(view.image);
                const ImageModel* const base = view.over.empty() ? nullptr : &workspace.input(view.over);
                if (step.kind == Recipe::Step::Kind::Write) {
                    checkFits(step.target, image);
                } else if (isShaped(image) && (base == nullptr || isShaped(*base))) {
                    rendering::checkView(image, base, {},
                                         view.numbers ? rendering::LabelNumbers::Drawn : rendering::LabelNumbers::None);
                }
            }
            checkTarget(step.target, checkCanWrite);
        } catch (...) {
            const Failure failure = failureOfCurrentException();
            throw failure.within("step " + std::to_string(i + 1) + " of the recipe" +
                                 (step.className.empty() ? std::string() : " (" + step.className + ')'));
        }
    }
}

}  // namespace rix::cli
