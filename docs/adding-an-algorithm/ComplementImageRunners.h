#pragma once

namespace rix {
class AlgoInfo;

namespace point_operations {

void addComplementImageRunners(AlgoInfo& info);

}  // namespace point_operations
}  // namespace rix
