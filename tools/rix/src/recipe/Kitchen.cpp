#include "Kitchen.h"

#include <set>

#include <rix/io/ImageFile.h>
#include <rix/properties/Property.h>

#include "../Algorithms.h"
#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Output.h"
#include "../Suggestions.h"

namespace rix::cli {
namespace {

/// An image of any size without samples: rules see its header and shape it, and no memory is taken.
class HeaderImage : public io::MemoryImage {
public:
    ~HeaderImage() override { m_rawData = nullptr; }
    void allocateInternalBuffer(std::size_t /*bytes*/) override { m_rawData = nullptr; }
    void freeInternalBuffer() override { m_rawData = nullptr; }
};

}  // namespace

std::unique_ptr<io::MemoryImage> readHeader(const std::filesystem::path& path) {
    io::ImageFileInfo info;
    try {
        info = io::readImageInfo(path);
    } catch (const Exception& exception) {
        throw Failure(UNREADABLE_INPUT, exception);
    }
    auto image = std::make_unique<HeaderImage>();
    const auto& n = info.extents;
    if (!image->reserve(info.elementType, info.voxelType, n[0], n[1], n[2], n[3], n[4])) {
        throw Failure(UNREADABLE_INPUT, "the image file " + inQuotes(path.string()) + " is too large");
    }
    image->setInterpretation(info.interpretation);
    image->setColorInterpretation(info.colorInterpretation);
    return image;
}

io::MemoryImage& Pantry::input(const std::string& text) {
    const auto found = m_images.find(text);
    if (found != m_images.end()) {
        return *found->second;
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

io::MemoryImage& Pantry::output(const std::string& text) {
    auto& image = m_images[text];
    if (image == nullptr) {
        image = m_make();
    }
    return *image;
}

PreparedRun prepareRun(const Recipe::Step& step, Pantry& pantry) {
    PreparedRun run;
    run.algorithm = createAlgorithm(findClass(step.className));
    for (const auto& [name, text] : step.assignments) {
        BaseProperty& property = findProperty(*run.algorithm, name);
        switch (imageRoleOf(property)) {
            case ImageRole::None:
                if (property.isOutput()) {
                    throw Failure(WRONG_USAGE, name + " is a result and can't be given");
                }
                setValue(property, text);
                break;
            case ImageRole::Input:
                dynamic_cast<Property<const ImageModel*>&>(property).set(&pantry.input(text));
                break;
            case ImageRole::InPlace:
                dynamic_cast<Property<ImageModel*>&>(property).set(&pantry.input(text));
                break;
            case ImageRole::Output: {
                io::MemoryImage& image = pantry.output(text);
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

void rehearse(const Recipe& recipe) {
    Pantry pantry(readHeader, [] { return std::make_unique<HeaderImage>(); });
    std::set<std::filesystem::path> targets;
    const auto checkTarget = [&targets](const std::filesystem::path& path) {
        checkCanWrite(path);
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
                    checkTarget(path);
                }
                continue;
            }
            for (const Recipe::View& view : step.views) {
                pantry.input(view.image);
                if (!view.over.empty()) {
                    pantry.input(view.over);
                }
            }
            checkTarget(step.target);
        } catch (...) {
            const Failure failure = failureOfCurrentException();
            throw failure.within("step " + std::to_string(i + 1) + " of the recipe" +
                                 (step.className.empty() ? std::string() : " (" + step.className + ')'));
        }
    }
}

}  // namespace rix::cli
