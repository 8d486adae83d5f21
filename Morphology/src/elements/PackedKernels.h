#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::morphology {

/// A row of voxels at one bit each, from some bit of a word on. Whoever reads `words` of it reads one word more.
struct Bits {
    const std::uint64_t* words;
    unsigned shift;  ///< below 64

    /// @param bit counted from the first of `row`
    static Bits at(const std::uint64_t* row, std::size_t bit) {
        return {row + bit / 64, static_cast<unsigned>(bit % 64)};
    }
};

struct PackedKernels {
    /// out = a and b; `out` may be where they begin, or before.
    void (*both)(Bits a, Bits b, std::uint64_t* out, std::size_t words);
    /// out = itself and rows[0] and rows[1] ...
    void (*restrict)(const std::uint64_t* const* rows, std::size_t rowCount, std::uint64_t* out, std::size_t words);
    /// out = a and b and c and d; `out` may be one of them.
    void (*all)(const std::array<const std::uint64_t*, 4>& rows, std::uint64_t* out, std::size_t words);
};

const PackedKernels& packedKernels(OptimLevelType level);

}  // namespace rix::morphology
