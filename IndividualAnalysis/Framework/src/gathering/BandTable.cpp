#include "BandTable.h"

#include <rix/individual_analysis/MeasureInfo.h>

namespace rix::individual_analysis {

std::uint32_t BandTable::insert(std::uint32_t label) {
    const auto slot = static_cast<std::uint32_t>(labels.size());
    m_slots.insert(label);
    labels.reserve(m_slots.capacity());
    shape.reserve(m_slots.capacity());
    labels.push_back(label);
    shape.emplace_back();
    if (gathers(GATHER_SECOND_MOMENTS)) {
        second.emplace_back();
    }
    if (gathers(GATHER_CONTACTS | GATHER_EULER)) {
        contacts.emplace_back();
    }
    if (gathers(GATHER_INTENSITY)) {
        intensity.resize(intensity.size() + m_channels);
    }
    if (gathers(GATHER_WEIGHTED_POSITION)) {
        weighted.resize(weighted.size() + m_channels);
    }
    if (gathers(GATHER_OUTLINE)) {
        outlineRows.push_back(0);
    }
    return slot;
}

void BandTable::finish() {
    for (std::size_t i = 0; i < intensity.size(); ++i) {
        IntensitySums& sums = intensity[i];
        const auto count = static_cast<double>(shape[i / m_channels].count);
        if (count == 0.0) {
            continue;
        }
        const double about = sums.squares - sums.sum * (sums.sum / count);
        sums.squares = about < 0.0 ? 0.0 : about;  // NaN stays
        sums.sum += sums.shift * count;
    }
}

}  // namespace rix::individual_analysis
