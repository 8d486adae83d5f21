#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/Scratch.h>

namespace rix::analysis {

/// Counts keys of 16 bits: the samples of a 16-bit image, or pairs of neighbours of an 8-bit one.
///
/// A counter has one byte, so that all 65536 fit a first-level cache, or nearly; every 256th count of a key is carried
/// over to a table that is hardly ever touched. Counting pairs of bytes this way costs half a store a voxel, where a
/// table of 256 counters can't do with less than one.
class KeyCounter {
public:
    static constexpr std::size_t keys = 65536;

    /// @throws MemoryError
    KeyCounter();

    /// Counts `count` keys of two bytes each, at any address.
    void count(const std::uint8_t* data, std::size_t count);

    /// The number of keys of this value met so far.
    std::uint64_t operator[](std::size_t key) const {
        return std::uint64_t{256} * m_carries[key] + m_counters[key] + m_counters[keys + key];
    }

    /// Bytes of working memory of one counter.
    static constexpr std::size_t memory = 2 * keys + sizeof(std::uint32_t) * keys;

private:
    access::Scratch m_memory;
    std::uint8_t* m_counters;  ///< two tables of bytes
    std::uint32_t* m_carries;  ///< how often a counter passed 255, in either table
};

/// Counts bytes in the eight tables of 256 counters at `tables`, side by side so that equal neighbours don't wait for
/// each other: for images too small to pay for a `KeyCounter`.
void countBytes(const std::uint8_t* data, std::size_t count, std::uint32_t* tables);

}  // namespace rix::analysis
