#include "RankTile.h"

#include <algorithm>
#include <utility>

#include <rix/access/Looks.h>

namespace rix::filtering::rank {

namespace {

/// Vectors are read to their end.
constexpr std::size_t positionPadding = 64;
constexpr std::uint16_t outside = 0x6000;  // squares of its distances stay below 2^31 in sum

/// Numbers that tell where a voxel is.
std::size_t positionsOf(const TileExtents& extents) {
    return extents.planes > 1 ? 3 : 2;
}

/// The column, row and plane of a voxel of a tile in one number.
struct VoxelPlace {
    static constexpr std::size_t columns = TileExtents::mostColumns;
    static constexpr std::size_t rows = TileExtents::mostRows;
    static_assert(columns * rows * TileExtents::mostPlanes <= std::size_t{1} << 32);

    static std::uint32_t ofRow(std::size_t row, std::size_t plane) {
        return static_cast<std::uint32_t>((plane * rows + row) * columns);
    }
    std::size_t column() const { return place % columns; }
    std::size_t row() const { return place / columns % rows; }
    std::size_t plane() const { return place / (columns * rows); }

    std::uint32_t place;
};

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
    access::Looks looks;
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
        looks.add(count / 32);
    }
    return from;
}

}  // namespace

access::Plan cutForCounting(const ImageModel& input, const RankWindow& window, std::size_t keyBytes) {
    // Long enough that what tiles read twice stays small, and small enough for the level-2 cache.
    const bool ofVolumes = window.planes > 1;
    const auto times = [](std::size_t factor, std::size_t extent, std::size_t least, std::size_t most) {
        return std::clamp(factor * extent, least, most);
    };
    TileSize size{};
    if (keyBytes == 1) {
        size = ofVolumes ? TileSize{times(3, window.columns, 256, 512), times(3, window.rows, 64, 512),
                                    times(2, window.planes, 4, 32)}
                         : TileSize{512, times(4, window.rows, 256, 1024), 1};
    } else {
        size = ofVolumes ? TileSize{times(2, window.columns, 64, 256), times(2, window.rows, 48, 256),
                                    times(2, window.planes, 16, 64)}
                         : TileSize{times(3, window.columns, 236, 512), times(3, window.rows, 236, 512), 1};
    }
    // Histograms, and the ranks where they are needed.
    const double nanoseconds = 15.0 + static_cast<double>(window.planes) + (keyBytes > 1 ? 40.0 : 0.0) +
                               (window.isRound ? static_cast<double>(2 * window.rows * window.planes) : 0.0);
    return cutTiles(input, window, size, nanoseconds);
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
            const std::uint32_t place = VoxelPlace::ofRow(row, plane);
            for (std::size_t x = 0; x < extents.columns; ++x) {
                keys[0][m_count] = from[x];
                places[0][m_count] = place + static_cast<std::uint32_t>(x);
                m_count += mask == nullptr || mask[x] != 0 ? 1 : 0;
            }
        }
    }
    const std::size_t sorted = sortByDigits(keys, places, m_count);
    m_sorted = keys[sorted];
    m_positionStride = voxels + positionPadding;
    std::uint16_t* const columns = m_positions.reserve(positionsOf(extents) * m_positionStride);
    std::uint16_t* const rows = columns + m_positionStride;
    std::uint16_t* const planes = extents.planes > 1 ? rows + m_positionStride : nullptr;
    std::uint8_t* const classesOfVoxels = m_classes.reserve(voxels);
    const std::size_t classSize = rankedVoxels().classSize;
    std::size_t i = 0;
    for (std::size_t c = 0; i < m_count; ++c) {
        for (const std::size_t end = std::min(m_count, i + classSize); i < end; ++i) {
            const VoxelPlace at{places[sorted][i]};
            columns[i] = static_cast<std::uint16_t>(at.column());
            rows[i] = static_cast<std::uint16_t>(at.row());
            if (planes != nullptr) {
                planes[i] = static_cast<std::uint16_t>(at.plane());
            }
            classesOfVoxels[this->offset(at.row(), at.plane()) + at.column()] = static_cast<std::uint8_t>(c);
        }
    }
    // In no window.
    std::fill_n(columns + m_count, positionPadding, outside);
    std::fill_n(rows + m_count, positionPadding, outside);
    if (planes != nullptr) {
        std::fill_n(planes + m_count, positionPadding, outside);
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
        using access::Scratch;
        const std::size_t voxels = extents.voxels();
        bytes += Scratch::held(voxels) + 2 * Scratch::held(voxels * sizeof(Key)) +
                 2 * Scratch::held(voxels * sizeof(std::uint32_t)) +
                 Scratch::held(positionsOf(extents) * (voxels + positionPadding) * sizeof(std::uint16_t));
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
