#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <rix/image/ImageHeader.h>
#include <rix/image/MemoryImage.h>

namespace rix::cli {

/// Reads an image. @throws Failure (unreadable input), MemoryError.
std::unique_ptr<io::MemoryImage> loadImage(const std::filesystem::path& path);

/// An image without samples that has the header of an image file. @throws Failure (unreadable input).
std::unique_ptr<HeaderImage> readHeader(const std::filesystem::path& path);

/// Writes an image. @throws Failure (unwritable output).
void saveImage(const std::filesystem::path& path, const ImageModel& image);

/// Makes sure, before anything is computed, that an image can be written there: the extension names a format, the
/// folder exists and may be written to, and no folder has the name. @throws Failure (unwritable output).
void checkCanWrite(const std::filesystem::path& path);

/// The same for a file of any kind, whatever its extension.
void checkCanWriteFile(const std::filesystem::path& path);

/// The images that a command line reads; a path that comes twice is read once.
class ImageInputs {
public:
    const ImageModel& read(const std::filesystem::path& path);

private:
    std::map<std::filesystem::path, std::unique_ptr<io::MemoryImage>> m_images;
};

/// The images that a run makes, and the files that they go to when it has succeeded.
class ImageOutputs {
public:
    struct Entry {
        std::string property;
        std::filesystem::path path;
        std::unique_ptr<io::MemoryImage> image;
    };

    /// Announces an output and checks that it can be written. The name of an input is allowed: inputs have been read
    /// before outputs are written. @throws Failure: unwritable output; wrong usage when two outputs go to one file.
    void add(const std::string& property, const std::filesystem::path& path, std::unique_ptr<io::MemoryImage> image);
    const std::vector<Entry>& entries() const { return m_entries; }

private:
    std::vector<Entry> m_entries;
};

}  // namespace rix::cli
