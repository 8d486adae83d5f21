#include "RecipeBudget.h"

#include <algorithm>
#include <map>
#include <string>

#include <rix/description/Algorithms.h>
#include <rix/properties/Property.h>

#include "../ImageFiles.h"

namespace rix::cli {
namespace {

/// Of a picture that is being drawn: four bytes a pixel for itself, for labels or the picture that it stands beside,
/// and for the image that it becomes.
constexpr std::uint64_t bytesOfPixel = 12;

/// Calls `visit(property, whether it is changed in place, text)` for the images that a step makes or changes.
template <class Visit>
void forEachMade(const PreparedRun& run, const Recipe::Step& step, const Visit& visit) {
    for (const auto& [name, text] : step.assignments) {
        BaseProperty& property = description::findProperty(*run.algorithm, name);
        const auto role = description::imageRoleOf(property);
        if (role == description::ImageRole::Output || role == description::ImageRole::InPlace) {
            visit(dynamic_cast<Property<ImageModel*>&>(property), role == description::ImageRole::InPlace, text);
        }
    }
}

/// The images that a run makes go to disk. One that it reads or changes as well is there already, or in memory.
void makeOnDisk(PreparedRun& run, const Recipe::Step& step, Workspace& workspace) {
    auto read = inputsOf(*run.algorithm);
    forEachMade(run, step, [&](Property<ImageModel*>& property, bool isInPlace, const std::string&) {
        if (isInPlace) {
            read.insert(property.get());
        }
    });
    std::map<const ImageModel*, ImageModel*> moved;  // several outputs may have one name
    forEachMade(run, step, [&](Property<ImageModel*>& property, bool, const std::string& text) {
        ImageModel* const before = property.get();
        if (!moved.contains(before)) {
            moved[before] = before->isOnDisk() || read.contains(before) ? before : &workspace.makeOnDisk(text);
        }
        property.set(moved[before]);
    });
    for (auto& [path, image] : run.files) {
        image = moved.at(image);
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
        forEachMade(run, step, [&](const Property<ImageModel*>& property, bool, const std::string&) {
            inUse.insert(property.get());
        });
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
