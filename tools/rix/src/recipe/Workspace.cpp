#include "Workspace.h"

#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>
#include <rix/image/ImageHeader.h>
#include <rix/image/MemoryImage.h>

#include "../Failure.h"
#include "../Output.h"
#include "Recipe.h"

namespace rix::cli {

std::unique_ptr<ImageModel> Workspace::make() const {
    if (m_kind == Images::Headers) {
        return std::make_unique<HeaderImage>();
    }
    return std::make_unique<io::MemoryImage>();
}

std::unique_ptr<ImageModel> Workspace::copy(const ImageModel& image) const {
    if (m_kind == Images::Headers) {
        return std::make_unique<HeaderImage>(helper::headerOf(image));
    }
    return std::make_unique<io::MemoryImage>(dynamic_cast<const io::MemoryImage&>(image));
}

void Workspace::keep(const std::string& text, std::shared_ptr<measurement::MeasurementObject> table) {
    m_images.erase(text);
    m_tables[text] = std::move(table);
}

const measurement::MeasurementObject* Workspace::table(const std::string& text) const {
    const auto found = m_tables.find(text);
    return found == m_tables.end() ? nullptr : found->second.get();
}

ImageModel& Workspace::input(const std::string& text) {
    const auto found = m_images.find(text);
    if (found != m_images.end()) {
        return *found->second;
    }
    if (table(text) != nullptr) {
        throw Failure(WRONG_USAGE, description::inQuotes(text) + " is a table, not an image");
    }
    if (const std::string name = memoryName(text); !name.empty() || text == "@") {
        std::vector<std::string> names;
        for (const auto& [known, image] : m_images) {
            if (!memoryName(known).empty()) {
                names.push_back(known);
            }
        }
        throw Failure(WRONG_USAGE, "no step before makes the image " + description::inQuotes(text),
                      description::suggest(text, names));
    }
    m_files.emplace_back(text);
    return *(m_images[text] = m_load(text));
}

ImageModel& Workspace::changed(const std::string& text) {
    const ImageModel& image = input(text);
    if (m_fixed.erase(text) != 0) {
        m_images[text] = copy(image);
    }
    return *m_images[text];
}

std::shared_ptr<const ImageModel> Workspace::asItIs(const std::string& text) {
    input(text);
    m_fixed.insert(text);
    return m_images[text];
}

ImageModel& Workspace::output(const std::string& text) {
    m_tables.erase(text);
    auto& image = m_images[text];
    if (m_fixed.erase(text) != 0 || image == nullptr) {
        image = make();
    }
    return *image;
}

}  // namespace rix::cli
