#include "FileOptions.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <rix/description/Text.h>

#include "Interrupts.h"
#include "Output.h"

namespace rix::cli {
namespace {

/// One command is parsed in a process; what it was told holds for all files.
struct GivenOptions {
    std::vector<double> spacing;
    std::optional<std::string> unit;
    bool noCalibration = false;
    bool printResolution = false;
    bool grey = false;
    std::uint64_t maximumImageSize = 0;
    io::WriteOptions writing;
};

GivenOptions& given() {
    static GivenOptions options;
    return options;
}

/// Files of a batch are read by a thread each, and each has its share of the memory.
thread_local std::uint64_t memoryForReading = 0;

}  // namespace

void addReadingOptions(CLI::App& command) {
    GivenOptions& options = given();
    options = {};
    command
        .add_option("--spacing", options.spacing,
                    "Spacing of the images that are read, instead of the files': one number, or one for columns, rows "
                    "and planes each, with commas between")
        ->delimiter(',')
        ->expected(1, 3)
        ->check(CLI::PositiveNumber.description(""))
        ->type_name("X,Y,Z");
    command.add_option("--unit", options.unit, "Unit of the spacing of the images that are read, such as mm")
        ->type_name("UNIT");
    command.add_flag("--no-calibration", options.noCalibration,
                     "Pass over spacings, origins, directions and units in the files");
    command.add_flag("--print-resolution", options.printResolution,
                     "Take dots an inch that programs note for print (72, 96, 300 ...) as spacing, too");
    command.add_flag("--grey", options.grey,
                     "Read colour images (RGB) as grey ones of the same type, without opacity: what the algorithm "
                     "ConvertColorSpace makes of them");
    command
        .add_option("--max-image-size", options.maximumImageSize,
                    "Refuse files whose images take more memory, in bytes or with K, M, G; the setting "
                    "RIX_MAXIMUM_IMAGE_SIZE is the same in bytes")
        ->transform(CLI::AsSizeValue(false).description(""))
        ->type_name("SIZE");
}

void addWritingOptions(CLI::App& command) {
    GivenOptions& options = given();
    std::vector<std::string> names;
    for (const auto& [name, compression] : io::getCompressions()) {
        names.push_back(name);
    }
    command
        .add_option_function<std::string>(
            "--compress",
            [](const std::string& text) {
                for (const auto& [name, compression] : io::getCompressions()) {
                    if (name == text) {
                        given().writing.compression = compression;
                    }
                }
            },
            "Compress the images that are written; unless given, as is usual for the format (TIFF: none)")
        ->check(CLI::IsMember(names).description(""))
        ->type_name(description::join(names, "|"));
    command
        .add_option("--quality", options.writing.quality,
                    "Of JPEG files, from 1 to 100: less makes smaller files that differ more (90)")
        ->check(CLI::Range(1, 100).description(""))
        ->type_name("N");
    command.add_flag("--pyramid", options.writing.pyramid,
                     "Write OME-Zarr with smaller copies of the picture, each of half its size");
    command.add_flag("--drop-metadata", options.writing.dropMetadata,
                     "Write an image also in a format that can't hold its calibration or meaning, without them");
}

void addMemoryOption(CLI::App& command, std::optional<std::uint64_t>& memory) {
    command
        .add_option("--memory", memory,
                    "Take at most so much memory, as in 500M or 2G, for images, working memory and chunks of images on "
                    "disk: temporary images go to disk where it is short, and what does not fit is refused before "
                    "the run, with the numbers")
        ->transform(CLI::AsSizeValue(false).description(""))
        ->check(CLI::Range(std::uint64_t{1} << 20, std::uint64_t{1} << 62).description(""))
        ->type_name("SIZE");
}

void limitImageSize(std::uint64_t bytes) {
    memoryForReading = bytes;
}

bool isImageSizeLimited() {
    return memoryForReading != 0;
}

bool isBeyondLimit(const ImageHeader& header) {
    std::size_t bytes = 0;
    const bool isKnown =
        helper::multiplyExtents(header.extents, bytes) &&
        helper::checkedMultiply(
            bytes, helper::getSizeOf(header.voxelType) * helper::getElementNumber(header.elementType), bytes);
    return isImageSizeLimited() && (!isKnown || bytes > memoryForReading);
}

io::ReadOptions readingOptions(const std::filesystem::path& path) {
    const GivenOptions& options = given();
    io::ReadOptions reading;
    reading.maximumImageSize = options.maximumImageSize == 0 ? memoryForReading
                               : memoryForReading == 0       ? options.maximumImageSize
                                                             : std::min(options.maximumImageSize, memoryForReading);
    reading.calibration = options.noCalibration     ? io::Calibration::None
                          : options.printResolution ? io::Calibration::All
                                                    : io::Calibration::Measured;
    reading.grey = options.grey;
    reading.interrupted = &Interrupts::requested;
    reading.warn = [name = path.string()](const String& text) {
        writeMessage("rix: warning: " + description::inQuotes(name) + ": " + text + '\n');
    };
    return reading;
}

io::WriteOptions writingOptions() {
    io::WriteOptions writing = given().writing;
    writing.interrupted = &Interrupts::requested;
    return writing;
}

void calibrate(ImageModel& image) {
    const GivenOptions& options = given();
    constexpr std::array axes{COLUMNS, ROWS, PLANS};
    for (std::size_t i = 0; i < axes.size() && !options.spacing.empty(); ++i) {
        if (i < options.spacing.size() || options.spacing.size() == 1) {
            image.setSpacingOf(axes[i], options.spacing[options.spacing.size() == 1 ? 0 : i]);
        }
    }
    if (options.unit) {
        image.setSpatialUnitName(*options.unit);
    }
}

}  // namespace rix::cli
