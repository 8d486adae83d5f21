#include "ImageFiles.h"

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include <unistd.h>

#include <rix/description/Text.h>
#include <rix/exceptions/Exception.h>
#include <rix/io/ChunkedFile.h>
#include <rix/io/ImageFile.h>

#include "Failure.h"
#include "FileOptions.h"
#include "Interrupts.h"
#include "Output.h"
#include "Streams.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const fs::path& path, const std::string& reason) {
    throw Failure(UNWRITABLE_OUTPUT, description::inQuotes(path.string()) + " can't be written: " + reason);
}

io::Selection selectionOf(const io::SelectedFile& file) {
    if (file.selection.empty()) {
        return {};
    }
    try {
        return io::parseSelection(file.selection);
    } catch (const SerializationException& exception) {
        throw Failure(WRONG_USAGE, exception).within("In brackets behind " + description::inQuotes(file.path.string()));
    }
}

/// Calls `read` with a path that can be read at any place, and how that is read; what goes wrong names the one that was
/// given.
template <class Read>
auto readThrough(const fs::path& name, const Read& read) {
    refuseZeroByte(name, UNREADABLE_INPUT);
    const io::SelectedFile file = io::splitSelection(name);
    const fs::path& path = file.path;
    io::ReadOptions options = readingOptions(path);
    options.selection = selectionOf(file);
    const fs::path readable = readablePath(path);
    try {
        return read(readable, options);
    } catch (const MemoryError&) {
        throw;  // not the fault of the file
    } catch (const UserCancelException&) {
        throw;
    } catch (const Exception& exception) {
        const Failure failure(UNREADABLE_INPUT, exception);
        if (readable == path) {
            throw failure;
        }
        throw Failure(UNREADABLE_INPUT, failure.levels().front())
            .within("Cannot read the image of " +
                    (isStandardStream(path) ? "standard input." : description::inQuotes(path.string()) + '.'));
    }
}

}  // namespace

void refuseZeroByte(const fs::path& path, int exitCode) {
    if (path.native().find('\0') != std::string::npos) {
        throw Failure(exitCode, "the path " + description::inQuotes(path.string()) + " has a zero byte inside");
    }
}

std::unique_ptr<io::MemoryImage> loadImage(const fs::path& path) {
    return readThrough(path, [](const fs::path& readable, const io::ReadOptions& reading) {
        auto image = io::readImage(readable, reading);
        Interrupts::throwIfRequested();
        calibrate(*image);
        return image;
    });
}

namespace {

/// @param isToOpen whether an image is left on disk: one of the library's answers
std::unique_ptr<ImageModel> openOrLoad(const fs::path& path,
                                       bool (*isToOpen)(const fs::path& path, const io::ReadOptions& options)) {
    auto opened = readThrough(path, [&](const fs::path& readable, const io::ReadOptions& reading) {
        io::ReadOptions silent = reading;
        silent.warn = [](const String&) {};  // what is to be told is told once
        const bool isOpened =
            isToOpen(readable, silent) || (isImageSizeLimited() && io::canOpenImage(readable, silent) &&
                                           isBeyondLimit(io::readImageInfo(readable, silent)));
        return isOpened ? io::openImage(readable, reading) : nullptr;
    });
    if (opened == nullptr) {
        return loadImage(path);
    }
    calibrate(*opened);
    return opened;
}

}  // namespace

std::unique_ptr<ImageModel> openOrLoadImage(const fs::path& path) {
    return openOrLoad(path, &io::isForOpening);
}

std::unique_ptr<ImageModel> openForParts(const fs::path& path) {
    return openOrLoad(path, &io::canOpenImage);
}

io::ImageFileInfo readInfo(const fs::path& path, bool warns) {
    auto info = readThrough(path, [&](const fs::path& readable, io::ReadOptions reading) {
        if (!warns) {
            reading.warn = [](const String&) {};
        }
        return io::readImageInfo(readable, reading);
    });
    HeaderImage header;
    if (helper::applyHeader(info, header)) {
        calibrate(header);
        static_cast<ImageHeader&>(info) = header.header();
    }
    return info;
}

std::unique_ptr<HeaderImage> readHeader(const fs::path& path) {
    auto image = std::make_unique<HeaderImage>();
    if (!helper::applyHeader(readInfo(path), *image)) {
        throw Failure(UNREADABLE_INPUT, "the image file " + description::inQuotes(path.string()) + " is too large");
    }
    return image;
}

