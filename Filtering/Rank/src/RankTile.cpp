#include "RankTile.h"

#include <algorithm>
#include <utility>

#include <rix/access/BlockSize.h>

namespace rix::filtering::rank {

namespace {

/// Vectors are read to their end.
constexpr std::size_t positionPadding = 64;

/// Columns, rows and planes of a voxel of a tile in one number. Tiles stay below these extents.
constexpr unsigned columnBits = 11;
constexpr unsigned rowBits = 11;
constexpr std::size_t mostPlanes = std::size_t{1} << (32 - columnBits - rowBits);

template <class Key>
struct Digits {
    static constexpr unsigned bits = sizeof(Key) == 2 ? 8 : 11;
    static constexpr std::size_t values = std::size_t{1} << bits;
    static constexpr std::size_t count = (8 * sizeof(Key) + bits - 1) / bits;
    static std::size_t of(Key key, std::size_t digit) {
        return static_cast<std::size_t>(key >> (digit * bits)) & (values - 1);
    }
};

/// Sorts keys, and what belongs to them, digit by digit. Equal keys stay in their order.
/// @return which of the two buffers holds the result
template <class Key>
std::size_t sortByDigits(Key* const (&keys)[2], std::uint32_t* const (&values)[2], std::size_t count) {
    using D = Digits<Key>;
    std::uint32_t begins[D::count][D::values] = {};
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t digit = 0; digit < D::count; ++digit) {
            ++begins[digit][D::of(keys[0][i], digit)];
        }
    }
    std::size_t from = 0;
    for (std::size_t digit = 0; digit < D::count && count > 0; ++digit) {
        std::uint32_t* const begin = begins[digit];
        if (begin[D::of(keys[from][0], digit)] == count) {
            continue;  // all are alike
        }
        std::uint32_t sum = 0;
        for (std::size_t value = 0; value < D::values; ++value) {
            sum += std::exchange(begin[value], sum);
        }
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint32_t to = begin[D::of(keys[from][i], digit)]++;
            keys[1 - from][to] = keys[from][i];
            values[1 - from][to] = values[from][i];
        }
        from = 1 - from;
    }
    return from;
}

}  // namespace

access::Plan cutTiles(const ImageModel& input, const RankWindow& window, std::size_t keyBytes) {
    const auto clamp = [](std::size_t extent, std::size_t factor, std::size_t least, std::size_t most) {
        return std::clamp(extent * factor, least, most);
    };
    // Long enough that what tiles read twice stays small, and small enough for the level-2 cache.
    const bool ofVolumes = window.planes > 1;
    std::size_t columns = 0;
    std::size_t rows = 0;
    std::size_t planes = 1;
    if (keyBytes == 1) {
        columns = ofVolumes ? clamp(window.columns, 3, 256, 512) : 512;
        rows = ofVolumes ? clamp(window.rows, 3, 64, 512) : clamp(window.rows, 4, 256, 1024);
        planes = ofVolumes ? clamp(window.planes, 2, 4, 32) : 1;
    } else {
        columns = ofVolumes ? clamp(window.columns, 2, 64, 256) : clamp(window.columns, 3, 236, 512);
        rows = ofVolumes ? clamp(window.rows, 2, 48, 256) : clamp(window.rows, 3, 236, 512);
        planes = ofVolumes ? clamp(window.planes, 2, 16, 64) : 1;
    }
    planes = std::min(planes, mostPlanes - window.planes);
    // Rough cost of a voxel: histograms, and the ranks where they are needed.
    const double nanoseconds = 15.0 + static_cast<double>(window.planes) + (keyBytes > 1 ? 40.0 : 0.0) +
                               (window.isRound ? static_cast<double>(2 * window.rows * window.planes) : 0.0);
    const auto part = [](std::size_t extent) { return access::AxisCut{1, access::scaledToBlocks(extent), 1}; };
    access::Plan plan(helper::getExtents(input), access::JoinedAxes::None);
    if (plan.voxelCount() == 0) {
        return plan;
    }
    plan.setSmall(static_cast<double>(plan.voxelCount()) * nanoseconds < access::smallWorkNanoseconds());
    plan.cut(COLUMNS, part(columns));
    plan.cut(ROWS, part(rows));
    plan.cut(PLANS, part(planes));
    plan.cut(SEQUENCE, {1, 1, 1});
    plan.cut(SPECTRAL_SERIES, {1, 1, 1});
    return plan;
}

