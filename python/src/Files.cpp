#include "Files.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

#include <rix/exceptions/Exception.h>
#include <rix/io/ImageFile.h>

#include "Arrays.h"
#include "Axes.h"
#include "Errors.h"

namespace py = pybind11;

namespace rix::python {
namespace {

/// Binary images become arrays of bool, whose bytes are 0 and 1. A file may say binary of other values.
void makeProperBinary(io::MemoryImage& image) {
    std::size_t count = 0;
    if (image.getInterpretation() != RIX_BINARY || image.getVoxelType() != RIX_UINT8 ||
        !helper::getElementCount(image, count)) {
        return;
    }
    RawData samples = image.getInternalBuffer();
    std::transform(samples, samples + count, samples,
                   [](std::uint8_t sample) { return static_cast<std::uint8_t>(sample != 0); });
}

io::Compression compressionOf(const std::string& name) {
    constexpr std::array<std::pair<const char*, io::Compression>, 4> compressions{
        {{"", io::Compression::FormatDefault},
         {"none", io::Compression::None},
         {"lzw", io::Compression::Lzw},
         {"deflate", io::Compression::Deflate}}};
    for (const auto& [known, compression] : compressions) {
        if (name == known) {
            return compression;
        }
    }
    throw RefusedError("compression='" + name + "': it is none, lzw or deflate, or unless given that of the format");
}

}  // namespace

py::object readFile(const std::string& path) {
    std::shared_ptr<io::MemoryImage> image;
    {
        const py::gil_scoped_release unlocked;
        image = io::readImage(path);
        makeProperBinary(*image);
    }
    return imageOf(image, axesOfResult(helper::getExtents(*image), "yx"));
}

void writeFile(const std::string& path, py::handle image, const std::string& axes, const std::string& compression) {
    const GivenImage given = openInput(image, axes);
    io::WriteOptions options;
    options.compression = compressionOf(compression);
    const py::gil_scoped_release unlocked;
    io::writeImage(path, *given.image, options);
}

}  // namespace rix::python
