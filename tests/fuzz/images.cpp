// Files of images: whatever the bytes, an image or a LoadingError, and nothing that the file cannot hold is allocated.

#include <rix/exceptions/Exception.h>
#include <rix/image/ImageTypes.h>
#include <rix/io/ImageFile.h>

#include "FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace rix;
    constexpr std::size_t mostBytes = std::size_t{1} << 26;
    const fuzz::MemoryFile file(data, size);
    io::ReadOptions options;
    // Files that would be refused without anybody to tell are read on.
    options.warn = [](const String& text) { fuzz::require(!text.empty(), "a warning has a text"); };
    try {
        const io::ImageFileInfo info = io::readImageInfo(file.path(), options);
        std::size_t bytes = helper::getSizeOf(info.voxelType) * helper::getElementNumber(info.elementType);
        for (const std::size_t extent : info.extents) {
            fuzz::require(helper::checkedMultiply(bytes, extent, bytes), "sizes of files fit 64 bits");
        }
        if (bytes > mostBytes) {
            return fuzz::accepted;
        }
        const auto image = io::readImage(file.path(), options);
        fuzz::require(helper::getExtents(*image) == info.extents && image->getVoxelType() == info.voxelType,
                      "the header tells what the image is");
    } catch (const LoadingError& error) {
        fuzz::require(error.getLevels().back().message.find(file.path()) != String::npos,
                      "the outermost level names the file", error.what());
    } catch (const MemoryError&) {
        return fuzz::accepted;
    }
    return fuzz::accepted;
}
