#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/MemoryAccount.h>

namespace rix::individual_analysis {

/// Numbers labels in the order in which they come: open addressing, at most half full.
class LabelHash {
public:
    static constexpr std::uint32_t unknown = 0xffffffffU;

    /// The number of a label other than 0, or `unknown`.
    std::uint32_t find(std::uint32_t label) const {
        if (m_entries.empty()) {
            return unknown;
        }
        for (std::size_t i = placeOf(label);; i = (i + 1) & (m_entries.size() - 1)) {
            const Entry& entry = m_entries[i];
            if (entry.label == label || entry.label == 0) {
                return entry.label == label ? entry.number : unknown;
            }
        }
    }
    /// Gives a label that is unknown the next number.
    void insert(std::uint32_t label);
    std::size_t size() const { return m_size; }
    /// The capacity of a table into which `labels` labels were inserted, and its bytes.
    static std::size_t capacityFor(std::size_t labels);
    static double bytesFor(std::size_t labels) {
        return static_cast<double>(labels == 0 ? 0 : 2 * capacityFor(labels)) * sizeof(Entry);
    }
    /// How many labels fit before the table grows.
    std::size_t capacity() const { return m_entries.size() / 2; }

private:
    struct Entry {
        std::uint32_t label;  ///< 0: free
        std::uint32_t number;
    };

    // The high bits of a product with an odd number near 2^64 / golden ratio spread regular labels evenly.
    std::size_t placeOf(std::uint32_t label) const {
        return static_cast<std::size_t>((label * std::uint64_t{0x9E3779B97F4A7C15}) >> m_shift);
    }
    void put(Entry entry);
    void grow();

    static constexpr std::size_t fewestEntries = 128;
    static constexpr std::size_t growth = 4;

    unsigned m_shift = 63;
    std::size_t m_size = 0;
    access::CountedVector<Entry> m_entries;  ///< a power of two
};

}  // namespace rix::individual_analysis
