#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include <rix/access/Looks.h>
#include <rix/access/MemoryAccount.h>

namespace rix::access {

/// Numbers that belong to keys other than 0: open addressing, at most three quarters full.
class KeyTable {
public:
    struct Entry {
        std::uint64_t key;  ///< 0: free
        std::uint64_t value;
    };

    /// That of a key; 0 when the key is new.
    std::uint64_t& operator[](std::uint64_t key) {
        if (4 * (m_size + 1) > 3 * m_entries.size()) {
            grow();
        }
        Entry& entry = m_entries[placeOf(key)];
        m_size += entry.key == 0 ? 1U : 0U;
        entry.key = key;
        return entry.value;
    }
    /// That of a key, or 0.
    std::uint64_t find(std::uint64_t key) const { return m_entries.empty() ? 0 : m_entries[placeOf(key)].value; }

    std::size_t size() const { return m_size; }

    /// Calls `use(entry)` for every key, in no order.
    template <class Use>
    void forEach(const Use& use) const {
        Looks looks;
        for (const Entry& entry : m_entries) {
            looks.add(1);
            if (entry.key != 0) {
                use(entry);
            }
        }
    }

    /// The most bytes that are held at once while so many keys come one by one.
    static double bytesFor(double keys) {
        double entries = fewestEntries;
        while (3 * entries < 4 * keys) {
            entries *= 2;
        }
        return (entries > fewestEntries ? 1.5 : 1.0) * entries * sizeof(Entry);
    }

private:
    static constexpr std::size_t fewestEntries = 64;

    /// Where a key is, or has its place.
    std::size_t placeOf(std::uint64_t key) const {
        // The high bits of a product with an odd number near 2^64 / golden ratio; both halves of a key reach them.
        const std::uint64_t mixed = (key ^ key >> 32) * std::uint64_t{0x9E3779B97F4A7C15};
        const std::size_t mask = m_entries.size() - 1;
        std::size_t i = static_cast<std::size_t>(mixed >> (64 - std::countr_zero(m_entries.size())));
        while (m_entries[i].key != key && m_entries[i].key != 0) {
            i = (i + 1) & mask;
        }
        return i;
    }

    void grow() {
        CountedVector<Entry> old;
        resizeWithLooks(old, m_entries.empty() ? fewestEntries : 2 * m_entries.size(), Entry{0, 0});
        old.swap(m_entries);
        Looks looks;
        for (const Entry& entry : old) {
            looks.add(1);
            if (entry.key != 0) {
                m_entries[placeOf(entry.key)] = entry;
            }
        }
    }

    std::size_t m_size = 0;
    CountedVector<Entry> m_entries;  ///< a power of two
};

/// A bound of bytes as it is stated: the greatest number there is when 64 bits do not hold it.
inline std::size_t boundOf(double bytes) {
    return bytes < 1.8e19 ? static_cast<std::size_t>(bytes) : std::numeric_limits<std::size_t>::max();
}

/// The tables of a run's threads, made one: values are added up, and the others are emptied.
inline KeyTable joined(const std::vector<std::unique_ptr<KeyTable>>& tables) {
    KeyTable all;
    for (const auto& each : tables) {
        if (all.size() == 0) {
            all = std::move(*each);
            continue;
        }
        each->forEach([&](const KeyTable::Entry& entry) { all[entry.key] += entry.value; });
        *each = KeyTable();
    }
    return all;
}

}  // namespace rix::access
