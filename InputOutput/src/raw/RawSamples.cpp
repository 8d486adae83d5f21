#include "RawSamples.h"

#include <algorithm>
#include <array>
#include <bit>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "../SampleRows.h"
#include "HeaderText.h"
#include "RawAxes.h"
#include "RawOrder.h"

namespace rix::io {
namespace {

template <class From>
void scaleSamples(const std::uint8_t* from, std::uint8_t* to, std::size_t count, VoxelTypes type, double slope,
                  double intercept) {
    for (std::size_t i = 0; i < count; ++i) {
        From sample{};
        std::memcpy(&sample, from + i * sizeof(sample), sizeof(sample));
        const double value = slope * static_cast<double>(sample) + intercept;
        const auto rounded = static_cast<float>(value);
        if (type == RIX_FLOAT32) {
            std::memcpy(to + i * sizeof(rounded), &rounded, sizeof(rounded));
        } else {
            std::memcpy(to + i * sizeof(value), &value, sizeof(value));
        }
    }
}

/// 32 bits of a real hold 8 and 16 bits of an integer exactly; a scale of others is computed in 64.
VoxelTypes scaledType(StoredType stored) {
    return bytesOf(stored) <= 2 || stored == StoredType::Float32 ? RIX_FLOAT32 : RIX_FLOAT64;
}

std::uint64_t storedBytes(const RawLayout& layout) {
    std::size_t bytes = bytesOf(layout.stored);
    for (const std::size_t extent : layout.info.extents) {
        if (extent == 0) {
            throw LoadingError("The image is empty: one of its extents is 0.");
        }
        if (!helper::checkedMultiply(bytes, extent, bytes)) {
            throw LoadingError("The header promises more bytes of samples than 64 bits can count.");
        }
    }
    return bytes;
}

void checkSize(const InputFile& data, const RawLayout& layout) {
    const std::uint64_t bytes = storedBytes(layout);
    if (layout.position > data.size() || layout.skipped > layout.position + data.size() * DeflateRatio) {
        throw LoadingError("The header says that the samples begin at byte " +
                           std::to_string(std::max(layout.position, layout.skipped)) + "; the file has " +
                           std::to_string(data.size()) + '.');
    }
    checkPromise(bytes, data.size() - layout.position, layout.compressed ? DeflateRatio : 1,
                 layout.compressed ? "deflate" : "no compression");
}

}  // namespace

void checkRaw(InputFile& header, const ReadOptions& options, RawLayout& layout) {
    const StoredType stored = layout.stored;
    layout.info.voxelType = layout.scale ? scaledType(stored) : voxelTypeOf(stored);
    layout.info.fileBytes = header.size();
    if (layout.scale && (stored == StoredType::ComplexFloat32 || stored == StoredType::ComplexFloat64)) {
        throw LoadingError("Complex samples with a scale are not supported.");
    }
    layout.info.storage = layout.compressed ? "deflate" : "no compression";
    layout.info.storage += bytesOf(stored) > 1 && layout.bigEndian ? ", big-endian" : "";
    layout.info.storage += ", " + std::to_string(8 * bytesOf(stored)) + " bits a sample";
    if (layout.data.empty()) {
        checkSize(header, layout);
    } else {
        const InputFile data(layout.data);
        layout.info.storage += ", samples in '" + layout.data.filename().string() + "'";
        layout.info.fileBytes += data.size();
        checkSize(data, layout);
    }
    renameAxes(options.selection, layout);
}

std::unique_ptr<MemoryImage> readRaw(InputFile& header, const RawLayout& layout, const ReadOptions& options) {
    constexpr std::size_t partSamples = std::size_t{32} << 10U;
    std::unique_ptr<InputFile> data;
    if (!layout.data.empty()) {
        data = std::make_unique<InputFile>(layout.data);
        checkSize(*data, layout);
    }
    PartialImage image(layout.info, options);
    const auto source = openSource(data ? *data : header, layout.position, layout.compressed);
    Placer placer(image.image(), layout.axes);
    InterruptPoint interrupt(options.interrupted);
    const std::size_t bytes = bytesOf(layout.stored);
    std::vector<std::uint8_t> stored(partSamples * bytes);
    std::vector<std::uint8_t> converted(partSamples *
                                        std::max<std::size_t>(8, helper::getSizeOf(layout.info.voxelType)));
    const auto skip = [&](std::uint64_t count) {
        while (layout.compressed && count > stored.size()) {  // then it takes time
            source->skip(stored.size());
            interrupt.pass(stored.size());
            count -= stored.size();
        }
        source->skip(count);
    };
    const auto keep = [&](std::size_t count) {
        if (layout.bigEndian != (std::endian::native == std::endian::big)) {
            swapByteOrder(layout.stored, stored.data(), count);
        }
        if (layout.scale) {
            std::vector<std::uint8_t> plain(count * helper::getSizeOf(voxelTypeOf(layout.stored)));
            convertSamples(layout.stored, stored.data(), plain.data(), count);
            access::dispatch(access::Reals{}, voxelTypeOf(layout.stored), [&](auto tag) {
                scaleSamples<typename decltype(tag)::type>(plain.data(), converted.data(), count, layout.info.voxelType,
                                                           layout.scale->first, layout.scale->second);
            });
        } else {
            convertSamples(layout.stored, stored.data(), converted.data(), count);
        }
        placer.place(converted.data(), count);
    };
    skip(layout.skipped);
    Runs runs(layout, image);
    std::uint64_t at = 0;
    std::size_t filled = 0;
    while (const auto run = runs.next()) {
        skip((run->begin - at) * bytes);
        for (std::uint64_t left = run->count; left > 0;) {
            const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, partSamples - filled));
            source->read(stored.data() + filled * bytes, count * bytes);
            interrupt.pass(count * bytes);
            filled += count;
            left -= count;
            if (filled == partSamples) {
                keep(filled);
                filled = 0;
            }
        }
        at = run->begin + run->count;
    }
    keep(filled);
    if (image.isWhole()) {
        source->finish();
    }
    return image.release();
}

