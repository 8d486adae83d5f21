#include "ZarrStore.h"

#include <algorithm>
#include <cstring>
#include <system_error>
#include <utility>

#include <rix/access/SampleCast.h>
#include <rix/exceptions/Exception.h>

#include "../raw/RawSamples.h"

namespace rix::io {
namespace {

/// The bytes of a file; false when there is none.
bool readFile(const std::filesystem::path& path, std::size_t most, std::vector<std::uint8_t>& bytes) {
    if (isMissing(path)) {
        return false;
    }
    InputFile file(path);
    if (file.size() > most) {
        throw LoadingError("The chunk is damaged: its file is larger than its samples can make it.");
    }
    bytes.resize(static_cast<std::size_t>(file.size()));
    if (file.readAt(0, bytes.data(), bytes.size()) != bytes.size()) {
        throw LoadingError("The chunk cannot be read: " +
                           (file.failure().empty() ? String("its file has become shorter") : file.failure()) + '.');
    }
    return true;
}

}  // namespace

ZarrStore::ZarrStore(std::filesystem::path folder, ZarrArray array, std::vector<Components> axes, bool makesBinary)
    : m_folder(std::move(folder)),
      m_array(std::move(array)),
      m_axes(std::move(axes)),
      m_grid(extentsOf(m_array.shape, m_axes), extentsOf(m_array.chunks, m_axes)),
      m_order(m_array.chunks, m_axes),
      m_swaps(m_array.bigEndian != writesBigEndian() && bytesOf(m_array.stored) > 1),
      m_makesBinary(makesBinary) {}

std::filesystem::path ZarrStore::fileOf(std::size_t chunk) const {
    const Extents place = m_grid.placeOf(chunk);
    String name;
    for (const Components axis : m_axes) {
        if (!name.empty()) {
            name += m_array.separator;
        }
        name += std::to_string(place[static_cast<std::size_t>(axis)]);
    }
    return m_folder / name;
}

void ZarrStore::fillBox(RawData samples, const Extents& box, std::size_t sampleBytes) const {
    std::memset(samples, 0, m_grid.elements() * sampleBytes);
    forEachRow({{}, box}, m_grid.chunk(), [&](const Place& /*at*/, std::size_t count, std::size_t first) {
        for (std::size_t i = first; i < first + count; ++i) {
            std::memcpy(samples + i * sampleBytes, m_array.fill.data(), sampleBytes);
        }
    });
}

bool ZarrStore::read(std::size_t chunk, RawData samples) {
    const std::filesystem::path path = fileOf(chunk);
    const std::size_t elements = m_grid.elements();
    const std::size_t storedBytes = bytesOf(m_array.stored);
    const VoxelTypes type = voxelTypeOf(m_array.stored);
    const Extents box = m_grid.boxOf(chunk).count;
    try {
        std::vector<std::uint8_t> packed;
        if (!readFile(path, mostCompressed(elements * storedBytes), packed)) {
            if (m_array.fill.empty()) {
                return false;
            }
            fillBox(samples, box, helper::getSizeOf(type));
        } else {
            checkPromise(elements * storedBytes, packed.size(), ratioOf(m_array.compressor), m_array.compressor.name);
            const bool isDirect = m_order.isOfImages() && box == m_grid.chunk();
            const bool converts = isConverted(m_array.stored);
            std::vector<std::uint8_t> unpacked;
            std::vector<std::uint8_t> ordered;
            std::uint8_t* stored = samples;
            if (converts || !isDirect) {
                unpacked.resize(elements * storedBytes);
                stored = unpacked.data();
            }
            decompressZarr(m_array.compressor, packed, stored, elements * storedBytes);
            if (!isDirect) {  // what lies beyond the image is 0, whatever the file has there
                std::uint8_t* target = samples;
                if (converts) {
                    ordered.resize(elements * storedBytes);
                    target = ordered.data();
                } else {
                    std::memset(samples, 0, elements * storedBytes);
                }
                m_order.toImage(stored, target, box, storedBytes);
                stored = target;
            }
            if (m_swaps) {
                swapByteOrder(m_array.stored, stored, elements);
            }
            if (converts) {
                convertSamples(m_array.stored, stored, samples, elements);
            }
        }
    } catch (Exception& exception) {
        exception.addInfoLevel("Cannot read the chunk '" + path.string() + "'.");
        throw;
    }
    if (m_makesBinary) {
        access::makeZeroOrOne(type, samples, elements);
    }
    return true;
}

void ZarrStore::write(std::size_t chunk, ConstRawData samples) {
    const std::filesystem::path path = fileOf(chunk);
    const std::size_t sampleBytes = bytesOf(m_array.stored);
    const std::size_t bytes = m_grid.elements() * sampleBytes;
    try {
        std::vector<std::uint8_t> ordered;
        if (!m_order.isOfImages()) {
            ordered.resize(bytes);
            m_order.toFile(samples, ordered.data(), m_grid.chunk(), sampleBytes);
            samples = ordered.data();
        }
        const std::vector<std::uint8_t> packed = compressZarr(m_array.compressor, samples, bytes, sampleBytes);
        std::error_code error;
        std::filesystem::create_directories(path.parent_path(), error);  // what it lacks is told by the file
        OutputFile file(path);
        if (!file.writeAt(0, packed.data(), packed.size())) {
            throw WritingError(file.failure() + '.');
        }
        file.commit();
    } catch (Exception& exception) {
        exception.addInfoLevel("Cannot write the chunk '" + path.string() + "'.");
        throw;
    }
}

void ZarrStore::finish(const ImageHeader&) {}

}  // namespace rix::io
