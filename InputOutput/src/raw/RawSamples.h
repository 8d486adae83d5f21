#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "../Codec.h"
#include "../StoredSamples.h"
#include "ByteStreams.h"

namespace rix::io {

/// Samples that lie one after the other, as the header of a file tells.
struct RawLayout {
    ImageFileInfo info;  ///< what the image gets
    StoredType stored = StoredType::UInt8;
    bool bigEndian = false;
    std::vector<Components> axes{COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES};  ///< of the file, fastest first
    bool namedByImage = false;   ///< whether axes are named in their order in the image, not in that of the file
    std::filesystem::path data;  ///< the file that has them; empty for that of the header
    std::uint64_t position = 0;  ///< in that file, of the samples or of what they are compressed into
    bool compressed = false;     ///< with gzip or zlib
    std::uint64_t skipped = 0;   ///< bytes to pass over, after unpacking
    /// The value of a sample is slope * sample + intercept, which is computed in the floating-point type of the image.
    std::optional<std::pair<double, double>> scale{};
};

/// Gives `layout.info` the type of the image, refuses samples that the file cannot hold, and renames axes where the
/// options say so.
/// @throws LoadingError
void checkRaw(InputFile& header, const ReadOptions& options, RawLayout& layout);

/// Reads those that are selected. Ask `checkRaw` before. @throws LoadingError
std::unique_ptr<MemoryImage> readRaw(InputFile& header, const RawLayout& layout, const ReadOptions& options);

/// The name of a file of samples that a header names. @throws LoadingError when it may lie outside the header's folder,
/// since a header from elsewhere must not open any file of this machine.
std::filesystem::path dataPath(const InputFile& header, const String& name);

/// Writes the samples of an image in the order of its axes; with `interleaved` the channels of a pixel beside each
/// other.
void writeRaw(ByteSink& sink, const ImageModel& image, bool interleaved);

/// Whether a name ends with the extension of a header whose samples lie in a file beside.
bool isDetached(const std::filesystem::path& path, std::string_view extension);
/// Writes the samples of a header of that name into the file of that name and `end` behind it, which it gives.
/// The header comes after them, so that none names samples that are not there.
std::filesystem::path writeRawBeside(const std::filesystem::path& header, const char* end, Packing packing,
                                     const ImageModel& image, bool interleaved);

/// The byte order in which samples are written: that of this machine.
bool writesBigEndian();

/// The first of the reasons why formats of raw samples cannot hold an image; empty for none.
String refusalOfRaw(const String& format, const ImageModel& image, const WriteOptions& options);

/// How, for the users of the library, of Python and of the command line.
inline constexpr const char* CanBeLeftOut = "can be left out (dropMetadata, drop_metadata=True, --drop-metadata).";

/// Why a format that has no place for calibration and meaning cannot hold an image with these; empty when it has none,
/// or when it is to be written without them.
String lostCalibration(const String& format, const ImageFileInfo& info, const WriteOptions& options);

}  // namespace rix::io
