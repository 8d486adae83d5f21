#include "Levels.h"

#include <rix/devices/Cpu.h>

namespace rix::test {

std::vector<OptimLevelType> runnableLevels() {
    std::vector<OptimLevelType> levels;
    for (const OptimLevelType level : {SCALAR, VEC_SSE, VEC_AVX}) {
        if (devices::Cpu::supports(level)) {
            levels.push_back(level);
        }
    }
    return levels;
}

}  // namespace rix::test
