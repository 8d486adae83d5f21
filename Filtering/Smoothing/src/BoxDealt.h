#pragma once

#include <cstddef>
#include <cstdint>

namespace rix::filtering::smoothing {

/// A row of sums that is dealt out to some arrays in turn: entry e lies at lane[e % arrays][e / arrays].
///
/// A vector of one array then holds every entry of a stretch of the row that has its place in the deal. The bytes of a
/// lane of sums are neighbouring voxels and belong to the arrays one each, so that neither widening samples to sums nor
/// narrowing sums to samples moves anything between lanes, and of the running totals along the row only every second or
/// fourth needs to.
template <class Sum, std::size_t arrays>
struct BoxDealt {
    Sum* lane[arrays];

    /// Arrays of `stride` entries each, one behind the other.
    static BoxDealt over(Sum* memory, std::size_t stride) {
        BoxDealt row;
        for (std::size_t q = 0; q < arrays; ++q) {
            row.lane[q] = memory + q * stride;
        }
        return row;
    }
    /// How long the arrays are for so many entries: kernels read and write whole vectors beyond the last entry. Where
    /// the memory is aligned to vectors, every array is.
    static std::size_t strideFor(std::size_t entries) { return (entries / arrays + 3 * margin - 1) / margin * margin; }
    /// Entries of all arrays.
    static std::size_t sizeFor(std::size_t entries) { return arrays * strideFor(entries); }
    /// By how many entries a row has to be moved for entry e to lie at the beginning of vectors.
    static std::size_t shiftFor(std::size_t e) {
        return arrays * margin - 1 - (e + arrays * margin - 1) % (arrays * margin);
    }

    Sum& operator[](std::size_t e) const { return lane[e % arrays][e / arrays]; }
    /// The same row, seen from entry `first` on.
    BoxDealt from(std::size_t first) const {
        BoxDealt row;
        for (std::size_t q = 0; q < arrays; ++q) {
            row.lane[q] = &(*this)[first + q];
        }
        return row;
    }

    /// Entries of the widest vector.
    static constexpr std::size_t margin = sizeof(Sum) < 4 ? 64 / sizeof(Sum) : 16;
};

/// The four bytes of a lane of 32 bit; also how sums of more bits are kept.
template <class Sum>
using BoxQuads = BoxDealt<Sum, 4>;
/// The two bytes of a lane of 16 bit.
using BoxPairs = BoxDealt<std::uint16_t, 2>;

}  // namespace rix::filtering::smoothing
