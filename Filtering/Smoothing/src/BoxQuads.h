#pragma once

#include <cstddef>

namespace rix::filtering::smoothing {

/// A row of sums that is dealt out to four arrays in turn: entry e lies at lane[e % 4][e / 4].
///
/// A vector of one array then holds every fourth entry of a stretch of the row. The four bytes of a 32 bit lane are
/// four neighbouring voxels and belong to the four arrays, so that neither widening samples to sums nor narrowing sums
/// to samples moves anything between lanes, and of the running totals along the row only every fourth needs to.
template <class Sum>
struct BoxQuads {
    Sum* lane[4];

    /// Four arrays of `stride` entries each.
    static BoxQuads over(Sum* memory, std::size_t stride) {
        return {{memory, memory + stride, memory + 2 * stride, memory + 3 * stride}};
    }
    /// How long the arrays are for so many entries: kernels read and write whole vectors beyond the last entry. Where
    /// the memory is aligned to vectors, every array is.
    static std::size_t strideFor(std::size_t entries) { return (entries / 4 + 3 * margin - 1) / margin * margin; }
    /// By how many entries a row has to be moved for entry e to lie at the beginning of vectors.
    static std::size_t shiftFor(std::size_t e) { return 4 * margin - 1 - (e + 4 * margin - 1) % (4 * margin); }

    Sum& operator[](std::size_t e) const { return lane[e % 4][e / 4]; }
    /// The same row, seen from entry `first` on.
    BoxQuads from(std::size_t first) const {
        return {{&(*this)[first], &(*this)[first + 1], &(*this)[first + 2], &(*this)[first + 3]}};
    }

    /// Entries of the widest vector.
    static constexpr std::size_t margin = 16;
};

}  // namespace rix::filtering::smoothing
