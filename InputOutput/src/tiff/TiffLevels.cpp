#include "TiffLevels.h"

#include <algorithm>
#include <optional>

#include <rix/exceptions/Exception.h>

#include "../Codec.h"

namespace rix::io {
namespace {

/// What a directory tells, when it is a smaller copy of a page than those known; else nothing, and it is passed over.
std::optional<TiffPage> smallerCopy(TiffHandle& handle, std::uint64_t directory, const TiffPage& page) {
    try {
        if (TIFFSetSubDirectory(handle.get(), directory) == 0 || !isReducedPage(handle)) {
            handle.forgetErrors();
            return std::nullopt;
        }
        TiffPage copy = readTiffPage(handle);
        const bool fits = copy.voxelType == page.voxelType && copy.channels == page.channels &&
                          copy.columns <= page.columns && copy.rows <= page.rows &&
                          (copy.columns < page.columns || copy.rows < page.rows);
        return fits ? std::optional(copy) : std::nullopt;
    } catch (const LoadingError&) {
        handle.forgetErrors();
        return std::nullopt;
    }
}

/// Lays the picture over the place of the whole one.
void stretch(const TiffPage& from, const TiffPage& to, ImageFileInfo& info) {
    const std::array<double, 2> factors{static_cast<double>(from.columns) / to.columns,
                                        static_cast<double>(from.rows) / to.rows};
    const auto& directions = info.spatialDirections;
    const std::array ways{&directions.columnDirection, &directions.rowDirection};
    for (std::size_t axis = 0; axis < factors.size(); ++axis) {
        const double shift = (factors[axis] - 1.0) / 2.0 * info.spacing[axis];
        for (std::size_t i = 0; i < 3; ++i) {
            info.origin[i] += shift * (*ways[axis])[i];
        }
        info.spacing[axis] *= factors[axis];
    }
    info.extents[COLUMNS] = to.columns;
    info.extents[ROWS] = to.rows;
}

}  // namespace

std::vector<std::uint64_t> namedCopies(TiffHandle& handle) {
    std::uint16_t count = 0;
    const std::uint64_t* offsets = nullptr;
    if (TIFFGetField(handle.get(), TIFFTAG_SUBIFD, &count, &offsets) != 1 || offsets == nullptr) {
        return {};
    }
    return {offsets, offsets + std::min<std::size_t>(count, MostLevels)};
}

void chooseLevel(TiffHandle& handle, std::uint64_t fileBytes, const Selection& selection, TiffLayout& layout) {
    std::vector<std::size_t> levels;  // by their place among the copies of a page
    const TiffPage whole = layout.pages.page;
    TiffPage last = whole;
    const std::size_t copies = layout.rawPages != 0 || layout.smaller.empty() ? 0 : layout.smaller.front().size();
    for (std::size_t i = 0; i < copies; ++i) {
        if (const auto copy = smallerCopy(handle, layout.smaller.front()[i], last)) {
            levels.push_back(i);
            last = *copy;
        }
    }
    layout.info.levels = levels.size() + 1;
    checkLevel(selection, layout.info.levels);
    const std::size_t level = selection.level.value_or(0);
    if (level == 0) {
        return;
    }
    std::uint64_t needed = 0;
    for (std::size_t i = 0; i < layout.directories.size(); ++i) {
        const auto& offsets = layout.smaller[i];
        const std::size_t place = levels[level - 1];
        const auto copy = place < offsets.size() ? smallerCopy(handle, offsets[place], whole) : std::nullopt;
        if (!copy || (i > 0 && !copy->matches(layout.pages.page))) {
            throw LoadingError("Not all pages of the image have the level " + std::to_string(level) + " of the first.");
        }
        layout.pages.page = i == 0 ? *copy : layout.pages.page;
        layout.binary = layout.binary && copy->isBinary();
        layout.directories[i] = offsets[place];
        needed += copy->decodedBytes / tiffCompression(copy->compression).ratio;
        if (needed > fileBytes) {
            throw LoadingError("The pages of level " + std::to_string(level) +
                               " promise more bytes of samples than the file can hold.");
        }
    }
    layout.info.storage = describeStorage(handle, layout.pages.page);
    stretch(whole, layout.pages.page, layout.info);
}

}  // namespace rix::io
