#pragma once

#include <filesystem>
#include <vector>

#include "../ArrayAxes.h"
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
    void fillBox(RawData samples, const Extents& box, std::size_t sampleBytes) const;

    std::filesystem::path m_folder;
    ZarrArray m_array;
    std::vector<Components> m_axes;
    ChunkGrid m_grid;
    ChunkOrder m_order;
    bool m_swaps = false;
    bool m_makesBinary;
};

}  // namespace rix::io
