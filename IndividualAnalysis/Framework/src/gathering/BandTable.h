#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include <rix/access/MemoryAccount.h>
#include <rix/individual_analysis/Quantity.h>

#include "LabelHash.h"

namespace rix::individual_analysis {

/// What is gathered of the objects of a band of rows, in the order in which they are met. Memory follows the labels
/// that occur.
class BandTable {
public:
    explicit BandTable(QuantityTable quantities) : m_quantities(std::move(quantities)) {}

    /// The slot of a label, made when it is new.
    std::uint32_t slotOf(std::uint32_t label) {
        const std::uint32_t slot = m_slots.find(label);
        return slot != LabelHash::unknown ? slot : insert(label);
    }
    std::size_t size() const { return m_labels.size(); }
    const access::CountedVector<std::uint32_t>& labels() const { return m_labels; }
    const QuantityTable& quantities() const { return m_quantities; }

    /// Makes room in all quantities for the objects that are known.
    void grow() {
        if (m_grown != size()) {
            growQuantities();
        }
    }
    /// Ends the band.
    void finish();

private:
    std::uint32_t insert(std::uint32_t label);
    void growQuantities();

    access::CountedVector<std::uint32_t> m_labels;
    std::size_t m_grown = 0;
    LabelHash m_slots;
    QuantityTable m_quantities;
};

}  // namespace rix::individual_analysis
