#include "ImageCheck.h"

#include <rix/exceptions/Exception.h>
#include <rix/image/ImageTypes.h>
#include <rix/io/ChunkedFile.h>
#include <rix/io/ImageFile.h>

#include "FuzzTarget.h"
#include "ImageComparison.h"

namespace rix::fuzz {

namespace {

/// Whether it has at most so many bytes.
bool isSmall(const io::ImageFileInfo& info, std::size_t mostBytes) {
    std::size_t bytes = 0;
    require(helper::multiplyExtents(info.extents, bytes) &&
                helper::checkedMultiply(
                    bytes, helper::getSizeOf(info.voxelType) * helper::getElementNumber(info.elementType), bytes),
            "sizes of files fit 64 bits");
    return bytes <= mostBytes;
}

}  // namespace

void checkImage(const std::filesystem::path& path) {
    constexpr std::size_t mostBytes = std::size_t{1} << 26;
    io::ReadOptions options;
    // Files that would be refused without anybody to tell are read on.
    options.warn = [](const String& text) { require(!text.empty(), "a warning has a text"); };
    try {
        const io::ImageFileInfo info = io::readImageInfo(path, options);
        if (!isSmall(info, mostBytes)) {
            return;
        }
        const auto image = io::readImage(path, options);
        require(helper::getExtents(*image) == info.extents && image->getVoxelType() == info.voxelType,
                "the header tells what the image is");
        if (io::canOpenImage(path, options)) {
            const auto result = test::imagesEqual(*image, *io::openImage(path, options));
            require(result, "what is opened is what is read", result.message());
        }
    } catch (const LoadingError& error) {
        require(error.getLevels().back().message.find(path.string()) != String::npos,
                "the outermost level names the file", error.what());
    } catch (const MemoryError&) {
        return;
    }
}

}  // namespace rix::fuzz
