#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <rix/access/Plan.h>
#include <rix/image/ImageModel.h>

#include "Element.h"

namespace rix::morphology {

/// The chords of an element that begin at the same column and are as long: what they see of a row is the same.
struct Pattern {
    std::int64_t first = 0;
    std::size_t length = 0;
    /// Their planes, with the rows that they have there: offsets.
    std::vector<std::pair<std::int64_t, std::vector<std::int64_t>>> planes;
};

/// The shortest first, as they are taken: what one sees is made of what two shorter ones see.
std::vector<Pattern> patternsOf(const Element& element);

/// The memory of a block of packed voxels: planes of rows that are one line of bits, so that what is done to a row is
/// done to all rows of a plane in one go. Rows begin with whole words of what lies before the block, so that its first
/// voxel is the first of a word. Results are kept in rows of the same length, from their first word on.
struct PackedBlock {
    std::size_t before = 0;  ///< words
    std::size_t row = 0;     ///< words of all that windows see
    std::size_t seenRows = 0;
    std::size_t margin = 0;  ///< words behind a plane that are read and mean nothing
    std::size_t keptRows = 0;
    std::size_t keptPlanes = 0;

    std::size_t planeWords() const { return row * seenRows; }
    /// Of a plane that is seen, at first voxel by voxel, then what 2, 4, 8 ... of them show.
    std::size_t tableWords() const { return planeWords() + margin; }
    std::size_t keptWords() const { return row * keptRows * keptPlanes; }
};

/// Of a block of so many voxels.
PackedBlock packedBlockOf(const std::array<std::size_t, 3>& voxels, const Element& element);

/// How images are cut for an element, from their extents alone; along rows at whole words.
/// @param patterns those of the element
access::Plan planPacked(const ImageModel& image, const Element& element, const std::vector<Pattern>& patterns);

}  // namespace rix::morphology
