#pragma once

#include <ostream>

#include <rix/access/ForcedStores.h>
#include <rix/algorithms/BaseAlgorithm.h>

#include "Testing.h"

namespace rix::test {

/// The kernels that a run uses: those of a level, with a policy of stores.
struct Kernels {
    OptimLevelType level;
    access::Stores stores = access::Stores::Cached;
};

inline std::ostream& operator<<(std::ostream& out, const Kernels& kernels) {
    return out << "level " << kernels.level << (kernels.stores == access::Stores::Streaming ? ", streaming" : "");
}

inline std::vector<Kernels> runnableKernels() {
    std::vector<Kernels> all;
    for (const OptimLevelType level : runnableLevels()) {
        all.insert(all.end(), {{level, access::Stores::Cached}, {level, access::Stores::Streaming}});
    }
    return all;
}

/// Runs in one thread on one level and asserts that this level answered.
inline void runOn(BaseAlgorithm& algorithm, const Kernels& kernels) {
    const access::ForcedStores forced(kernels.stores);
    algorithm.settings().setMaximumNumberOfThreads(1);
    algorithm.setAutoCpuDispatch(false);
    algorithm.setOptimLevel(kernels.level);
    algorithm.run();
    EXPECT_EQ(algorithm.getLastRunLevel(), kernels.level);
}

/// Runs on every level, with stores through and past the caches, and calls `check` after each run.
template <class Check>
void onEveryLevel(BaseAlgorithm& algorithm, const Check& check) {
    for (const Kernels& kernels : runnableKernels()) {
        SCOPED_TRACE(kernels);
        runOn(algorithm, kernels);
        check();
    }
}

}  // namespace rix::test
