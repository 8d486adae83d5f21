#include "ObjectTable.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

#include <rix/exceptions/Exception.h>
#include <rix/individual_analysis/MeasureInfo.h>

namespace rix::individual_analysis {

namespace {

constexpr std::size_t fewestEntries = 64;

/// Joins the sums of two parts (Chan, Golub and LeVeque 1979): squares about the common mean.
void join(IntensitySums& left, std::uint64_t leftCount, const IntensitySums& right, std::uint64_t rightCount) {
    const auto n = static_cast<double>(leftCount);
    const auto m = static_cast<double>(rightCount);
    if (rightCount == 0) {
        return;
    }
    if (leftCount == 0) {
        left = right;
        return;
    }
    const double difference = right.sum / m - left.sum / n;
    left.squares += right.squares + difference * difference * (n * m / (n + m));
    left.sum += right.sum;
    left.minimum = std::min(left.minimum, right.minimum);
    left.maximum = std::max(left.maximum, right.maximum);
}

void join(ShapeSums& left, const ShapeSums& right) {
    left.count += right.count;
    left.runs += right.runs;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        left.position[axis] += right.position[axis];
        left.lower[axis] = std::min(left.lower[axis], right.lower[axis]);
        left.upper[axis] = std::max(left.upper[axis], right.upper[axis]);
    }
}

void join(SecondMoments& left, const SecondMoments& right) {
    left.xx += right.xx;
    left.yy += right.yy;
    left.zz += right.zz;
    left.xy += right.xy;
    left.xz += right.xz;
    left.yz += right.yz;
}

void join(ContactSums& left, const ContactSums& right) {
    for (std::size_t d = 0; d < directionCount; ++d) {
        left.pairs[d] += right.pairs[d];
    }
    left.euler += right.euler;
}

/// The elements of `values`, `each` for every object, in a new order.
template <class T>
void reorder(std::vector<T>& values, const std::vector<std::uint32_t>& order, std::size_t each = 1) {
    if (values.empty()) {
        return;
    }
    std::vector<T> sorted;
    sorted.reserve(values.size());
    for (const std::uint32_t old : order) {
        const auto first = values.begin() + static_cast<std::ptrdiff_t>(old * each);
        sorted.insert(sorted.end(), first, first + static_cast<std::ptrdiff_t>(each));
    }
    values.swap(sorted);
}

}  // namespace

std::uint32_t ObjectTable::insert(std::uint32_t label) {
    if (2 * (labels.size() + 1) > m_entries.size()) {
        rebuild(std::max(fewestEntries, 2 * m_entries.size()));
    }
    const auto slot = static_cast<std::uint32_t>(labels.size());
    std::size_t i = hash(label);
    while (m_entries[i].label != 0) {
        i = (i + 1) & (m_entries.size() - 1);
    }
    m_entries[i] = {label, slot};
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
    return slot;
}

void ObjectTable::rebuild(std::size_t entries) {
    m_entries.assign(entries, Entry{0, 0});
    m_hashShift = 64 - static_cast<unsigned>(std::countr_zero(entries));
    for (std::size_t slot = 0; slot < labels.size(); ++slot) {
        std::size_t i = hash(labels[slot]);
        while (m_entries[i].label != 0) {
            i = (i + 1) & (entries - 1);
        }
        m_entries[i] = {labels[slot], static_cast<std::uint32_t>(slot)};
    }
}

void ObjectTable::finishBand() {
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

void ObjectTable::add(const ObjectTable& band) {
    const auto firstRow = outline.size();
    outline.insert(outline.end(), band.outline.begin(), band.outline.end());
    std::vector<std::uint32_t> slots(band.outline.empty() ? 0 : band.size());
    for (std::size_t i = 0; i < band.size(); ++i) {
        const std::uint32_t slot = slotOf(band.labels[i]);
        if (!slots.empty()) {
            slots[i] = slot;
        }
        for (std::size_t c = 0; c < m_channels && !intensity.empty(); ++c) {
            join(intensity[slot * m_channels + c], shape[slot].count, band.intensity[i * m_channels + c],
                 band.shape[i].count);
        }
        for (std::size_t c = 0; c < m_channels && !weighted.empty(); ++c) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                weighted[slot * m_channels + c][axis] += band.weighted[i * m_channels + c][axis];
            }
        }
        join(shape[slot], band.shape[i]);
        if (!second.empty()) {
            join(second[slot], band.second[i]);
        }
        if (!contacts.empty()) {
            join(contacts[slot], band.contacts[i]);
        }
    }
    for (std::size_t i = firstRow; i < outline.size(); ++i) {
        outline[i].slot = slots[outline[i].slot];
    }
}

void ObjectTable::sort() {
    if (std::is_sorted(labels.begin(), labels.end())) {
        std::vector<std::uint32_t> same(outline.empty() ? 0 : labels.size());
        std::iota(same.begin(), same.end(), 0U);
        sortOutline(same);
        return;
    }
    std::vector<std::uint32_t> order(labels.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), [this](std::uint32_t a, std::uint32_t b) { return labels[a] < labels[b]; });
    reorder(labels, order);
    reorder(shape, order);
    reorder(second, order);
    reorder(contacts, order);
    reorder(intensity, order, m_channels);
    reorder(weighted, order, m_channels);
    for (Entry& entry : m_entries) {
        entry.label = 0;
    }
    rebuild(m_entries.size());
    std::vector<std::uint32_t> newSlots(order.size());
    for (std::uint32_t i = 0; i < order.size(); ++i) {
        newSlots[order[i]] = i;
    }
    sortOutline(newSlots);
}

/// By counting: the rows of an object stay in raster order.
void ObjectTable::sortOutline(const std::vector<std::uint32_t>& newSlots) {
    if (outline.empty()) {
        return;
    }
    std::vector<std::size_t> next(newSlots.size() + 1, 0);
    for (OutlineRow& row : outline) {
        row.slot = newSlots[row.slot];
        ++next[row.slot + 1];
    }
    std::partial_sum(next.begin(), next.end(), next.begin());
    std::vector<OutlineRow> sorted(outline.size());
    for (const OutlineRow& row : outline) {
        sorted[next[row.slot]++] = row;
    }
    outline.swap(sorted);
}

}  // namespace rix::individual_analysis
