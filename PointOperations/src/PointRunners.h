#pragma once

namespace rix {
class AlgoInfo;

namespace point_operations {

// Each registers the runners of the levels scalar, SSE and AVX of one class.
void addArithmeticOperationWithImageRunners(AlgoInfo& info);
void addArithmeticOperationWithValueRunners(AlgoInfo& info);
void addLogicalOperationWithImageRunners(AlgoInfo& info);
void addLogicalOperationWithValueRunners(AlgoInfo& info);
void addConvertImageRunners(AlgoInfo& info);
void addMaskImageRunners(AlgoInfo& info);

/// Rough cost of a voxel in a pass at memory speed, from the bytes that it touches, for deciding whether threads pay.
inline constexpr double nanosecondsPerByte = 0.035;

}  // namespace point_operations
}  // namespace rix
