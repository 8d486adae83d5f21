#include <gtest/gtest.h>
#include <tbb/global_control.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // More threads than processors: what depends on their number shows on every machine.
    const tbb::global_control threads(tbb::global_control::max_allowed_parallelism, 7);
    return RUN_ALL_TESTS();
}
