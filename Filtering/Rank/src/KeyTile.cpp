#include "KeyTile.h"

#include <algorithm>
#include <cstring>

#include <rix/access/BlockSize.h>
#include <rix/access/BorderConditions.h>
#include <rix/access/Looks.h>

namespace rix::filtering::rank {

namespace {

/// Bytes behind the keys that vectors may touch.
constexpr std::size_t readableBehind = 64;

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
    // What lies beyond the edges counts with `FIXED`, whatever the mask.
    const auto maskBorder = access::borderOf<std::uint8_t>(job.border, 1.0);
    const auto sequence = static_cast<std::int64_t>(block.sequence());
    const auto spectral = static_cast<std::int64_t>(block.spectral());
    access::Looks looks;
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
                maskBorder->getData(*job.mask, mask, mask + m_extents.columns, column, y, z, sequence, spectral);
            }
            looks.add(m_extents.columns * sizeof(T) / 16);
        }
    }
}

template <class T>
std::size_t KeyTile<T>::bytes(const TileExtents& extents, bool isMasked) {
    using access::Scratch;
    // Beside the keys, a row that a border mirrors: of keys or, later, of the mask.
    return Scratch::held(extents.voxels() * sizeof(Key) + readableBehind) +
           (isMasked ? Scratch::held(extents.voxels()) : 0) + Scratch::held(extents.columns * sizeof(T));
}

access::Plan cutTiles(const ImageModel& input, const RankWindow& window, const TileSize& size,
                      double nanosecondsPerVoxel) {
    access::Plan plan(helper::getExtents(input), access::JoinedAxes::None);
    if (plan.voxelCount() == 0) {
        return plan;
    }
    plan.setSmall(static_cast<double>(plan.voxelCount()) * nanosecondsPerVoxel < access::smallWorkNanoseconds());
    const auto cut = [&](Components axis, std::size_t voxels, std::size_t least, std::size_t most) {
        const std::size_t scaled = std::max(access::scaledToBlocks(voxels), std::min(voxels, least));
        const std::size_t part = std::min(scaled, most);
        plan.cut(axis, {(input.getNumOf(axis) + part - 1) / part});
    };
    // A tile is read with all that its windows reach, so even the smallest are more than some voxels.
    cut(COLUMNS, size.columns, 24, TileExtents::mostColumns + 1 - window.columns);
    cut(ROWS, size.rows, 12, TileExtents::mostRows + 1 - window.rows);
    // Windows of one plane share no voxels with those of another.
    cut(PLANS, size.planes, 3, window.planes == 1 ? 1 : TileExtents::mostPlanes + 1 - window.planes);
    plan.cut(SEQUENCE, {.step = 1});
    plan.cut(SPECTRAL_SERIES, {.step = 1});
    return plan;
}

TileExtents largestTile(const access::Plan& plan, const RankWindow& window) {
    access::Block largest;
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        largest.axes[axis] = {0, plan.largestPart(axis)};
    }
    return {largest, window};
}

std::size_t workingBytes(const access::Plan& plan, std::size_t tileBytes, std::size_t sampleBytes,
                         std::size_t threads) {
    // Results on their way to images without addresses, or of another type than these.
    const std::size_t rows = 2 * access::Scratch::held(plan.largestPart(COLUMNS) * sampleBytes);
    return (tileBytes + rows) * (plan.isSmall() ? 1 : std::min(threads, plan.blockCount()));
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
