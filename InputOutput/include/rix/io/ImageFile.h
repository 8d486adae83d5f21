#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/image/ImageHeader.h>
#include <rix/image/ImageModel.h>
#include <rix/image/MemoryImage.h>
#include <rix/io/Selection.h>

namespace rix::io {

/// How samples are packed in a file. All keep every sample.
enum class Compression {
    FormatDefault,  ///< PNG and .nii.gz: deflate; OME-Zarr: blosc with LZ4 and shuffled bytes; else none
    None,
    Lzw,      ///< TIFF only
    Deflate,  ///< TIFF, PNG, OME-Zarr (as zlib), NRRD (as gzip), MetaImage (as zlib)
    Zstd,     ///< TIFF, OME-Zarr
};

/// A compression that can be asked for, and its name: "none", "deflate", "lzw", "zstd".
struct NamedCompression {
    String name;
    Compression compression;
};

/// All but the usual one of the format.
RIX_EXPORT const std::vector<NamedCompression>& getCompressions();

/// Whether a TIFF file gets 64-bit offsets, which some readers don't know.
enum class BigTiff {
    WhenNeeded,  ///< when the samples could pass 4 GiB
    Always,
};

/// What a writer may be asked for. An option that the format of the file doesn't know is refused.
struct WriteOptions {
    Compression compression = Compression::FormatDefault;
    /// Both 0 for strips of rows; else the size of the tiles, multiples of 16 (TIFF), or of the chunks (OME-Zarr).
    std::size_t tileColumns = 0;
    std::size_t tileRows = 0;
    BigTiff bigTiff = BigTiff::WhenNeeded;
    /// Whether calibration and meaning that the format has no place for are left out; else such an image is refused.
    bool dropMetadata = false;
    /// Whether the picture is written in smaller and smaller copies, too, each of half the columns and rows (and of
    /// half the planes where these lie no farther apart) until none is longer than 256 (OME-Zarr only).
    bool pyramid = false;
    /// Of JPEG, the only format that changes samples: 1 to 100, of which less makes smaller files that differ more; 0
    /// for the usual 90.
    int quality = 0;
    /// Asked between rows, about every MiB; true ends the writing with `UserCancelException`, and no file appears.
    std::function<bool()> interrupted{};
};

/// What of the calibration in a file counts.
enum class Calibration {
    /// All but a resolution that programs note for print and screen (72, 96, 300 ... dots an inch, the same along rows
    /// and
    /// columns), which tells nothing of what is on the picture.
    Measured,
    All,   ///< a resolution for print, too
    None,  ///< spacing 1, origin 0, no units, axes along those of the world
};

/// How an image file is read.
struct ReadOptions {
    /// The most bytes that the samples of an image may take in memory. 0 stands for the global setting
    /// RIX_MAXIMUM_IMAGE_SIZE, a number of bytes; without that there is no limit.
    std::uint64_t maximumImageSize = 0;
    Calibration calibration = Calibration::Measured;
    /// The part of the image that is read, and what the axes of the file mean.
    Selection selection{};
    /// Whether an image of colour interpretation RGB is read as the grey image that `ConvertColorSpace` makes of it:
    /// one channel of the same type, without opacity. Others are read as ever.
    bool grey = false;
    /// Asked between parts of the file, about every MiB; true ends the reading with `UserCancelException`.
    std::function<bool()> interrupted{};
    /// Told what the file says that is not understood or contradicts its samples, and what is made of it instead.
    /// Where nobody is told, such files are refused, unless the contradiction is a usual one of ImageJ's.
    std::function<void(const String&)> warn{};
};

/// All that a file tells about its image beside the samples.
struct ImageFileInfo : ImageHeader {
    String format;                ///< name of the format, such as "TIFF"
    String storage;               ///< for people: "deflate, tiles of 64 x 64, 16 bits a sample"
    std::uint64_t fileBytes = 0;  ///< size of the file
    std::size_t series = 1;       ///< images in the file, of which this is one
    std::size_t levels = 1;       ///< of its pyramid, of which this is one
};

/// A format that files are read from and written to.
struct ImageFormat {
    String name;
    std::vector<String> extensions;  ///< in lower case without the dot; the usual one first
};

/// The formats in the order in which files are tried against them.
RIX_EXPORT std::vector<ImageFormat> getImageFormats();

/// The file that the name of an image leads to: "cells.h5" for the data set "cells.h5:/raw", else the name itself.
RIX_EXPORT std::filesystem::path fileOfImage(const std::filesystem::path& path);

/// Whether the name of a file ends with an extension of a format.
RIX_EXPORT bool isImageFileName(const std::filesystem::path& path);

/// Reads a whole image into memory. The format is told from the content of the file, never from its name.
///
/// Axes. The first row of the image is the top one, the first column the left one, whatever order the file keeps them
/// in (a TIFF file that stores its picture transposed is refused). Channels lie on the spectral axis. Pages of a TIFF
/// stack are planes, unless a description says what they are: ImageJ's, OME-XML, or the JSON of Python programs.
/// Reduced copies and masks inside a TIFF file are passed over; pages of different sizes or types are refused.
/// docs/formats.md tells what the other formats say.
///
/// Samples. Types are kept, but for 16-bit floats, which become float32, and 64-bit integers, which become 32-bit ones
/// when every value fits and are refused else. Unsigned TIFF samples of 2 to 15 bits keep their values in the next
/// larger of uint8 and uint16; PNG greys of 2 and 4 bits are scaled to 0..255, as that format defines. Images of 1 bit
/// become uint8 with the values 0 and 1 and the interpretation binary; 1 is the bright side. Whatever a file holds,
/// samples of a binary image become 0 or 1. Where zero means white, unsigned values are turned over, so that larger is
/// brighter (for other types that is not defined, they are left). Palettes are expanded to RGB. Three channels of
/// colour have the colour interpretation `RGB`; opacity follows them as a fourth channel (with grey: as a second),
/// values untouched. Gamma and colour profiles are not applied.
///
/// Calibration. From the fields of the format, the description of a TIFF file, its resolution unless that is one for
/// print (in millimetres where it is per inch, metre or centimetre) and, exactly, from what `writeImage` has noted.
/// Spacing is 1 where the file has none.
///
/// A part of the image. With a selection the rest of the file is not kept, and not even read where the format lets it
/// be found: pages of a TIFF file and their strips and tiles, samples without compression. Its first element lies at
/// the origin, which moves by the way from the first one of the file; spacing, directions, units and interpretations
/// stay, but for the colour interpretation of an image that loses a colour. docs/selections.md tells more.
///
/// Files are taken as hostile. Before anything is allocated for them, the promised samples, as stored, are compared
/// with what the file's own size can hold: its bytes without compression, at most 2560 times them with LZW, 1032 with
/// deflate, 64 with PackBits, 2048 with JPEG, 16384 with LZMA, 32768 with Zstandard and 65536 with the fax codes;
/// unpacking bits and palettes makes at most 48 times that. Other compressions are refused. A damaged or truncated
/// file is refused as a whole; of a part, damage elsewhere need not be noticed.
///
/// @throws LoadingError the file is missing, no regular file, unreadable, damaged, of an unknown format or of a kind
///         that is not supported, larger than the options allow, or without what is
///         selected. The first level says what is wrong, the outermost
///         names the file.
/// @throws MemoryError there is not enough memory for the image.
/// @throws UserCancelException the options' `interrupted` said so.
///
/// Cost: one pass over the file; beside the image one strip or tile is held.
RIX_EXPORT std::unique_ptr<MemoryImage> readImage(const std::filesystem::path& path, const ReadOptions& options = {});

/// What `readImage` would give (of a selection, the part), without reading samples. Throws as it does; damaged samples
/// are not noticed.
RIX_EXPORT ImageFileInfo readImageInfo(const std::filesystem::path& path, const ReadOptions& options = {});

/// Writes an image in the format that the extension of `path` names, in any case of letters; docs/formats.md tells what
/// each can hold.
///
/// Interpretation, colour interpretation, spacing, origin, directions and unit names are noted in the file in a form
/// that other readers pass over, beside the forms that they know (descriptions, resolution, fields). A format that has
/// no place for them refuses an image that has them, unless the options drop them. A spacing that is not positive and
/// finite counts as none. Samples of a binary image are written as 0 and 1, with one bit where the format has that.
/// Nothing else is ever converted, but that JPEG changes samples: what the format cannot hold is refused, with the
/// formats that can.
///
/// The samples of .nhdr and .mhd go to a file beside of that name with .raw, .raw.gz or .zraw behind it, which is
/// complete before the header is.
///
/// The file appears under its name only when it is complete. Until then it has another name in the same folder and is
/// removed on any failure; an older file of that name stays as it was. Replacing a file waits until the new samples
/// are on the medium and keeps the permissions and the owner of the old one; access lists and other attributes are not
/// kept. A link is followed, not replaced. A file with several names (hard links), or with an owner that the process
/// can't give, keeps them: its bytes are replaced where they lie, once there is room for all of them. Pipes, devices
/// and open files of the process (/dev/stdout) get the bytes when all are there, after what was written to them before.
///
/// @throws WritingError the extension is unknown, the format cannot hold the image, the image fails to give a row, or
///         the file system refuses (the disk is full, the folder is missing or read-only, ...). The first level says
///         what is wrong, the outermost names the file.
/// @throws UserCancelException the options' `interrupted` said so.
///
/// Cost: one pass over the image by rows; beside it one strip or row of tiles is held.
RIX_EXPORT void writeImage(const std::filesystem::path& path, const ImageModel& image,
                           const WriteOptions& options = {});

/// What has to stand in brackets behind the name of an image that is written there, so that it can be read back:
/// "type=uint8,size=640x480" for a format without a header; empty for all others.
RIX_EXPORT String neededSelection(const std::filesystem::path& path, const ImageModel& image);

/// Refuses what `writeImage` refuses of an image's types and shape, and throws as it does then. Samples are not read,
/// and the file system is not asked.
RIX_EXPORT void checkImageFits(const std::filesystem::path& path, const ImageModel& image,
                               const WriteOptions& options = {});

}  // namespace rix::io
