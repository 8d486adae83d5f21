// Files without a header: a line of words, then samples. Words that are refused, or an image of just the bytes there.

#include <algorithm>

#include <rix/exceptions/Exception.h>
#include <rix/io/ImageFile.h>

#include "FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace rix;
    const std::uint8_t* const end = std::find(data, data + size, std::uint8_t{'\n'});
    const std::uint8_t* const samples = end == data + size ? end : end + 1;
    const std::size_t sampleBytes = size - static_cast<std::size_t>(samples - data);
    io::ReadOptions options;
    try {
        options.selection = io::parseSelection(std::string(data, end));
    } catch (const SerializationException&) {
        return fuzz::accepted;
    }
    if (!options.selection.raw) {
        return fuzz::accepted;
    }
    options.warn = [](const String& text) { fuzz::require(!text.empty(), "a warning has a text"); };
    const fuzz::MemoryFile file(samples, sampleBytes);
    try {
        const io::ImageFileInfo info = io::readImageInfo(file.path(), options);
        const auto image = io::readImage(file.path(), options);
        fuzz::require(helper::getExtents(*image) == info.extents && image->getVoxelType() == info.voxelType,
                      "the words tell what the image is");
        std::size_t elements = 0;
        fuzz::require(helper::getElementCount(*image, elements) && elements <= sampleBytes, "samples lie in the file");
        fuzz::require(io::neededSelection("a.raw", *image).find("type=") == 0, "what was read can be written again");
    } catch (const LoadingError& error) {
        fuzz::require(error.getLevels().back().message.find(file.path()) != String::npos,
                      "the outermost level names the file", error.what());
    }
    return fuzz::accepted;
}
