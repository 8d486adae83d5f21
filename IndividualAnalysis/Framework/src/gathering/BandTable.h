#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/MemoryAccount.h>

#include "LabelHash.h"
#include "Sums.h"

namespace rix::individual_analysis {

/// What is gathered of the objects of a band of rows, in the order in which they are met. Memory follows the labels
/// that occur.
class BandTable {
public:
    /// @param gathered bits of `GatheredData`
    BandTable(std::uint32_t gathered, std::size_t channels) : m_gathered(gathered), m_channels(channels) {}

    /// The slot of a label, made when it is new.
    std::uint32_t slotOf(std::uint32_t label) {
        const std::uint32_t slot = m_slots.find(label);
        return slot != LabelHash::unknown ? slot : insert(label);
    }

    std::size_t size() const { return labels.size(); }
    std::size_t channels() const { return m_channels; }
    std::uint32_t gathered() const { return m_gathered; }
    bool gathers(std::uint32_t data) const { return (m_gathered & data) != 0; }

    /// Brings the sums of grey values from the form within a band to that between bands.
    void finish();

    access::CountedVector<std::uint32_t> labels;
    access::CountedVector<ShapeSums> shape;
    access::CountedVector<SecondMoments> second;
    access::CountedVector<ContactSums> contacts;
    access::CountedVector<IntensitySums> intensity;    ///< the channels of an object are adjacent
    access::CountedVector<WeightedPosition> weighted;  ///< the same
    access::CountedVector<OutlineRow> outline;         ///< in raster order
    access::CountedVector<std::uint32_t> outlineRows;  ///< how many of them each object has

private:
    std::uint32_t insert(std::uint32_t label);

    std::uint32_t m_gathered;
    std::size_t m_channels;
    LabelHash m_slots;
};

}  // namespace rix::individual_analysis
