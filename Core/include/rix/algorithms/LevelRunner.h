#pragma once

#include <memory>
#include <type_traits>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/Runnable.h>
#include <rix/devices/Cpu.h>

namespace rix::algorithms {

/// The runner of one level of an algorithm whose levels differ in their kernels only.
/// @tparam process `void(Algorithm&, OptimLevelType)`: does the work with the kernels of a level
/// @tparam accepts `bool(const Algorithm&)`: whether the kernels take the algorithm's present data
template <class Algorithm, OptimLevelType level, auto process, auto accepts>
class LevelRunner : public std::conditional_t<level == SCALAR, ScalarRunnable, Runnable> {
public:
    void run(BaseAlgorithm* algorithm) const override { process(static_cast<Algorithm&>(*algorithm), level); }
    bool isRunnable(BaseAlgorithm* algorithm) const override {
        return devices::Cpu::supports(level) && accepts(static_cast<const Algorithm&>(*algorithm));
    }
    OptimLevelType getOptimType() const override { return level; }
};

/// Registers the runners of the three levels.
template <class Algorithm, auto process, auto accepts>
void addLevelRunners(AlgoInfo& info) {
    info.addRunner(std::make_shared<LevelRunner<Algorithm, SCALAR, process, accepts>>());
    info.addRunner(std::make_shared<LevelRunner<Algorithm, VEC_SSE, process, accepts>>());
    info.addRunner(std::make_shared<LevelRunner<Algorithm, VEC_AVX, process, accepts>>());
}

/// What most algorithms accept: the rules have refused everything else already.
template <class Algorithm>
bool acceptsAll(const Algorithm& /*algorithm*/) {
    return true;
}

}  // namespace rix::algorithms
