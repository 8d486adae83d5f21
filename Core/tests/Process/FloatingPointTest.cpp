// Runs compute in the default floating-point state, whatever their callers' is, and leave it to them as it was.

#include "Process/FloatingPoint.h"

#include <cfenv>
#include <cfloat>
#include <functional>
#include <stdexcept>

#include <gtest/gtest.h>

#include <rix/access/BlockScheduler.h>
#include <rix/access/ExecutionContext.h>
#include <rix/settings/Settings.h>

#include "FloatingPointStates.h"
#include "TestAlgorithms.h"

namespace rix::test {
namespace {

/// Whether this thread rounds to nearest, keeps denormals and goes on after an invalid operation.
bool computesAsByDefault() {
    volatile double three = 3.0;
    volatile double smallest = DBL_MIN;
    volatile double zero = 0.0;
    volatile double notANumber = zero / zero;
    volatile long double longThree = 3.0L;
    return std::fegetround() == FE_TONEAREST && -1.0 / -three == 1.0 / three && smallest / 2.0 > 0.0 &&
           (smallest / 2.0) * 2.0 == DBL_MIN && notANumber != notANumber && -1.0L / -longThree == 1.0L / longThree;
}

TEST(FloatingPoint, TheStateOfBeforeComesBackWithItsFlags) {
    for (const FloatingPointState& state : floatingPointStates()) {
        SCOPED_TRACE(state.name);
        const ScopedState scope(state);
        const FloatingPointSnapshot before;
        {
            const process::DefaultFloatingPoint inside;
            EXPECT_TRUE(computesAsByDefault());
            {
                const process::DefaultFloatingPoint::Outside outside(inside);
                EXPECT_TRUE(before.isCurrent());
                std::fesetround(FE_UPWARD);  // a callback's change ends with the callback
            }
            EXPECT_TRUE(computesAsByDefault());
        }
        EXPECT_TRUE(before.isCurrent());
    }
}

TEST(FloatingPoint, EveryThreadOfARunComputesInTheDefaultState) {
    for (const int threads : {1, 2, 5, -1}) {
        for (const FloatingPointState& state : floatingPointStates()) {
            SCOPED_TRACE(String(state.name) + ", " + std::to_string(threads) + " threads");
            std::atomic<int> wrong{0};
            bool callerSeesOwn = true;
            ScriptedAlgorithm algorithm;
            algorithm.settings().setMaximumNumberOfThreads(threads);
            algorithm.withRunner(SCALAR, [&](BaseAlgorithm& self) {
                wrong += computesAsByDefault() ? 0 : 1;
                self.executionContext().scheduler().forEach(
                    64, [&](std::size_t) { wrong += computesAsByDefault() ? 0 : 1; });
                throw std::runtime_error("a failure restores as well");
            });
            {
                const ScopedState scope(state);
                const FloatingPointSnapshot before;
                EXPECT_ANY_THROW(algorithm.run());
                callerSeesOwn = before.isCurrent();
            }
            EXPECT_EQ(wrong, 0);
            EXPECT_TRUE(callerSeesOwn);
        }
    }
}

}  // namespace
}  // namespace rix::test