std::filesystem::path dataPath(const InputFile& header, const String& name) {
    const std::filesystem::path given(name);
    const bool inside = !name.empty() && name.find('\0') == String::npos && given.is_relative() &&
                        std::none_of(given.begin(), given.end(), [](const auto& part) { return part == ".."; });
    if (!inside) {
        throw LoadingError("The header names '" + escapeText(name) +
                           "' for the samples. Only files in the folder of the header and below are read.");
    }
    return header.path().parent_path() / given;
}

void writeRaw(ByteSink& sink, const ImageModel& image, bool interleaved) {
    const auto n = helper::getExtents(image);
    const std::size_t size = helper::getElementSize(image);
    const std::size_t channels = interleaved ? n[SPECTRAL_SERIES] : 1;
    std::vector<std::uint8_t> row(n[COLUMNS] * size);
    std::vector<std::uint8_t> pixels(channels > 1 ? row.size() * channels : 0);
    for (std::size_t s = 0; s < n[SPECTRAL_SERIES] / channels; ++s) {
        for (std::size_t t = 0; t < n[SEQUENCE]; ++t) {
            for (std::size_t z = 0; z < n[PLANS]; ++z) {
                for (std::size_t y = 0; y < n[ROWS]; ++y) {
                    for (std::size_t c = 0; c < channels; ++c) {
                        readRow(image, row.data(), n[COLUMNS], 0, y, z, t, s + c);
                        if (channels > 1) {
                            copySamples(row.data(), 1, pixels.data() + c * size, channels, n[COLUMNS], size);
                        }
                    }
                    const auto& bytes = channels > 1 ? pixels : row;
                    sink.write(bytes.data(), bytes.size());
                }
            }
        }
    }
}

bool isDetached(const std::filesystem::path& path, std::string_view extension) {
    return lowered(path.extension().string()) == '.' + String(extension);
}

std::filesystem::path writeRawBeside(const std::filesystem::path& header, const char* end, Packing packing,
                                     const ImageModel& image, bool interleaved) {
    std::filesystem::path data = header;
    data += end;  // behind the extension: headers of two formats don't share samples
    OutputFile file(data);
    const auto sink = openSink(file, packing);
    writeRaw(*sink, image, interleaved);
    sink->finish();
    file.commit();
    return data;
}

bool writesBigEndian() {
    return std::endian::native == std::endian::big;
}

String refusalOfRaw(const String& format, const ImageModel& image, const WriteOptions& options) {
    if (const String reason = refusalOfElements(format, image); !reason.empty()) {
        return reason;
    }
    if (options.tileColumns != 0 || options.tileRows != 0) {
        return format + " has no tiles.";
    }
    if (options.compression == Compression::Lzw || options.compression == Compression::Zstd) {
        return format + " has no " + (options.compression == Compression::Lzw ? "LZW" : "Zstandard") + " compression.";
    }
    return {};
}

String lostCalibration(const String& format, const ImageFileInfo& info, const WriteOptions& options) {
    const ImageFileInfo plain;
    String lost;
    const auto add = [&](bool differs, const char* what) {
        lost += differs ? (lost.empty() ? "" : ", ") + String(what) : "";
    };
    add(info.spacing != plain.spacing, "spacing");
    add(info.origin != plain.origin, "origin");
    add(!(info.spatialDirections == plain.spatialDirections), "directions");
    add(!info.spatialUnitName.empty() || !info.sequenceUnitName.empty(), "units");
    add(info.interpretation == RIX_LABEL, "that it holds labels");
    add(info.colorInterpretation != UNKNOWN, "what its channels are");
    if (lost.empty() || options.dropMetadata) {
        return {};
    }
    return format + " has no place for what is known of the image: " + lost + ". It " + CanBeLeftOut;
}

}  // namespace rix::io
