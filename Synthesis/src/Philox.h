#pragma once

#include <array>
#include <cstdint>

/// Random words that follow from a counter and a key alone, so that those of a voxel need nothing of its neighbours.
namespace rix::synthesis {

/// The generator Philox4x32-10 of J. K. Salmon, M. A. Moraes, R. O. Dror and D. E. Shaw, "Parallel random numbers: as
/// easy as 1, 2, 3", 2011.
namespace philox {

using Counter = std::array<std::uint32_t, 4>;
using Key = std::array<std::uint32_t, 2>;

inline constexpr int rounds = 10;
inline constexpr std::uint32_t multiplier0 = 0xD2511F53U;
inline constexpr std::uint32_t multiplier1 = 0xCD9E8D57U;
inline constexpr std::uint32_t step0 = 0x9E3779B9U;  ///< of the key from round to round
inline constexpr std::uint32_t step1 = 0xBB67AE85U;

constexpr Counter words(Counter counter, Key key) {
    for (int round = 0; round < rounds; ++round) {
        const std::uint64_t first = std::uint64_t{multiplier0} * counter[0];
        const std::uint64_t second = std::uint64_t{multiplier1} * counter[2];
        counter = {static_cast<std::uint32_t>(second >> 32U) ^ counter[1] ^ key[0], static_cast<std::uint32_t>(second),
                   static_cast<std::uint32_t>(first >> 32U) ^ counter[3] ^ key[1], static_cast<std::uint32_t>(first)};
        key = {key[0] + step0, key[1] + step1};
    }
    return counter;
}

}  // namespace philox

/// What random words are for: each purpose has words of its own.
enum class Purpose : std::uint32_t {
    Voxels = 1,     ///< one word a voxel
    Draws = 2,      ///< any number of blocks of words a voxel, numbered
    Placement = 3,  ///< of objects
};

/// The key of a purpose, from the user's seed and a number (of a channel, of a draw): two seeds, or two numbers, share
/// words by chance only.
constexpr philox::Key keyOf(std::int64_t seed, Purpose purpose, std::uint64_t number = 0, std::uint32_t draw = 0) {
    const auto bits = static_cast<std::uint64_t>(seed);
    const philox::Counter words =
        philox::words({static_cast<std::uint32_t>(number), static_cast<std::uint32_t>(number >> 32U), draw,
                       static_cast<std::uint32_t>(purpose)},
                      {static_cast<std::uint32_t>(bits), static_cast<std::uint32_t>(bits >> 32U)});
    return {words[0], words[1]};
}

/// A number in (0, 1) from two words, a multiple of 2^-53 plus 2^-54.
constexpr double unitReal(std::uint32_t high, std::uint32_t low) {
    const std::uint64_t bits = (std::uint64_t{high} << 32U | low) >> 11U;
    return (static_cast<double>(bits) + 0.5) * 0x1p-53;
}

}  // namespace rix::synthesis
