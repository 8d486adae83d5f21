#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/Blocks.h>
#include <rix/access/Buffer.h>
#include <rix/access/Plan.h>
#include <rix/image/ImageModel.h>

#include "KeyTile.h"
#include "ResolveKernels.h"

namespace rix::filtering::rank {

/// The cut of an image into tiles whose voxels have few enough ranks. @param keyBytes of a sample
access::Plan cutForCounting(const ImageModel& input, const RankWindow& window, std::size_t keyBytes);

/// Whether a sample is its own class: of 8 bits there are not more values than classes.
template <class T>
inline constexpr bool isOwnClass = sizeof(T) == 1;

/// The voxels of one tile and what its windows reach beyond it, as classes of a histogram. Samples of more than 8 bits
/// are ranked, and the classes have equally many of them; so it doesn't matter how values are distributed.
template <class T>
class RankTile : public KeyTile<T> {
public:
    using Key = KeyOf<T>;

    /// Reads the voxels of a block of `cutForCounting`.
    RankTile(const ImageModel& input, const RankJob& job, const access::Block& block);

    /// The classes of a row.
    const std::uint8_t* classesOf(std::size_t row, std::size_t plane) const {
        if constexpr (isOwnClass<T>) {
            return this->keysOf(row, plane);
        } else {
            return m_classes.data() + this->offset(row, plane);
        }
    }
    /// The sample at a place in ascending order, and all places; where samples are not their own classes.
    T ranked(std::size_t place) const { return sampleOf<T>(m_sorted[place]); }
    RankedVoxels rankedVoxels() const;

    static std::size_t bytes(const TileExtents& extents, bool isMasked);

private:
    void rank();

    access::Buffer<std::uint8_t> m_classes;
    access::Buffer<Key> m_sortedKeys[2];
    access::Buffer<std::uint32_t> m_places[2];
    access::Buffer<std::uint16_t> m_positions;
    const Key* m_sorted = nullptr;
    std::size_t m_count = 0;
    std::size_t m_positionStride = 0;
};

}  // namespace rix::filtering::rank
