#include "Files.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

#include <rix/exceptions/Exception.h>
#include <rix/io/ImageFile.h>
#include <rix/rendering/View.h>

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

py::array overlay(py::handle base, py::handle labels, const std::string& axes, std::optional<std::size_t> plane,
                  std::optional<std::size_t> frame, bool numbers) {
    const GivenImage under = openInput(base, axes);
    // Labels have the axes of the picture without its channels.
    std::string labelAxes = axes;
    labelAxes.erase(std::remove(labelAxes.begin(), labelAxes.end(), 'c'), labelAxes.end());
    const GivenImage over = openInput(labels, labelAxes);
    if (over.image->getInterpretation() == RIX_VALUE && !over.image->setInterpretation(RIX_LABEL)) {
        throw MisuseError("the labels can't be marked as labels");
    }
    std::unique_ptr<rendering::Picture> picture;
    {
        const py::gil_scoped_release unlocked;
        picture = std::make_unique<rendering::Picture>(
            rendering::renderView(*over.image, under.image.get(), {plane, frame, std::nullopt},
                                  numbers ? rendering::LabelNumbers::Drawn : rendering::LabelNumbers::None));
    }
    const auto rows = static_cast<py::ssize_t>(picture->height());
    const auto columns = static_cast<py::ssize_t>(picture->width());
    py::array_t<std::uint8_t> samples({rows, columns, py::ssize_t{3}});
    std::uint8_t* sample = samples.mutable_data();
    for (std::size_t y = 0; y < picture->height(); ++y) {
        for (const rendering::Colour* pixel = picture->row(y); pixel != picture->row(y) + picture->width(); ++pixel) {
            // On a base nothing shines through.
            *sample++ = pixel->red;
            *sample++ = pixel->green;
            *sample++ = pixel->blue;
        }
    }
    return samples;
}

}  // namespace rix::python
