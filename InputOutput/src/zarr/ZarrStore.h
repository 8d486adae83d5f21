#pragma once

#include <filesystem>
#include <vector>

#include "../Chunks.h"
#include "ZarrArray.h"

namespace rix::io {

/// The chunks of an array in their files, each of which appears whole under its name.
class ZarrStore final : public ChunkStore {
public:
    /// @param axes those of the array, the slowest first
    /// @param makesBinary whether samples that are read become 0 and 1
    ZarrStore(std::filesystem::path folder, ZarrArray array, std::vector<Components> axes, bool makesBinary);

    const ZarrArray& array() const { return m_array; }
    const ChunkGrid& grid() const { return m_grid; }

    bool read(std::size_t chunk, RawData samples) override;
    void write(std::size_t chunk, ConstRawData samples) override;
    void finish(const ImageHeader& header) override;
    /// The folder of the chunks has another name now.
    void moved(const std::filesystem::path& folder) { m_folder = folder; }
    std::filesystem::path fileOf(std::size_t chunk) const;

private:
    /// Copies a box of samples between the order of the file and that of the image.
    void reorder(const std::uint8_t* from, std::uint8_t* to, const Extents& box, std::size_t sampleBytes,
                 bool toImage) const;
    void fillBox(RawData samples, const Extents& box, std::size_t sampleBytes) const;

    std::filesystem::path m_folder;
    ZarrArray m_array;
    std::vector<Components> m_axes;
    ChunkGrid m_grid;
    Extents m_steps{};        ///< in a chunk of the file, of neighbours on each axis of the image
    bool m_isInOrder = true;  ///< whether chunks of the file have the order of the image
    bool m_swaps = false;
    bool m_makesBinary;
};

/// The extents of an array, or of its chunks, as those of an image.
Extents extentsOf(const std::vector<std::size_t>& shape, const std::vector<Components>& axes);
/// The reverse.
std::vector<std::size_t> shapeOf(const Extents& extents, const std::vector<Components>& axes);

}  // namespace rix::io
