#include "LabelHash.h"

#include <bit>
#include <utility>

#include <rix/access/Looks.h>

namespace rix::individual_analysis {

void LabelHash::insert(std::uint32_t label) {
    if (m_size == capacity()) {
        grow();
    }
    put({label, static_cast<std::uint32_t>(m_size++)});
}

void LabelHash::put(Entry entry) {
    std::size_t i = placeOf(entry.label);
    while (m_entries[i].label != 0) {
        i = (i + 1) & (m_entries.size() - 1);
    }
    m_entries[i] = entry;
}

void LabelHash::grow() {
    access::CountedVector<Entry> old;
    access::resizeWithLooks(old, m_entries.empty() ? fewestEntries : growth * m_entries.size(), Entry{0, 0});
    old.swap(m_entries);
    m_shift = 64 - static_cast<unsigned>(std::countr_zero(m_entries.size()));
    access::Looks looks;
    for (const Entry& entry : old) {
        looks.add(1);
        if (entry.label != 0) {
            put(entry);
        }
    }
}

std::size_t LabelHash::capacityFor(std::size_t labels) {
    std::size_t capacity = labels == 0 ? 0 : fewestEntries / 2;
    while (capacity < labels) {
        capacity *= growth;
    }
    return capacity;
}

}  // namespace rix::individual_analysis
