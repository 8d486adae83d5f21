// Each request for memory of a run may fail: the run then ends with an exception of the library, loses nothing, and the
// next run is right.

#include <exception>

#include "FailingAllocations.h"
#include "GenericTest.h"
#include "Properties.h"

namespace rix::test {
namespace {

/// A run with its exception told in a text that no shortage can touch: it is made after the shortage.
Outcome runInShortage(BaseAlgorithm& algorithm, std::size_t failing, Shortage shortage, std::size_t& requests) {
    Outcome outcome;
    std::exception_ptr thrown;
    {
        const FailingAllocations shortages(failing, shortage);
        try {
            algorithm.run();
        } catch (...) {
            thrown = std::current_exception();
        }
        requests = FailingAllocations::requests();
    }
    if (thrown == nullptr) {
        outcome.succeeded = true;
        return outcome;
    }
    try {
        std::rethrow_exception(thrown);
    } catch (const Exception& exception) {
        outcome.isOfTheFamily = true;
        outcome.isOutOfMemory = exception.isOutOfMemory();
        outcome.exceptionClass = exception.getClassName();
        for (const auto& level : exception.getLevels()) {
            outcome.levels.push_back(level.message);
        }
    } catch (const std::exception& exception) {
        outcome.exceptionClass = exception.what();
    }
    return outcome;
}

class AllocationFailure : public GenericTest {
protected:
    void SetUp() override {
        if (!allocationsCanFail()) {
            GTEST_SKIP() << "the sanitizer's operator new cannot be made to fail";
        }
        GenericTest::SetUp();
    }

    /// The failing requests to try: all of a run of few, a selection of one of many.
    static std::size_t after(std::size_t request, std::size_t few) {
        return request < few ? request + 1 : request + request / 20 + 1;
    }

    void failEachRequest(const Example& example, int threads, Shortage shortage, std::size_t few = 150);
};

void AllocationFailure::failEachRequest(const Example& example, int threads, Shortage shortage, std::size_t few) {
    // Before each failing run the outputs are small, so that they too are requested anew.
    const Example small = example.withExtents({11, 7, example.extents()[PLANS], 1, example.extents()[SPECTRAL_SERIES]});
    const Results expected = referenceResults(example);
    const Results smallExpected = referenceResults(small);
    Subject smallImages(small);
    Subject subject(example);
    BaseAlgorithm& algorithm = subject.algorithm();
    algorithm.settings().setMaximumNumberOfThreads(threads);
    const auto useSmallImages = [&] {
        const auto to = inputsOf(algorithm);
        const auto from = inputsOf(smallImages.algorithm());
        for (std::size_t i = 0; i < to.size(); ++i) {
            to[i]->setFromBase(from[i]);
        }
    };

    bool failed = true;
    for (std::size_t request = 1; failed; request = after(request, few)) {
        SCOPED_TRACE(example.toText() + ", " + std::to_string(threads) + " threads: request " +
                     std::to_string(request) + (shortage == Shortage::Once ? " fails" : " and all later ones fail"));
        ASSERT_LT(request, 100000U) << "no run needs so much";
        subject.renewOutputs();
        useSmallImages();
        ASSERT_TRUE(runOnce(algorithm).succeeded);
        subject.restore();
        std::size_t requests = 0;
        const Outcome outcome = runInShortage(algorithm, request, shortage, requests);
        failed = requests >= request;
        tally("failed_allocations", failed ? 1 : 0);
        EXPECT_TRUE(outcome.succeeded || outcome.isOfTheFamily) << outcome.text();
        EXPECT_TRUE(outcome.succeeded || outcome.isOutOfMemory) << "it is not told why: " << outcome.text();
        EXPECT_TRUE(isReady(algorithm));
        EXPECT_TRUE(subject.outputsAreReadable()) << "an output claims samples that it does not have";
        if (outcome.succeeded) {
            EXPECT_TRUE(resultsEqual(expected, subject.results())) << "a run that did without the memory";
        }
        // Next on the images from before, whose outputs need not grow, then on those that failed.
        useSmallImages();
        const Outcome next = runOnce(algorithm);
        ASSERT_TRUE(next.succeeded) << "the next run: " << next.text();
        EXPECT_TRUE(resultsEqual(smallExpected, subject.results())) << "the next run";
        subject.restore();
        const Outcome last = runOnce(algorithm);
        ASSERT_TRUE(last.succeeded) << "the run after the next: " << last.text();
        EXPECT_TRUE(resultsEqual(expected, subject.results())) << "the run after the next";
        if (HasFailure()) {
            return;
        }
    }
}

TEST_P(AllocationFailure, OnOneThread) {
    failEachRequest(example(), 1, Shortage::Once);
}

TEST_P(AllocationFailure, OnOneThreadAndNeverAgain) {
    failEachRequest(example(), 1, Shortage::FromThen);
}

TEST_P(AllocationFailure, OnManyThreads) {
    failEachRequest(largeExample(example()), 3, Shortage::Once, 20);
}

TEST_P(AllocationFailure, LosesNothing) {
    // What a failed run leaves behind must not add up. Single runs may leave something in the stores of the library.
    Subject subject(example());
    BaseAlgorithm& algorithm = subject.algorithm();
    algorithm.settings().setMaximumNumberOfThreads(1);
    const auto liveAfter = [&](std::size_t request, std::size_t& requests) {
        subject.renewOutputs();
        static_cast<void>(runInShortage(algorithm, request, Shortage::Once, requests));
        EXPECT_TRUE(runOnce(algorithm).succeeded);
        return liveAllocations();
    };
    std::size_t requests = 0;
    for (std::size_t request = 1;; request = after(request, 150)) {
        std::array<long, 4> live{};
        for (long& each : live) {
            each = liveAfter(request, requests);
        }
        EXPECT_FALSE(live[0] < live[1] && live[1] < live[2] && live[2] < live[3])
            << example().toText() << ": request " << request << " fails and the run leaves " << live[3] - live[2]
            << " blocks of memory behind";
        if (requests < request) {
            break;
        }
    }
}

RIX_FOR_EVERY_ALGORITHM(AllocationFailure);

}  // namespace
}  // namespace rix::test