std::unique_ptr<ImageModel> makeImage(const fs::path& path) {
    if (!isStandardStream(path) && io::isChunkedFileName(path)) {
        return io::createImage(path, writingOptions());
    }
    return std::make_unique<io::MemoryImage>();
}

void saveImage(const fs::path& path, ImageModel& image) {
    auto* const onDisk = dynamic_cast<io::DiskImage*>(&image);
    if (onDisk == nullptr || !onDisk->isWritable()) {
        saveImage(path, std::as_const(image));
        return;
    }
    try {
        onDisk->close();
    } catch (const Exception& exception) {
        throw Failure(UNWRITABLE_OUTPUT, exception);
    }
}

void saveImage(const fs::path& path, const ImageModel& image) {
    try {
        if (isStandardStream(path)) {
            const TemporaryFolder folder;
            const fs::path file = folder.path() / withFormat(path);
            io::writeImage(file, image, writingOptions());
            if (fs::is_directory(file)) {
                refuse(path, "the format makes a folder, which can't go through a pipe");
            }
            sendFile(file);
        } else {
            io::writeImage(path, image, writingOptions());
        }
    } catch (const UserCancelException&) {
        throw;
    } catch (const MemoryError&) {
        throw;
    } catch (const Exception& exception) {
        throw Failure(UNWRITABLE_OUTPUT, exception);
    }
    if (const String selection = io::neededSelection(withFormat(path), image); !selection.empty()) {
        const std::string name = (isStandardStream(path) ? "-" : path.string()) + '[' + selection + ']';
        writeMessage("note: the file has no header; it is read as " + description::inQuotes(name) + '\n');
    }
}

void checkCanWrite(const fs::path& path) {
    if (!io::isImageFileName(withFormat(path))) {
        std::string known;
        for (const auto& format : io::getImageFormats()) {
            for (const auto& candidate : format.extensions) {
                known += (known.empty() ? "." : ", .") + candidate;
            }
        }
        refuse(path, "its extension is none of " + known +
                         (io::splitSelection(path).selection.empty()
                              ? ""
                              : "; brackets select a part of a file that is read, not of one that is written"));
    }
    if (isStandardStream(path)) {
        refuseImageOnTerminal();
        return;
    }
    std::error_code error;
    if (const fs::path file = io::fileOfImage(path); file != path || !io::isChunkedFileName(path)) {
        checkCanWriteFile(file);
    } else if (!fs::is_directory(path, error)) {  // else an image in a folder gives way to the new one
        // The folder of labels within an image comes with the first ones.
        const fs::path folder = path.parent_path();
        const bool isNew = folder.filename() == "labels" && !fs::is_directory(folder, error);
        checkCanWriteFile(isNew ? folder : path);
    }
}

void checkFits(const fs::path& path, const ImageModel& image) {
    try {
        io::checkImageFits(withFormat(path), image, writingOptions());
    } catch (const Exception& exception) {
        throw Failure(UNWRITABLE_OUTPUT, exception);
    }
}

void checkCanWriteFile(const fs::path& path) {
    refuseZeroByte(path, UNWRITABLE_OUTPUT);
    std::error_code error;
    const fs::file_type type = fs::status(path, error).type();
    if (type == fs::file_type::directory) {
        refuse(path, "it is a folder");
    }
    if (isStandardStream(path) || type == fs::file_type::fifo || type == fs::file_type::character) {
        return;
    }
    const fs::path target = linkTarget(path);
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, error)) {
        refuse(path, "there is no folder " + description::inQuotes(folder.string()));
    }
    // A new file appears beside an old one before it takes its place, so the folder's permission is what counts.
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
        refuse(path, "folder " + description::inQuotes(folder.string()) + ": " + std::strerror(errno));
    }
}

const ImageModel& ImageInputs::read(const fs::path& path) {
    const io::SelectedFile file = io::splitSelection(path);
    auto& image =
        m_images[{isStandardStream(file.path) ? FileIdentity{.name = "-"} : identityOf(file.path), file.selection}];
    if (image == nullptr) {
        image = openOrLoadImage(path);
    }
    return *image;
}

}  // namespace rix::cli
