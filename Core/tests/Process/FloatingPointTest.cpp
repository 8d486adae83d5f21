// The state in which runs compute, and the one that comes back; that runs use it is tested with every algorithm.

#include "Process/FloatingPoint.h"

#include <cfenv>
#include <cfloat>

#include <gtest/gtest.h>

#include "FloatingPointStates.h"

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

}  // namespace
}  // namespace rix::test
