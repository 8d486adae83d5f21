#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::access {

/// Sets bit i of the words where sample i is not 0; the bits after the last sample are 0.
template <class T>
using PackRow = void (*)(const T* in, std::size_t count, std::uint64_t* words);

/// The packing kernel of a level, for unsigned integers up to 32 bits and signed ones up to 16.
template <class T>
PackRow<T> packRow(OptimLevelType level);

/// Sample i becomes bit i of the words: 0 or 1.
using UnpackRow = void (*)(const std::uint64_t* words, std::size_t count, std::uint8_t* out);

UnpackRow unpackRow(OptimLevelType level);

/// The words that hold so many bits.
constexpr std::size_t wordsOf(std::size_t bits) {
    return bits / 64 + (bits % 64 != 0 ? 1 : 0);
}

}  // namespace rix::access
