#include "Files.h"

#include <array>
#include <memory>
#include <utility>
#include <vector>

#include <rix/exceptions/Exception.h>
#include <rix/io/ImageFile.h>

#include "Arrays.h"
#include "Axes.h"
#include "Errors.h"
#include "Interaction.h"

namespace py = pybind11;

namespace rix::python {
namespace {

io::Compression compressionOf(const std::string& name) {
    if (name.empty()) {
        return io::Compression::FormatDefault;
    }
    std::string all;
    for (const auto& [known, compression] : io::getCompressions()) {
        if (name == known) {
            return compression;
        }
        all += (all.empty() ? "" : ", ") + known;
    }
    throw RefusedError("compression='" + name + "': it is one of " + all + ", or unless given that of the format");
}

io::Calibration calibrationOf(const std::string& name) {
    constexpr std::array<std::pair<const char*, io::Calibration>, 3> calibrations{
        {{"file", io::Calibration::Measured}, {"all", io::Calibration::All}, {"none", io::Calibration::None}}};
    for (const auto& [known, calibration] : calibrations) {
        if (name == known) {
            return calibration;
        }
    }
    throw RefusedError("calibration='" + name + "': it is file, all or none, or a spacing");
}

io::Selection selectionOf(const std::string& text) {
    try {
        return text.empty() ? io::Selection() : io::parseSelection(text);
    } catch (const SerializationException& exception) {
        throw RefusedError(exception.getLevels().front().message);
    }
}

}  // namespace

py::object readFile(const std::string& path, const std::string& calibration, std::uint64_t maximumSize,
                    const std::string& select, bool grey) {
    io::SelectedFile file = io::splitSelection(path);
    if (!select.empty()) {
        file = file.selection.empty()
                   ? io::SelectedFile{path, select}
                   : throw RefusedError("select='" + select + "': the path '" + path + "' has a selection already");
    }
    io::ReadOptions options;
    options.selection = selectionOf(file.selection);
    options.calibration = calibrationOf(calibration);
    options.maximumImageSize = maximumSize;
    options.grey = grey;
    std::vector<std::string> warnings;
    options.warn = [&](const String& text) { warnings.push_back(text); };
    const std::shared_ptr<io::MemoryImage> image = interruptibly([&](const std::function<bool()>& interrupted) {
        options.interrupted = interrupted;
        return io::readImage(file.path, options);
    });
    for (const std::string& text : warnings) {
        warn(path + ": " + text);
    }
    return imageOf(image, axesOfResult(helper::getExtents(*image), "yx"));
}

std::string writeFile(const std::string& path, py::handle image, const std::string& axes,
                      const std::string& compression, bool dropMetadata, int quality, bool pyramid) {
    const GivenImage given = openInput(image, axes);
    io::WriteOptions options;
    options.compression = compressionOf(compression);
    options.dropMetadata = dropMetadata;
    options.quality = quality;
    options.pyramid = pyramid;
    return interruptibly([&](const std::function<bool()>& interrupted) {
        options.interrupted = interrupted;
        io::writeImage(path, *given.image, options);
        return io::neededSelection(path, *given.image);
    });
}

}  // namespace rix::python
