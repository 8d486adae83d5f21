#include "KeyTile.h"

#include <cstring>

#include <rix/access/BorderConditions.h>

namespace rix::filtering::rank {

namespace {

/// Bytes behind the keys that vectors may touch.
constexpr std::size_t readableBehind = 64;

/// What lies beyond the edges counts with `FIXED`, whatever the mask.
std::shared_ptr<const access::BorderCondition<std::uint8_t>> maskBorder(access::BorderPolicy policy) {
    return access::borderOf<std::uint8_t>(policy, 1.0);
}

}  // namespace

TileExtents::TileExtents(const access::Block& block, const RankWindow& window)
    : columns(block.columns().length() + window.columns - 1),
      rows(block.rows().length() + window.rows - 1),
      planes(block.planes().length() + window.planes - 1) {}

template <class T>
KeyTile<T>::KeyTile(const ImageModel& input, const RankJob& job, const access::Block& block)
    : m_extents(block, job.window) {
    const std::size_t voxels = m_extents.voxels();
    const access::Reach reach = job.window.reach();
    const auto first = [](const access::Interval& interval, const access::Reach::Axis& axis) {
        return static_cast<std::int64_t>(interval.begin) - static_cast<std::int64_t>(axis.before);
    };
    const std::int64_t column = first(block.columns(), reach.columns);
    const auto border = access::borderOf<T>(job.border, job.borderValue);
    const auto sequence = static_cast<std::int64_t>(block.sequence());
    const auto spectral = static_cast<std::int64_t>(block.spectral());
    m_keys.reserve(voxels + readableBehind / sizeof(Key));
    if (job.mask != nullptr) {
        m_mask.reserve(voxels);
    }
    for (std::size_t plane = 0; plane < m_extents.planes; ++plane) {
        const std::int64_t z = first(block.planes(), reach.planes) + static_cast<std::int64_t>(plane);
        for (std::size_t row = 0; row < m_extents.rows; ++row) {
            const std::int64_t y = first(block.rows(), reach.rows) + static_cast<std::int64_t>(row);
            Key* const keys = m_keys.data() + offset(row, plane);
            T* const samples = reinterpret_cast<T*>(keys);
            border->getData(input, samples, samples + m_extents.columns, column, y, z, sequence, spectral);
            if constexpr (!isOwnKey<T>) {
                for (std::size_t x = 0; x < m_extents.columns; ++x) {
                    T sample;
                    std::memcpy(&sample, keys + x, sizeof(T));
                    keys[x] = keyOf(sample);
                }
            }
            if (job.mask != nullptr) {
                std::uint8_t* const mask = m_mask.data() + offset(row, plane);
                maskBorder(job.border)
                    ->getData(*job.mask, mask, mask + m_extents.columns, column, y, z, sequence, spectral);
            }
        }
    }
}

template <class T>
std::size_t KeyTile<T>::bytes(const TileExtents& extents, bool isMasked) {
    return extents.voxels() * (sizeof(Key) + (isMasked ? 1 : 0)) + readableBehind;
}

access::Block largestBlock(const access::Plan& plan) {
    access::Block largest;
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        largest.axes[axis] = {0, plan.largestPart(axis)};
    }
    return largest;
}

template class KeyTile<std::uint8_t>;
template class KeyTile<std::uint16_t>;
template class KeyTile<std::uint32_t>;
template class KeyTile<std::int8_t>;
template class KeyTile<std::int16_t>;
template class KeyTile<std::int32_t>;
template class KeyTile<float>;
template class KeyTile<double>;

}  // namespace rix::filtering::rank
