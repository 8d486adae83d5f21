#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include <rix/algorithms/OptimLevel.h>

namespace rix::morphology {

/// What chains of steps cost: floats, or where all that can come of an image fits 16 bits, of which twice as many are
/// taken at once.
template <class Price>
inline constexpr Price noPrice = std::numeric_limits<Price>::max();
template <>
inline constexpr float noPrice<float> = std::numeric_limits<float>::infinity();

/// Places in rows beside one, from which steps of the same price lead to the places above each other.
template <class Price>
struct ChamferSteps {
    static constexpr std::size_t most = 6;  ///< one, two, four or six there are of a kind
    Price price = 0;
    std::size_t count = 0;
    const Price* from[most]{};
};

template <class Price>
struct ChamferKernels {
    static constexpr std::size_t vector = 32;  ///< rows are taken in parts of so many places

    /// Lowers a row to what the steps leave. @param count a multiple of `vector`; as much is read of each
    void (*takeSteps)(Price* row, const ChamferSteps<Price>* steps, std::size_t kinds, std::size_t count);
    /// Lowers a row to what steps along it leave, from a value before its first place on, or backwards from one behind
    /// its last. @param count a multiple of `vector`
    void (*spread)(Price* row, Price price, Price start, std::size_t count);
    void (*spreadBack)(Price* row, Price price, Price start, std::size_t count);
    /// What is no price is an infinite distance. @param row may be read up to a multiple of `vector`
    void (*toDistances)(const Price* row, float* distances, std::size_t count);
};

template <class Price>
ChamferKernels<Price> chamferKernels(OptimLevelType level);

}  // namespace rix::morphology
