#include <algorithm>
#include <cctype>
#include <memory>
#include <mutex>
#include <vector>

#include <rix/exceptions/Exception.h>
#include <rix/individual_analysis/MeasureDefinition.h>

#include "LabelMeasure.h"
#include "Measures.h"
#include "formula/MeasureRequest.h"

namespace rix::individual_analysis {

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<const MeasureDefinition*> registered;
    std::shared_ptr<const MeasureNamesHandler> names = namesWith({});

    static std::shared_ptr<const MeasureNamesHandler> namesWith(const std::vector<const MeasureDefinition*>& added) {
        auto names = std::make_shared<MeasureNamesHandler>(standardMeasures());
        for (const MeasureDefinition* const definition : added) {
            names->add(std::make_shared<const LabelMeasureId>(*definition));
        }
        return names;
    }
};

Registry& registry() {
    static Registry all;
    return all;
}

[[noreturn]] void refuse(const MeasureDefinition& definition, const String& reason) {
    throw InvalidCall(String("The measure \"") + definition.name + "\" cannot be registered: " + reason + '.');
}

void checkNames(const MeasureDefinition& definition, const MeasureNamesHandler& names, DimensionalMode mode) {
    for (const ValueDefinition& value : definition.values) {
        const String name = String(definition.name) + value.suffix;
        const bool isWord =
            std::isalpha(static_cast<unsigned char>(name.front())) != 0 &&
            std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; });
        if (!isWord) {
            refuse(definition, "\"" + name + "\" is not made of letters and digits, a letter first");
        }
        if (isTaken(names, definition.name, mode) || isTaken(names, name, mode)) {
            refuse(definition, "the name \"" + name + "\" stands for something else already");
        }
    }
}

void checkDependencies(const MeasureDefinition& definition, const MeasureNamesHandler& names, DimensionalMode mode) {
    for (const auto* const list : {&definition.neededForProcessing, &definition.neededForFinalization}) {
        for (const char* const name : *list) {
            const auto measure = names.findMeasure(name);
            if (measure == nullptr || !measure->supports(mode)) {
                refuse(definition, String("it needs the measure \"") + name + "\", which does not exist" +
                                       (measure != nullptr ? " for all images for which it does itself" : ""));
            }
            if (measure->getMeasureAttributes(mode).needsIntensity && !definition.needsIntensity) {
                refuse(definition, String("it needs \"") + name + "\", a measure of grey values, and is none");
            }
        }
    }
}

void checkQuantities(const MeasureDefinition& definition) {
    QuantityTable table{GatheredImage{}};
    for (const QuantityInfo* const info : definition.quantities) {
        table.use(*info);
    }
    for (const QuantityTable::Entry& entry : table.entries()) {
        if (entry.info->needsIntensity && !definition.needsIntensity) {
            refuse(definition,
                   String("it gathers \"") + entry.info->name + "\" of grey values, and is no measure of them");
        }
    }
}

}  // namespace

std::shared_ptr<const MeasureNamesHandler> knownMeasures() {
    const std::scoped_lock lock(registry().mutex);
    return registry().names;
}

void registerMeasure(const MeasureDefinition& definition) {
    Registry& all = registry();
    const std::scoped_lock lock(all.mutex);
    if (definition.values.empty() || definition.compute == nullptr) {
        refuse(definition, "it has no value, or no function that computes it");
    }
    for (const DimensionalMode mode : {DimensionalMode::Mode2d, DimensionalMode::Mode3d}) {
        if (existsIn(definition.existence, mode)) {
            checkNames(definition, *all.names, mode);
            checkDependencies(definition, *all.names, mode);
        }
    }
    checkQuantities(definition);
    auto registered = all.registered;
    registered.push_back(&definition);
    all.names = Registry::namesWith(registered);
    all.registered = std::move(registered);
}

void unregisterMeasure(const String& name) {
    Registry& all = registry();
    const std::scoped_lock lock(all.mutex);
    auto registered = all.registered;
    if (std::erase_if(registered, [&](const MeasureDefinition* definition) { return name == definition->name; }) == 0) {
        throw InvalidCall("No measure \"" + name + "\" was registered.");
    }
    all.names = Registry::namesWith(registered);
    all.registered = std::move(registered);
}

}  // namespace rix::individual_analysis
