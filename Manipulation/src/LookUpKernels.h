#pragma once

#include <cstddef>

#include <rix/algorithms/OptimLevel.h>

namespace rix::manipulation {

/// Replaces samples by entries of a table, which are indexed by the bits of a sample as an unsigned integer; `out` may
/// be `in` where both have one width.
using LookUpRow = void (*)(const void* in, const void* table, void* out, std::size_t count);

/// @param sampleBytes 1 or 2
/// @param entryBytes 1, 2, 4 or 8
LookUpRow lookUpRow(std::size_t sampleBytes, std::size_t entryBytes, OptimLevelType level);

}  // namespace rix::manipulation
