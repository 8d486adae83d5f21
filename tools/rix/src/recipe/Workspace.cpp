#include "Workspace.h"

#include <cstdint>
#include <utility>

#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>
#include <rix/image/DiskImage.h>
#include <rix/image/ImageHeader.h>
#include <rix/image/MemoryImage.h>
#include <rix/image/RowRefusals.h>

#include "../Failure.h"
#include "../ImageRows.h"
#include "../Output.h"
#include "Recipe.h"

namespace rix::cli {
namespace {

bool isOnlyRead(const ImageModel& image) {
    const auto* const onDisk = dynamic_cast<const io::DiskImage*>(&image);
    return onDisk != nullptr && !onDisk->isWritable();
}

/// Temporary data with the header of another image, that is with what a run finds in an image that it makes anew.
std::unique_ptr<io::DiskImage> onDiskLike(const ImageModel& image) {
    auto onDisk = std::make_unique<io::DiskImage>();
    if (!helper::applyHeader(helper::headerOf(image), *onDisk)) {
        throw Failure(RUN_FAILED, "a temporary image can't be made. " + helper::takeRowRefusal());
    }
    return onDisk;
}

std::unique_ptr<io::DiskImage> copyOnDisk(const ImageModel& image) {
    auto copy = onDiskLike(image);
    const auto n = helper::getExtents(image);
    std::vector<std::uint8_t> row(n[COLUMNS] * helper::getElementSize(image));
    forEachRow(n, [&](std::size_t y, std::size_t z, std::size_t t, std::size_t c) {
        if (!image.readRowAt(n[COLUMNS], row.data(), 0, y, z, t, c) ||
            !copy->writeRowAt(n[COLUMNS], row.data(), 0, y, z, t, c)) {
            throw Failure(RUN_FAILED, "an image can't be copied. " + helper::takeRowRefusal());
        }
    });
    return copy;
}

}  // namespace

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
    if (m_kind == Images::WithinBudget) {
        return copyOnDisk(image);
    }
    return std::make_unique<io::MemoryImage>(dynamic_cast<const io::MemoryImage&>(image));
}

ImageModel& Workspace::put(const std::string& text, std::shared_ptr<ImageModel> image) {
    track(image);
    std::shared_ptr<ImageModel>& place = m_images[text];
    if (place != nullptr && isOnlyRead(*place)) {
        m_replaced.push_back(place);
    }
    return *(place = std::move(image));
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
    return put(text, m_load(text));
}

ImageModel& Workspace::changed(const std::string& text) {
    ImageModel& image = input(text);
    return m_fixed.erase(text) != 0 || isOnlyRead(image) ? put(text, copy(image)) : image;
}

std::shared_ptr<const ImageModel> Workspace::asItIs(const std::string& text) {
    if (const ImageModel& image = input(text); isOnlyRead(image)) {
        put(text, copy(image));
    }
    m_fixed.insert(text);
    return m_images[text];
}

ImageModel& Workspace::output(const std::string& text) {
    m_tables.erase(text);
    if (memoryName(text).empty()) {
        m_targets.insert(text);
    }
    auto& image = m_images[text];
    if (m_fixed.erase(text) != 0 || image == nullptr) {
        return put(text, make());
    }
    // The run may read it as it is made anew.
    return isOnlyRead(*image) ? put(text, onDiskLike(*image)) : *image;
}

ImageModel& Workspace::makeOnDisk(const std::string& text) {
    return put(text, onDiskLike(*m_images[text]));
}

void Workspace::moveToDisk(const std::set<const ImageModel*>& inUse) {
    for (auto& [text, image] : m_images) {
        if (!image->isOnDisk() && !m_fixed.contains(text) && !m_targets.contains(text) &&
            !inUse.contains(image.get())) {
            put(text, copyOnDisk(*image));
        }
    }
}

std::set<const ImageModel*> Workspace::images() const {
    std::set<const ImageModel*> alive;
    for (const auto& known : m_known) {
        if (const auto image = known.lock()) {
            alive.insert(image.get());
        }
    }
    return alive;
}

}  // namespace rix::cli
