#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/Scratch.h>

namespace rix::analysis {

/// Counts keys of 16 bits: the samples of a 16-bit image, pairs of neighbours of an 8-bit one, or numbers of classes.
///
/// A counter has one byte, so that a table of all 65536 lies in a first-level cache, or nearly; every 256th count of a
/// key is carried over to a table that is hardly ever touched. Counting pairs of bytes this way costs half a store a
/// voxel, where a table of 256 counters can't do with less than one.
class KeyCounter {
public:
    static constexpr std::size_t keys = 65536;

    /// @throws MemoryError
    KeyCounter();

    /// Counts `count` keys of two bytes each, at any address.
    void count(const std::uint8_t* data, std::size_t count);

    /// The number of keys of this value met so far.
    std::uint64_t operator[](std::size_t key) const {
        const std::uint8_t* const counters = m_tables.counters;
        return std::uint64_t{256} * m_tables.carries[key] + counters[key] + counters[keys + key] +
               counters[2 * keys + key] + counters[3 * keys + key];
    }

    /// Bytes of working memory of one counter.
    static constexpr std::size_t memory = 4 * keys + sizeof(std::uint32_t) * keys;

private:
    /// How the keys at hand are best counted. A wrong guess costs time, never a count.
    enum class Texture {
        Varied,     ///< keys seldom come again soon: one table, which the cache holds
        FewValues,  ///< keys come again while their last count is still on its way: four tables take turns
        Flat        ///< one key prevails, or runs do: count groups of equal keys at once
    };
    struct Guess {
        Texture texture;
        std::uint16_t prevailing;
    };
    static Guess guess(const std::uint8_t* data, std::size_t count);

    template <std::size_t tables>
    std::size_t countStreams(const std::uint8_t* data, std::size_t count);
    std::size_t countFlat(const std::uint8_t* data, std::size_t count);
    void addMany(std::uint16_t key, std::size_t count);

    /// Where counts lie. Loops work on a copy: a byte that is written could be a part of the object itself, as far as
    /// the language knows, so that its pointers would be read again after each count.
    struct Tables {
        std::uint8_t* counters;  ///< four tables of bytes
        std::uint32_t* carries;  ///< how often a counter passed 255, in any table

        void add(std::size_t table, std::uint16_t key) const {
            if (++counters[table * keys + key] == 0) [[unlikely]] {
                ++carries[key];
            }
        }
    };

    access::Scratch m_memory;
    Tables m_tables;
    Guess m_guess{Texture::Varied, 0};
    std::size_t m_sinceGuess;
};

/// Counts bytes in the eight tables of 256 counters at `tables`, side by side so that equal neighbours don't wait for
/// each other: for images too small to pay for a `KeyCounter`.
void countBytes(const std::uint8_t* data, std::size_t count, std::uint32_t* tables);

}  // namespace rix::analysis
