#pragma once

#include <cstddef>
#include <cstdint>

#include "HistogramKernels.h"

namespace rix::filtering::rank {

/// Windows that are rows of another length each, as offsets from the row of the result.
struct ChordTable {
    std::size_t count = 0;
    const std::ptrdiff_t* begin = nullptr;  ///< the first voxel of the window of voxel 0
    const std::ptrdiff_t* end = nullptr;    ///< behind the last
};

/// Finds by moving a histogram along a row.
/// @param row,mask the first voxel of the window's box of voxel 0; the mask may be null
void findInChords(const std::uint8_t* row, const std::uint8_t* mask, const ChordTable& chords, std::size_t count,
                  const Wanted& wanted, const Found& found);

}  // namespace rix::filtering::rank
