#include "PreparedRun.h"

#include <rix/description/Algorithms.h>
#include <rix/description/Values.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/Property.h>

#include "../Failure.h"

namespace rix::cli {
namespace {

/// Everything but images: values, and result objects, which go to a name in memory or a file.
void setOther(PreparedRun& run, BaseProperty& property, const std::string& text, Workspace& workspace) {
    auto* const slot = dynamic_cast<MeasurementSlot*>(&property);
    if (slot == nullptr) {
        if (property.isOutput()) {
            throw Failure(WRONG_USAGE, property.getName() + " is a result and can't be given");
        }
        description::setValue(property, text);
        return;
    }
    auto object = slot->createObject();
    slot->setObject(object.get());
    if (memoryName(text).empty()) {
        run.tables.emplace_back(text, std::move(object));
    } else {
        workspace.keep(text, std::move(object));
    }
}

}  // namespace

PreparedRun prepareRun(const Recipe::Step& step, Workspace& workspace) {
    PreparedRun run;
    run.algorithm = description::createAlgorithm(description::findClass(step.className));
    for (const auto& [name, text] : step.assignments) {
        BaseProperty& property = description::findProperty(*run.algorithm, name);
        switch (description::imageRoleOf(property)) {
            case description::ImageRole::None: setOther(run, property, text, workspace); break;
            case description::ImageRole::Input:
                dynamic_cast<Property<const ImageModel*>&>(property).set(&workspace.input(text));
                break;
            case description::ImageRole::InPlace:
                dynamic_cast<Property<ImageModel*>&>(property).set(&workspace.changed(text));
                break;
            case description::ImageRole::Output: {
                ImageModel& image = workspace.output(text);
                dynamic_cast<Property<ImageModel*>&>(property).set(&image);
                if (memoryName(text).empty()) {
                    run.files.emplace_back(text, &image);
                }
                break;
            }
        }
    }
    step.each.applyTo(*run.algorithm);
    run.resultObjects.create(*run.algorithm);
    return run;
}

}  // namespace rix::cli
