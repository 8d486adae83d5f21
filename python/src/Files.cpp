#include "Files.h"

#include <array>
#include <memory>
#include <utility>
#include <vector>

#include <rix/exceptions/Exception.h>
#include <rix/io/ChunkedFile.h>
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

/// A file, and what of it is wanted.
struct NamedPart {
    std::string path;
    io::ReadOptions options;
};

/// @param path may end with a selection in brackets
NamedPart partOf(const std::string& path, const std::string& calibration, std::uint64_t maximumSize,
                 const std::string& select) {
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
    return {file.path, options};
}

/// What `read` makes of a file with these options, without the interpreter's lock; doubts become warnings then.
template <class Read>
auto reading(const std::string& path, io::ReadOptions& options, const Read& read) {
    std::vector<std::string> warnings;
    options.warn = [&](const String& text) { warnings.push_back(text); };
    auto image = interruptibly([&](const std::function<bool()>& interrupted) {
        options.interrupted = interrupted;
        return read();
    });
    for (const std::string& text : warnings) {
        warn(path + ": " + text);
    }
    return image;
}

io::WriteOptions writeOptions(const std::string& compression, bool dropMetadata, int quality, bool pyramid) {
    io::WriteOptions options;
    options.compression = compressionOf(compression);
    options.dropMetadata = dropMetadata;
    options.quality = quality;
    options.pyramid = pyramid;
    return options;
}

}  // namespace

py::object readFile(const std::string& path, const std::string& calibration, std::uint64_t maximumSize,
                    const std::string& select, bool grey) {
    NamedPart part = partOf(path, calibration, maximumSize, select);
    io::ReadOptions& options = part.options;
    options.grey = grey;
    const std::shared_ptr<io::MemoryImage> image =
        reading(path, options, [&] { return io::readImage(part.path, options); });
    return imageOf(image, axesOfResult(helper::getExtents(*image), "yx"));
}

std::unique_ptr<OpenImage> openFile(const std::string& path, const std::string& calibration, std::uint64_t maximumSize,
                                    const std::string& select) {
    NamedPart part = partOf(path, calibration, maximumSize, select);
    std::shared_ptr<io::DiskImage> image =
        reading(path, part.options, [&] { return io::openImage(part.path, part.options); });
    std::string axes = axesOfResult(image->header().extents, "yx");
    return std::make_unique<OpenImage>(std::move(image), std::move(axes), path);
}

std::unique_ptr<OpenImage> createFile(const std::string& path, const std::string& compression, bool dropMetadata,
                                      int quality, bool pyramid) {
    if (path.empty()) {
        return std::make_unique<OpenImage>(std::make_shared<io::DiskImage>(), path);
    }
    io::WriteOptions options = writeOptions(compression, dropMetadata, quality, pyramid);
    // The image outlives this call, and keeps what it asks: a function that `close` sets while it is at work.
    const auto asked = std::make_shared<std::function<bool()>>();
    options.interrupted = [asked] { return *asked && (*asked)(); };
    return std::make_unique<OpenImage>(io::createImage(path, options), path, asked);
}

std::string writeFile(const std::string& path, py::handle image, const std::string& axes,
                      const std::string& compression, bool dropMetadata, int quality, bool pyramid) {
    const GivenImage given = openInput(image, axes);
    io::WriteOptions options = writeOptions(compression, dropMetadata, quality, pyramid);
    return interruptibly([&](const std::function<bool()>& interrupted) {
        options.interrupted = interrupted;
        io::writeImage(path, *given.image, options);
        return io::neededSelection(path, *given.image);
    });
}

}  // namespace rix::python
