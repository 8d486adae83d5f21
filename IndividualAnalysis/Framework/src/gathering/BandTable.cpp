#include "BandTable.h"

#include <rix/access/Looks.h>

namespace rix::individual_analysis {

std::uint32_t BandTable::insert(std::uint32_t label) {
    const auto slot = static_cast<std::uint32_t>(m_labels.size());
    m_slots.insert(label);
    m_labels.reserve(m_slots.capacity());
    m_labels.push_back(label);
    return slot;
}

void BandTable::growQuantities() {
    for (const QuantityTable::Entry& entry : m_quantities.entries()) {
        entry.quantity->grow(size());
    }
    m_grown = size();
}

void BandTable::finish() {
    grow();
    m_slots = LabelHash();
    for (auto entry = m_quantities.entries().rbegin(); entry != m_quantities.entries().rend(); ++entry) {
        access::throwIfRunCancelled();
        entry->quantity->finishBand();
    }
}

}  // namespace rix::individual_analysis
