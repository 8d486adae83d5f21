// Texts of selections: refused, or a part of the image with the extents that were told.

#include <rix/exceptions/Exception.h>
#include <rix/io/ImageFile.h>

#include "FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace rix;
    static const std::string content = [] {
        std::string text =
            "NRRD0005\ntype: uchar\ndimension: 5\nsizes: 3 4 3 2 2\nkinds: domain domain domain time list\n"
            "encoding: raw\n\n";
        for (int i = 0; i < 3 * 4 * 3 * 2 * 2; ++i) {
            text += static_cast<char>(i);
        }
        return text;
    }();
    static const fuzz::MemoryFile file(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
    const std::string text(data, data + size);
    io::ReadOptions options;
    try {
        const io::SelectedFile split = io::splitSelection(file.path() + '[' + text + ']');
        fuzz::require(split.path == file.path() ? split.selection == text : true,
                      "a name and a selection make the text");
        options.selection = io::parseSelection(text);
    } catch (const SerializationException& exception) {
        fuzz::require(exception.what()[0] != '\0', "a refusal says what is wrong");
        return fuzz::accepted;
    }
    try {
        const io::ImageFileInfo info = io::readImageInfo(file.path(), options);
        const auto image = io::readImage(file.path(), options);
        fuzz::require(helper::getExtents(*image) == info.extents, "the header tells what the part is", text);
        if (options.selection.raw) {  // the header counts as samples then
            std::size_t bytes = 0;
            fuzz::require(helper::getElementCount(*image, bytes) && bytes <= content.size(), "samples lie in the file",
                          text);
            return fuzz::accepted;
        }
        for (const std::size_t extent : info.extents) {
            fuzz::require(extent >= 1 && extent <= 4, "a part lies in the image", text);
        }
        if (options.selection.axes.empty()) {
            const auto first = static_cast<std::uint8_t>(
                info.origin[0] +
                3 * (info.origin[1] + 4 * (info.origin[2] + 3 * (info.origin[3] + 2 * info.origin[4]))));
            fuzz::require(*image->getInternalBuffer() == first, "the origin is the place of the first sample", text);
        }
    } catch (const LoadingError& error) {
        if (options.selection.raw) {  // numbers in the file may not fit either
            return fuzz::accepted;
        }
        fuzz::require(error.getLevels().front().message.find("selection") != String::npos,
                      "only the selection can be wrong", error.what());
    }
    return fuzz::accepted;
}
