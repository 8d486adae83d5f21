#include "TiffSeries.h"

#include <algorithm>

#include <rix/exceptions/Exception.h>

#include "../Codec.h"
#include "TiffLevels.h"

namespace rix::io {
namespace {

String describePage(const TiffPage& page) {
    return std::to_string(page.columns) + " x " + std::to_string(page.rows) + " of " + std::to_string(page.channels) +
           " x " + helper::voxelTypesToString(page.voxelType);
}

/// The pages at these places of the list as the image of the file.
void take(const std::vector<ListedPage>& pages, const std::vector<std::size_t>& places, TiffLayout& layout) {
    const ListedPage& first = pages[places.front()];
    layout.pages.page = first.page;
    for (const std::size_t place : places) {
        const ListedPage& listed = pages[place];
        if (!listed.page.matches(first.page)) {
            throw LoadingError("The pages make no image: page " + std::to_string(first.number + 1) + " is " +
                               describePage(first.page) + ", page " + std::to_string(listed.number + 1) + " is " +
                               describePage(listed.page) + ".");
        }
        layout.binary = layout.binary && listed.page.isBinary();
        layout.pages.numbers.push_back(listed.number);
        layout.directories.push_back(listed.directory);
        layout.smaller.push_back(listed.smaller);
    }
}

std::vector<std::size_t> countUp(std::size_t first, std::size_t end) {
    std::vector<std::size_t> places;
    for (std::size_t place = first; place < end; ++place) {
        places.push_back(place);
    }
    return places;
}

/// The places of pages with these numbers of directories; empty when one is missing.
std::vector<std::size_t> placesOf(const std::vector<ListedPage>& pages, std::vector<std::size_t> numbers) {
    std::sort(numbers.begin(), numbers.end());
    std::vector<std::size_t> places;
    for (const std::size_t number : numbers) {
        const auto found =
            std::lower_bound(pages.begin(), pages.end(), number,
                             [](const ListedPage& page, std::size_t wanted) { return page.number < wanted; });
        if (found == pages.end() || found->number != number) {
            return {};
        }
        places.push_back(static_cast<std::size_t>(found - pages.begin()));
    }
    places.erase(std::unique(places.begin(), places.end()), places.end());
    return places;
}

}  // namespace

std::vector<ListedPage> listPages(TiffHandle& handle, std::uint64_t fileBytes) {
    std::vector<ListedPage> pages;
    // Bytes of the file that the pages so far need at least: so many directories that share their samples come to an
    // end, as does a single one that promises too much.
    std::uint64_t needed = 0;
    bool namesCopies = false;
    for (std::size_t directory = 0;; ++directory) {
        if (directory == 0 || isFullPage(handle)) {
            pages.push_back({readTiffPage(handle), directory, TIFFCurrentDirOffset(handle.get()), namedCopies(handle)});
            namesCopies = !pages.back().smaller.empty();
            const TiffPage& page = pages.back().page;
            needed += page.decodedBytes / tiffCompression(page.compression).ratio;
            if (needed > fileBytes) {
                throw LoadingError("The pages promise more bytes of samples than the " + std::to_string(fileBytes) +
                                   " bytes of the file can hold.");
            }
        } else if (!namesCopies && isReducedPage(handle) && pages.back().smaller.size() < MostLevels) {
            pages.back().smaller.push_back(TIFFCurrentDirOffset(handle.get()));
        }
        if (TIFFLastDirectory(handle.get()) != 0) {
            return pages;
        }
        if (TIFFReadDirectory(handle.get()) == 0) {
            handle.failReading("Directory " + std::to_string(directory + 2) + " of the TIFF file is damaged");
        }
        handle.checkReading("Directory " + std::to_string(directory + 2) + " of the TIFF file is damaged");
    }
}

void chooseSeries(const std::vector<ListedPage>& pages, const String& description, const Selection& selection,
                  TiffLayout& layout) {
    layout.ome = isOme(description);
    const std::size_t described = layout.ome ? countOmeImages(description) : 0;
    std::vector<std::size_t> begins;
    for (std::size_t place = 0; place < pages.size(); ++place) {
        if (place == 0 || !pages[place].page.matches(pages[place - 1].page)) {
            begins.push_back(place);
        }
    }
    layout.info.series = described > 1 ? described : begins.size();
    checkSeries(selection, layout.info.series);
    if (!selection.series || layout.info.series == 1) {
        const auto places = countUp(0, pages.size());
        try {
            take(pages, places, layout);
        } catch (Exception& exception) {
            if (layout.info.series == 1) {
                throw;
            }
            throw LoadingError(String(exception.getLevels().front().message) + " They are " +
                               std::to_string(layout.info.series) +
                               " images: the selection series=0 chooses the first.");
        }
        return;
    }
    const std::size_t series = *selection.series;
    if (described <= 1) {
        layout.ome = layout.ome && series == 0;
        take(pages, countUp(begins[series], series + 1 < begins.size() ? begins[series + 1] : pages.size()), layout);
        return;
    }
    layout.chosen = series;
    std::vector<std::size_t> places;
    try {
        places = placesOf(pages, pagesOfOmeImage(description, series, pages.back().number + 1));
    } catch (const DescriptionDoubt& doubt) {
        throw LoadingError(doubt.text);
    }
    if (places.empty()) {
        throw LoadingError("The OME-XML of the file does not tell which pages the image " + std::to_string(series) +
                           " has, or the file does not have them.");
    }
    take(pages, places, layout);
}

}  // namespace rix::io
