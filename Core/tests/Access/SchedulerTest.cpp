// Distribution of blocks: every block once, failures out of blocks.

#include <tbb/parallel_for.h>
#include <tbb/task_group.h>

#include "Testing.h"

namespace rix::access {
namespace {

class Schedulers : public testing::TestWithParam<int> {
protected:
    BlockScheduler& scheduler() {
        static ShuffledScheduler shuffled(7);
        return GetParam() == 0 ? serialScheduler() : GetParam() == 1 ? parallelScheduler() : shuffled;
    }
};

INSTANTIATE_TEST_SUITE_P(All, Schedulers, testing::Values(0, 1, 2));

TEST_P(Schedulers, RunEveryBlockOnce) {
    for (const std::size_t count : {0U, 1U, 2U, 7U, 1000U}) {
        std::vector<std::atomic<int>> visits(count);
        scheduler().forEach(count, [&](std::size_t i) { ++visits[i]; });
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(visits[i], 1) << "block " << i << " of " << count;
        }
    }
}

#ifndef __SANITIZE_THREAD__  // under which oneTBB does not run blocks
TEST_P(Schedulers, RunEveryBlockWhateverBecomesOfTheApplicationsTasks) {
    // The application's own group of tasks, of which this call is a part, is cancelled: by an exception, say.
    std::atomic<int> visits{0};
    tbb::task_group_context application;
    tbb::parallel_for(
        0, 1,
        [&](int) {
            application.cancel_group_execution();
            scheduler().forEach(100, [&](std::size_t) { ++visits; });
        },
        application);
    EXPECT_EQ(visits, 100);
}
#endif

TEST_P(Schedulers, HandOutTheExceptionOfABlock) {
    EXPECT_THROW(scheduler().forEach(100,
                                     [](std::size_t i) {
                                         if (i == 37) {
                                             throw std::out_of_range("37");
                                         }
                                     }),
                 std::out_of_range);
}

TEST(Shuffled, IsNotTheNaturalOrderAndRepeats) {
    const auto orderOf = [](std::uint64_t seed) {
        std::vector<std::size_t> order;
        ShuffledScheduler scheduler(seed);
        scheduler.forEach(20, [&](std::size_t i) { order.push_back(i); });
        return order;
    };
    std::vector<std::size_t> natural(20);
    std::iota(natural.begin(), natural.end(), std::size_t{0});
    EXPECT_NE(orderOf(1), natural);
    EXPECT_EQ(orderOf(1), orderOf(1));
    EXPECT_NE(orderOf(1), orderOf(2));
}

}  // namespace
}  // namespace rix::access
