#include "ImageFiles.h"

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include <unistd.h>

#include <rix/description/Text.h>
#include <rix/exceptions/Exception.h>
#include <rix/io/ImageFile.h>

#include "Failure.h"
#include "FileOptions.h"
#include "Interrupts.h"
#include "Output.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;

/// The file behind links and detours, also when it doesn't exist yet.
fs::path targetOf(const fs::path& path) {
    std::error_code error;
    fs::path target = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path : target;
}

[[noreturn]] void refuse(const fs::path& path, const std::string& reason) {
    throw Failure(UNWRITABLE_OUTPUT, description::inQuotes(path.string()) + " can't be written: " + reason);
}

}  // namespace

std::unique_ptr<io::MemoryImage> loadImage(const fs::path& path) {
    try {
        auto image = io::readImage(path, readingOptions(path));
        Interrupts::throwIfRequested();
        calibrate(*image);
        return image;
    } catch (const MemoryError&) {
        throw;  // not the fault of the file
    } catch (const UserCancelException&) {
        throw;
    } catch (const Exception& exception) {
        throw Failure(UNREADABLE_INPUT, exception);
    }
}

std::unique_ptr<HeaderImage> readHeader(const fs::path& path) {
    auto image = std::make_unique<HeaderImage>();
    try {
        if (!helper::applyHeader(io::readImageInfo(path, readingOptions(path)), *image)) {
            throw Failure(UNREADABLE_INPUT, "the image file " + description::inQuotes(path.string()) + " is too large");
        }
        calibrate(*image);
    } catch (const Exception& exception) {
        throw Failure(UNREADABLE_INPUT, exception);
    }
    return image;
}

void saveImage(const fs::path& path, const ImageModel& image) {
    try {
        io::writeImage(path, image, writingOptions());
    } catch (const MemoryError&) {
        throw;
    } catch (const Exception& exception) {
        throw Failure(UNWRITABLE_OUTPUT, exception);
    }
}

void checkCanWrite(const fs::path& path) {
    if (!io::isImageFileName(path)) {
        std::string known;
        for (const auto& format : io::getImageFormats()) {
            for (const auto& candidate : format.extensions) {
                known += (known.empty() ? "." : ", .") + candidate;
            }
        }
        refuse(path, "its extension is none of " + known);
    }
    checkCanWriteFile(path);
}

void checkCanWriteFile(const fs::path& path) {
    const fs::path target = targetOf(path);
    std::error_code error;
    if (fs::is_directory(target, error)) {
        refuse(path, "it is a folder");
    }
    const fs::path folder = target.parent_path();
    if (!fs::is_directory(folder, error)) {
        refuse(path, "there is no folder " + description::inQuotes(folder.string()));
    }
    // A new file appears beside an old one before it takes its place, so the folder's permission is what counts.
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
        refuse(path, "folder " + description::inQuotes(folder.string()) + ": " + std::strerror(errno));
    }
}

const ImageModel& ImageInputs::read(const fs::path& path) {
    auto& image = m_images[targetOf(path)];
    if (image == nullptr) {
        image = loadImage(path);
    }
    return *image;
}

void ImageOutputs::add(const std::string& property, const fs::path& path, std::unique_ptr<io::MemoryImage> image) {
    checkCanWrite(path);
    for (const auto& entry : m_entries) {
        if (targetOf(entry.path) == targetOf(path)) {
            throw Failure(WRONG_USAGE, entry.property + " and " + property + " go to the same file " +
                                           description::inQuotes(path.string()));
        }
    }
    m_entries.push_back({property, path, std::move(image)});
}

}  // namespace rix::cli
