// A run can be cancelled at any moment, and the object runs again afterwards.

#include <chrono>

#include <rix/access/Blocks.h>
#include <rix/algorithms/InteractionInterface.h>

#include "GenericTest.h"
#include "WatchedScheduler.h"

namespace rix::test {
namespace {

using std::chrono::duration;
using std::chrono::steady_clock;

class Cancellation : public GenericTest {
protected:
    void SetUp() override {
        GenericTest::SetUp();
        if (IsSkipped() || HasFailure()) {
            return;
        }
        m_large = largeExample(example());
    }
    const Example& large() const { return m_large; }

    void expectNextRunIsRight(Subject& subject) {
        EXPECT_TRUE(isReady(subject.algorithm()));
        EXPECT_TRUE(subject.outputsAreReadable());
        subject.algorithm().setBlockScheduler(nullptr);
        const Outcome outcome = runOnce(subject.algorithm());
        ASSERT_TRUE(outcome.succeeded) << "the run after the cancelled one: " << outcome.text();
        if (!m_expected.has_value()) {
            m_expected = referenceResults(m_large);
        }
        EXPECT_TRUE(resultsEqual(*m_expected, subject.results())) << "the run after the cancelled one";
        EXPECT_FALSE(subject.algorithm().isExecutionCancelled());
    }

