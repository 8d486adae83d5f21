#include "RecipeBudget.h"

#include <algorithm>

#include <rix/description/Algorithms.h>
#include <rix/properties/Property.h>

#include "../ImageFiles.h"

namespace rix::cli {
namespace {

/// Of a picture that is being drawn: four bytes a pixel for itself, for labels or the picture that it stands beside,
/// and for the image that it becomes.
constexpr std::uint64_t bytesOfPixel = 12;

/// The images that a run makes go to disk. One that it reads as well is there already.
void makeOnDisk(PreparedRun& run, const Recipe::Step& step, Workspace& workspace) {
    const auto inputs = inputsOf(*run.algorithm);
    for (const auto& [name, text] : step.assignments) {
        BaseProperty& property = description::findProperty(*run.algorithm, name);
        if (description::imageRoleOf(property) != description::ImageRole::Output) {
            continue;
        }
        auto& output = dynamic_cast<Property<ImageModel*>&>(property);
        const ImageModel* const before = output.get();
        if (before->isOnDisk() || inputs.contains(before)) {
            continue;
        }
        output.set(&workspace.makeOnDisk(text));
        for (auto& [path, image] : run.files) {
            image = image == before ? output.get() : image;
        }
    }
}

}  // namespace

RecipeBudget::RecipeBudget(std::optional<std::uint64_t> memory) {
    if (memory) {
        m_budget.emplace(*memory);
        m_budget->limitReading();
    }
}

std::unique_ptr<ImageModel> RecipeBudget::load(const std::filesystem::path& path, const Workspace& workspace) const {
    if (!m_budget) {
        return loadImage(path);
    }
    m_budget->limitFurther(workspace.images());
    return openOrLoadImage(path);
}

void RecipeBudget::fit(PreparedRun& run, const Recipe::Step& step, Workspace& workspace) const {
    if (!m_budget) {
        return;
    }
    auto inUse = inputsOf(*run.algorithm);
    if (std::ranges::any_of(inUse, &ImageModel::isOnDisk) || !m_budget->fits(*run.algorithm, workspace.images())) {
        makeOnDisk(run, step, workspace);
    }
    if (!m_budget->fits(*run.algorithm, workspace.images())) {
        for (const BaseProperty* const property : description::listProperties(*run.algorithm)) {
            if (const auto* const image = dynamic_cast<const Property<ImageModel*>*>(property)) {
                inUse.insert(image->get());
            }
        }
        workspace.moveToDisk(inUse);
    }
    m_budget->fit(*run.algorithm, workspace.images());
}

void RecipeBudget::fitPicture(const Recipe::Step& step, Workspace& workspace) const {
    if (!m_budget) {
        return;
    }
    std::uint64_t bytes = 0;
    for (const Recipe::View& view : step.views) {
        const ImageModel& image = workspace.input(view.image);
        if (!view.over.empty()) {
            workspace.input(view.over);  // read now, so that it counts
        }
        bytes += bytesOfPixel * image.getNumOf(COLUMNS) * image.getNumOf(ROWS);
    }
    if (!m_budget->hasRoom(bytes, workspace.images())) {
        workspace.moveToDisk({});
    }
    m_budget->checkRoom("the picture", bytes, workspace.images());
}

}  // namespace rix::cli