template <class T>
RankTile<T>::RankTile(const ImageModel& input, const RankJob& job, const access::Block& block)
    : KeyTile<T>(input, job, block) {
    if constexpr (!isOwnClass<T>) {
        rank();
    }
}

template <class T>
void RankTile<T>::rank() {
    const TileExtents& extents = this->extents();
    const std::size_t voxels = extents.voxels();
    Key* const keys[2] = {m_sortedKeys[0].reserve(voxels), m_sortedKeys[1].reserve(voxels)};
    std::uint32_t* const places[2] = {m_places[0].reserve(voxels), m_places[1].reserve(voxels)};
    m_count = 0;
    for (std::size_t plane = 0; plane < extents.planes; ++plane) {
        for (std::size_t row = 0; row < extents.rows; ++row) {
            const Key* const from = this->keysOf(row, plane);
            const std::uint8_t* const mask = this->maskOf(row, plane);
            const std::size_t place = plane << (columnBits + rowBits) | row << columnBits;
            for (std::size_t x = 0; x < extents.columns; ++x) {
                keys[0][m_count] = from[x];
                places[0][m_count] = static_cast<std::uint32_t>(place | x);
                m_count += mask == nullptr || mask[x] != 0 ? 1 : 0;
            }
        }
    }
    const std::size_t sorted = sortByDigits(keys, places, m_count);
    m_sorted = keys[sorted];
    m_positionStride = voxels + positionPadding;
    std::uint16_t* const columns = m_positions.reserve(3 * m_positionStride);
    std::uint16_t* const rows = columns + m_positionStride;
    std::uint16_t* const planes = rows + m_positionStride;
    std::uint8_t* const classesOfVoxels = m_classes.reserve(voxels);
    const std::size_t classSize = rankedVoxels().classSize;
    std::size_t i = 0;
    for (std::size_t c = 0; i < m_count; ++c) {
        for (const std::size_t end = std::min(m_count, i + classSize); i < end; ++i) {
            const std::uint32_t place = places[sorted][i];
            const std::size_t x = place & ((1U << columnBits) - 1);
            const std::size_t y = place >> columnBits & ((1U << rowBits) - 1);
            const std::size_t z = place >> (columnBits + rowBits);
            columns[i] = static_cast<std::uint16_t>(x);
            rows[i] = static_cast<std::uint16_t>(y);
            planes[i] = static_cast<std::uint16_t>(z);
            classesOfVoxels[this->offset(y, z) + x] = static_cast<std::uint8_t>(c);
        }
    }
    for (std::size_t pad = 0; pad < positionPadding; ++pad) {
        columns[m_count + pad] = rows[m_count + pad] = planes[m_count + pad] = 0xffff;  // in no window
    }
}

template <class T>
RankedVoxels RankTile<T>::rankedVoxels() const {
    const std::uint16_t* const columns = m_positions.data();
    return {m_count, std::max<std::size_t>((m_count + classes - 1) / classes, 1), columns, columns + m_positionStride,
            this->extents().planes > 1 ? columns + 2 * m_positionStride : nullptr};
}

template <class T>
std::size_t RankTile<T>::bytes(const TileExtents& extents, bool isMasked) {
    std::size_t bytes = KeyTile<T>::bytes(extents, isMasked);
    if (!isOwnClass<T>) {
        constexpr std::size_t positions = 3 * sizeof(std::uint16_t);
        bytes += extents.voxels() * (1 + 2 * (sizeof(Key) + sizeof(std::uint32_t)) + positions) +
                 positionPadding * positions;
    }
    return bytes;
}

template class RankTile<std::uint8_t>;
template class RankTile<std::uint16_t>;
template class RankTile<std::uint32_t>;
template class RankTile<std::int8_t>;
template class RankTile<std::int16_t>;
template class RankTile<std::int32_t>;
template class RankTile<float>;
template class RankTile<double>;

}  // namespace rix::filtering::rank