    /// Some work is shared out only where there are threads for it.
    std::size_t countBlocks(int threads) const {
        Subject subject(m_large);
        subject.algorithm().settings().setMaximumNumberOfThreads(threads);
        const auto watched = std::make_shared<WatchedScheduler>(sharedSerialScheduler(), nullptr);
        subject.algorithm().setBlockScheduler(watched);
        EXPECT_TRUE(runOnce(subject.algorithm()).succeeded);
        return watched->blocks();
    }

private:
    Example m_large;
    std::optional<Results> m_expected;  ///< once a run has to be compared
};

TEST_P(Cancellation, AtABlock) {
    for (const bool parallel : {false, true}) {
        const std::size_t blocks = countBlocks(parallel ? 3 : 1);
        if (blocks == 0) {
            GTEST_SKIP() << large().toText() << " has no blocks";
        }
        for (const std::size_t block : {std::size_t{1}, blocks / 3 + 1, blocks / 2 + 1, blocks}) {
            SCOPED_TRACE(large().toText() + ", cancelled at block " + std::to_string(block) + " of " +
                         std::to_string(blocks) + (parallel ? ", parallel" : ", serial"));
            Subject subject(large());
            subject.algorithm().settings().setMaximumNumberOfThreads(parallel ? 3 : 1);
            const auto watched = std::make_shared<WatchedScheduler>(
                parallel ? sharedParallelScheduler() : sharedSerialScheduler(), [&](std::size_t number) {
                    if (number == block) {
                        subject.algorithm().cancelExecution();
                    }
                });
            subject.algorithm().setBlockScheduler(watched);
            const Outcome outcome = runOnce(subject.algorithm());
            EXPECT_TRUE(parallel || watched->blocks() <= block + 1)
                << "the request was seen only " << watched->blocks() - block << " blocks later";
            EXPECT_EQ(outcome.exceptionClass, "UserCancelException") << outcome.text();
            EXPECT_TRUE(subject.algorithm().isExecutionCancelled());
            tally("cancelled_runs");
            EXPECT_FALSE(subject.algorithm().getLastRunLevel().has_value());
            expectNextRunIsRight(subject);
        }
    }
}

/// The end of the progress is the end of the run, whatever steps and other algorithms it is made of.
TEST_P(Cancellation, IsPossibleUntilTheProgressIsComplete) {
    Subject subject(large());
    BaseAlgorithm& algorithm = subject.algorithm();
    std::vector<double> progress;
    algorithm.settings().setMaximumNumberOfThreads(1);
    algorithm.setBlockScheduler(std::make_shared<WatchedScheduler>(
        sharedSerialScheduler(), [&](std::size_t) { progress.push_back(algorithm.getProgress()); }));
    ASSERT_TRUE(runOnce(algorithm).succeeded);
    EXPECT_EQ(algorithm.getProgress(), 1.0);
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    EXPECT_TRUE(progress.empty() || progress.back() < 1.0) << "work was left when the progress was complete";
}

TEST_P(Cancellation, AtARandomMomentFromAnotherThread) {
    Subject subject(large());
    const auto begin = steady_clock::now();
    ASSERT_TRUE(runOnce(subject.algorithm()).succeeded);
    const duration<double> length = steady_clock::now() - begin;
    std::mt19937 random(20);
    std::uniform_real_distribution<double> moment(0.0, 1.2);
    int cancelled = 0;
    for (int round = 0; round < (sanitized ? 4 : 12); ++round) {
        const duration<double> delay = length * moment(random);
        SCOPED_TRACE(large().toText() + ", round " + std::to_string(round) + ", cancelled after " +
                     std::to_string(delay.count()) + " s");
        subject.algorithm().settings().setMaximumNumberOfThreads(round % 3 + 1);
        std::atomic<bool> isOver{false};
        std::thread canceller([&] {
            while (!subject.algorithm().running() && !isOver) {
                std::this_thread::yield();
            }
            const auto until = steady_clock::now() + delay;
            while (steady_clock::now() < until) {
                std::this_thread::yield();
            }
            subject.algorithm().cancelExecution();
        });
        const Outcome outcome = runOnce(subject.algorithm());
        // The canceller may see the run only later: then it is this second one that it cancels.
        const Outcome second = runOnce(subject.algorithm());
        isOver = true;
        canceller.join();
        for (const Outcome* const each : {&outcome, &second}) {
            EXPECT_TRUE(each->succeeded || each->exceptionClass == "UserCancelException") << each->text();
            cancelled += each->succeeded ? 0 : 1;
        }
        expectNextRunIsRight(subject);
    }
    tally("cancelled_runs", cancelled);
}

/// What is left of the work when a request comes is bounded, whatever the size of the images: no part of a run reads or
/// writes more than this many elements between two looks at the request.
TEST_P(Cancellation, IsSeenBeforeMuchMoreIsReadOrWritten) {
    constexpr std::size_t mostElements = std::size_t{1} << 20;
    const bool isPlanar = example().extents()[PLANS] == 1;
    const std::size_t channels = example().extents()[SPECTRAL_SERIES];
    const Example huge =
        example().withExtents(isPlanar ? Extents{2053, 2003, 1, 1, channels} : Extents{509, 307, 25, 1, channels});
    Subject subject(huge);
    subject.algorithm().settings().setMaximumNumberOfThreads(1);
    std::size_t elements = 0;
    std::size_t cancelAt = 0;
    const auto count = [&](std::size_t row) {
        const bool reached = elements < cancelAt && elements + row >= cancelAt;
        elements += row;
        if (reached) {
            subject.algorithm().cancelExecution();
        }
        return true;
    };
    subject.gateRows({count, count});
    if (const Outcome whole = runOnce(subject.algorithm()); !whole.succeeded) {
        GTEST_SKIP() << huge.toText() << " is refused: " << whole.text();
    }
    const std::size_t all = elements;
    std::size_t most = 0;
    constexpr std::size_t parts = sanitized ? 3 : 5;
    for (std::size_t part = 0; part < parts; ++part) {
        elements = 0;
        cancelAt = std::min(all, 1 + access::partOf(all, parts, part).begin);
        SCOPED_TRACE(huge.toText() + ", cancelled at element " + std::to_string(cancelAt) + " of " +
                     std::to_string(all));
        const Outcome outcome = runOnce(subject.algorithm());
        EXPECT_EQ(outcome.exceptionClass, "UserCancelException") << outcome.text();
        tally("cancelled_runs");
        most = std::max(most, elements - cancelAt);
    }
    EXPECT_LE(most, mostElements) << huge.toText();
    RecordProperty("elements", std::to_string(most));
}

/// Asks for the end from its first poll on.
class Impatient : public InteractionInterface {
public:
    void setProgress(double progress) override {
        EXPECT_GE(progress, m_last);
        EXPECT_LE(progress, 1.0);
        m_last = progress;
    }
    bool isCancelRequested() override {
        polled = true;
        return true;
    }
    std::atomic<bool> polled{false};

private:
    double m_last = 0.0;
};

TEST_P(Cancellation, ThroughTheInteraction) {
    const std::size_t blocks = countBlocks(1);
    if (blocks < 2) {
        GTEST_SKIP() << large().toText() << " has no blocks to wait in";
    }
    // Waiting is most of it: every second algorithm waits in the thread of the caller.
    const int threads = GetParam().size() % 2 == 0 ? 1 : 3;
    SCOPED_TRACE(large().toText() + ", " + std::to_string(threads) + " threads");
    Subject subject(large());
    subject.algorithm().settings().setMaximumNumberOfThreads(threads);
    Impatient interaction;
    subject.algorithm().setBlockScheduler(std::make_shared<WatchedScheduler>(
        threads == 1 ? sharedSerialScheduler() : sharedParallelScheduler(), [&](std::size_t number) {
            // Polls are a tenth of a second apart: the first block outlasts one.
            for (int i = 0; number == 1 && i < (threads == 1 ? 120 : 5000) && !interaction.polled; ++i) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }));
    const Outcome outcome = runOnce(subject.algorithm(), &interaction);
    EXPECT_TRUE(interaction.polled);
    EXPECT_EQ(outcome.exceptionClass, "UserCancelException") << outcome.text();
    expectNextRunIsRight(subject);
}

RIX_FOR_EVERY_ALGORITHM(Cancellation);

}  // namespace
}  // namespace rix::test
