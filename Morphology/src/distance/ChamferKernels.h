#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

namespace rix::morphology {

/// Places in rows beside one, from which steps of the same price lead to the places above each other.
struct ChamferSteps {
    static constexpr std::size_t most = 6;  ///< one, two, four or six there are of a kind
    float price = 0;
    std::size_t count = 0;
    const float* from[most]{};
};

struct ChamferKernels {
    /// Lowers a row to what the steps leave. @param count a multiple of 16; as much is read of each
    void (*takeSteps)(float* row, const ChamferSteps* steps, std::size_t kinds, std::size_t count);
    /// Lowers a row to what steps along it leave, from a value before its first place on, or backwards from one behind
    /// its last. @param count a multiple of 16
    void (*spread)(float* row, float price, float start, std::size_t count);
    void (*spreadBack)(float* row, float price, float start, std::size_t count);
};

ChamferKernels chamferKernels(OptimLevelType level);

}  // namespace rix::morphology
