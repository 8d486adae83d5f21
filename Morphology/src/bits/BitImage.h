#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Scratch.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

namespace rix::morphology {

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// The rows around a row and itself, the planes before, at and behind it one after another: rows before, at and behind
/// each. Each pointer is to the first word of a row.
using RowsAround = std::array<const std::uint64_t*, 9>;

/// All voxels of an image at one bit each, rows one after another in storage order: bit x % 64 of word x / 64 is column
/// x. Around the words of a row lie words of zeros; what rows have beyond the last column is zero, too, and stays so as
/// long as rows change by bits that are taken away.
class BitImage {
public:
    static constexpr std::size_t bitsPerWord = 64;
    static constexpr std::size_t wordsPerChunk = 4;
    static constexpr std::size_t columnsPerChunk = bitsPerWord * wordsPerChunk;

    /// Bits that are undefined at first, but for the words between rows.
    /// @throws MemoryError when there is no memory, or there are more bytes than 64 bits can count
    explicit BitImage(const Extents& extents);

    /// The bytes that one holds; the greatest number there is when they do not fit 64 bits.
    static std::size_t bytes(const Extents& extents);

    const Extents& extents() const { return m_extents; }
    /// Rows of all planes, frames and channels.
    std::size_t rows() const { return m_rows; }
    /// Chunks of a row, which are what activity is told of.
    std::size_t chunks() const { return m_chunks; }
    std::size_t words() const { return m_chunks * wordsPerChunk; }

    std::uint64_t* row(std::size_t row) const { return m_bits.as<std::uint64_t>() + 1 + row * (words() + 1); }
    /// Zeros where rows lie outside their plane, or volume (3 axes).
    RowsAround around(std::size_t row, std::size_t axes) const {
        RowsAround around;
        around.fill(this->row(m_rows));
        forEachRowAround(row, axes, [&](std::size_t other, std::size_t place) { around[place] = this->row(other); });
        return around;
    }
    /// Calls `use(other, place)` for a row and the rows around it in their plane, or volume.
    template <class Use>
    void forEachRowAround(std::size_t row, std::size_t axes, const Use& use) const {
        const std::size_t rows = m_extents[ROWS];
        const std::size_t y = row % rows;
        const std::size_t z = row / rows % m_extents[PLANS];
        const std::size_t firstY = y > 0 ? 0 : 1;
        const std::size_t lastY = y + 1 < rows ? 2 : 1;
        const std::size_t firstZ = axes == 3 && z > 0 ? 0 : 1;
        const std::size_t lastZ = axes == 3 && z + 1 < m_extents[PLANS] ? 2 : 1;
        for (std::size_t dz = firstZ; dz <= lastZ; ++dz) {
            for (std::size_t dy = firstY; dy <= lastY; ++dy) {
                use(row + dz * rows + dy - rows - 1, 3 * dz + dy);
            }
        }
    }

    bool isSet(std::size_t row, std::size_t column) const {
        return ((this->row(row)[column / bitsPerWord] >> (column % bitsPerWord)) & 1U) != 0;
    }
    void clear(std::size_t row, std::size_t column) const {
        this->row(row)[column / bitsPerWord] &= ~(std::uint64_t{1} << (column % bitsPerWord));
    }

    /// Sets the bits of what is not 0 in an image of these extents: a step of the run.
    void pack(access::ExecutionContext& context, const ImageModel& image, OptimLevelType level) const;
    /// Writes 0 and 1 into an image of these extents, of type `uint8`: a step of the run.
    void unpack(access::ExecutionContext& context, ImageModel& image, OptimLevelType level) const;

    /// The bytes of rows on their way from and to images.
    static std::size_t rowBytes(const ImageModel& image, std::size_t threads);

private:
    Extents m_extents;
    std::size_t m_rows;
    std::size_t m_chunks;
    access::Scratch m_bits;  ///< the rows, each behind a word of zeros, and a row of zeros
};

}  // namespace rix::morphology
