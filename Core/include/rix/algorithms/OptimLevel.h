#pragma once

#include <cstdint>

#include <rix/Export.h>

namespace rix {

class EnumInfo;

/// Levels of optimisation, slowest first. Registered under the name "OptimLevelType".
enum OptimLevelType : std::int32_t { SCALAR = 0, VEC_SSE = 1, VEC_AVX = 2, GPU = 3 };

RIX_EXPORT const EnumInfo& getInfoOptimLevelType();

}  // namespace rix
