#pragma once

#include <cstddef>

namespace rix::point_operations {

// The row kernels of this module. Their sample types are part of their choice, not of their signature, so that the code
// around them is compiled once. Rows are aligned for their samples only; `out` may be one of the operands.

/// From two rows.
using PairRow = void (*)(const void* first, const void* second, void* out, std::size_t count);
/// From a row and one value; `value` points to a sample of the output's type.
using ValueRow = void (*)(const void* first, const void* value, void* out, std::size_t count);

}  // namespace rix::point_operations
