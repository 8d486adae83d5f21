#include "Kitchen.h"

#include <set>

#include <rix/io/ImageFile.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/Property.h>

#include "../Algorithms.h"
#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Output.h"
#include "../Suggestions.h"
#include "../Tables.h"
#include "../render/View.h"

namespace rix::cli {

std::unique_ptr<HeaderImage> readHeader(const std::filesystem::path& path) {
    auto image = std::make_unique<HeaderImage>();
    try {
        if (!helper::applyHeader(io::readImageInfo(path), *image)) {
            throw Failure(UNREADABLE_INPUT, "the image file " + inQuotes(path.string()) + " is too large");
        }
    } catch (const Exception& exception) {
        throw Failure(UNREADABLE_INPUT, exception);
    }
    return image;
}

void Pantry::keep(const std::string& text, std::shared_ptr<measurement::MeasurementObject> table) {
    m_images.erase(text);
    m_tables[text] = std::move(table);
}

const measurement::MeasurementObject* Pantry::table(const std::string& text) const {
    const auto found = m_tables.find(text);
    return found == m_tables.end() ? nullptr : found->second.get();
}

ImageModel& Pantry::input(const std::string& text) {
    const auto found = m_images.find(text);
    if (found != m_images.end()) {
        return *found->second;
    }
    if (table(text) != nullptr) {
        throw Failure(WRONG_USAGE, inQuotes(text) + " is a table, not an image");
    }
    if (const std::string name = memoryName(text); !name.empty() || text == "@") {
        std::vector<std::string> names;
        for (const auto& [known, image] : m_images) {
            if (!memoryName(known).empty()) {
                names.push_back(known);
            }
        }
        throw Failure(WRONG_USAGE, "no step before makes the image " + inQuotes(text), suggest(text, names));
    }
    m_files.emplace_back(text);
    return *(m_images[text] = m_load(text));
}

ImageModel& Pantry::changed(const std::string& text) {
    const ImageModel& image = input(text);
    if (m_fixed.erase(text) != 0) {
        m_images[text] = m_copy(image);
    }
    return *m_images[text];
}

std::shared_ptr<const ImageModel> Pantry::asItIs(const std::string& text) {
    input(text);
    m_fixed.insert(text);
    return m_images[text];
}

ImageModel& Pantry::output(const std::string& text) {
    m_tables.erase(text);
    auto& image = m_images[text];
    if (m_fixed.erase(text) != 0 || image == nullptr) {
        image = m_make();
    }
    return *image;
}

namespace {

/// Everything but images: values, and result objects, which go to a name in memory or a file.
void setOther(PreparedRun& run, BaseProperty& property, const std::string& text, Pantry& pantry) {
    auto* const slot = dynamic_cast<MeasurementSlot*>(&property);
    if (slot == nullptr) {
        if (property.isOutput()) {
            throw Failure(WRONG_USAGE, property.getName() + " is a result and can't be given");
        }
        setValue(property, text);
        return;
    }
    auto object = slot->createObject();
    slot->setObject(object.get());
    if (memoryName(text).empty()) {
        run.tables.emplace_back(text, std::move(object));
    } else {
        pantry.keep(text, std::move(object));
    }
}

}  // namespace

PreparedRun prepareRun(const Recipe::Step& step, Pantry& pantry) {
    PreparedRun run;
    run.algorithm = createAlgorithm(findClass(step.className));
    for (const auto& [name, text] : step.assignments) {
        BaseProperty& property = findProperty(*run.algorithm, name);
        switch (imageRoleOf(property)) {
            case ImageRole::None: setOther(run, property, text, pantry); break;
            case ImageRole::Input: dynamic_cast<Property<const ImageModel*>&>(property).set(&pantry.input(text)); break;
            case ImageRole::InPlace: dynamic_cast<Property<ImageModel*>&>(property).set(&pantry.changed(text)); break;
            case ImageRole::Output: {
                ImageModel& image = pantry.output(text);
                dynamic_cast<Property<ImageModel*>&>(property).set(&image);
                if (memoryName(text).empty()) {
                    run.files.emplace_back(text, &image);
                }
                break;
            }
        }
    }
    run.resultObjects.create(*run.algorithm);
    return run;
}

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
        io::checkImageFits(path, image);
    } catch (const Exception& exception) {
        throw Failure(UNWRITABLE_OUTPUT, exception);
    }
}

}  // namespace

void rehearse(const Recipe& recipe) {
    Pantry pantry(
        readHeader, [] { return std::make_unique<HeaderImage>(); },
        [](const ImageModel& image) { return std::make_unique<HeaderImage>(helper::headerOf(image)); });
    std::set<std::filesystem::path> targets;
    const auto checkTarget = [&targets](const std::filesystem::path& path,
                                        void (*check)(const std::filesystem::path&)) {
        check(path);
        if (!targets.insert(path.lexically_normal()).second) {
            throw Failure(WRONG_USAGE, inQuotes(path.string()) + " is written twice");
        }
    };
    for (std::size_t i = 0; i < recipe.steps.size(); ++i) {
        const Recipe::Step& step = recipe.steps[i];
        try {
            if (step.kind == Recipe::Step::Kind::Run) {
                const PreparedRun run = prepareRun(step, pantry);
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
            if (step.kind == Recipe::Step::Kind::Write && pantry.table(step.views.front().image) != nullptr) {
                checkTarget(step.target, checkCanWriteTable);
                continue;
            }
            for (const Recipe::View& view : step.views) {
                const ImageModel& image = pantry.input(view.image);
                const ImageModel* const base = view.over.empty() ? nullptr : &pantry.input(view.over);
                if (step.kind == Recipe::Step::Kind::Write) {
                    checkFits(step.target, image);
                } else if (isShaped(image) && (base == nullptr || isShaped(*base))) {
                    checkView(image, base, {}, view.numbers ? LabelNumbers::Drawn : LabelNumbers::None);
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
