#pragma once

#include <cstddef>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/algorithms/OptimLevel.h>

namespace rix::devices {

/// What the processor and its memory can do. Detected at the first question, so that algorithms work before
/// `rix::init`.
class RIX_EXPORT Cpu {
public:
    /// Number of logical processors that this process may use, at least 1.
    static std::size_t logicalProcessors();
    /// Bytes of main memory.
    static std::size_t memory();
    /// Bytes of the last-level cache; a cautious 8 MiB when the processor does not tell.
    static std::size_t lastLevelCache();
    /// The name that the processor gives itself.
    static String name();
    /// Whether code of the level can run here. `SCALAR` always can; `VEC_SSE` needs SSE4.2 with AES and PCLMUL,
    /// `VEC_AVX` needs AVX2 with FMA, F16C, BMI1 and BMI2; `GPU` never can.
    static bool supports(OptimLevelType level);
    /// Whether the AVX level may use AVX-512 (F, BW, CD, DQ, VL).
    static bool hasAvx512();

    /// Detects now. / Forgets what was detected; the next question detects again.
    static void detect();
    static void release();
};

}  // namespace rix::devices
