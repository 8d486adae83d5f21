// Each row that is read or written may fail: the run then says so, and the next run is right.

#include "GenericTest.h"

namespace rix::test {
namespace {

enum class Access { Read, Write };

class RowFailure : public GenericTest {};

/// Counts row accesses and makes one of them fail.
struct FailingAccess {
    std::atomic<std::size_t> count{0};
    std::size_t failing = 0;  ///< 0 for none

    /// Runs, and lets the access of that number fail.
    Outcome run(Subject& subject, std::size_t number) {
        count = 0;
        failing = number;
        const Outcome outcome = runOnce(subject.algorithm());
        failing = 0;
        return outcome;
    }
};

TEST_P(RowFailure, EndsTheRunAndLeavesTheNextOneRight) {
    const Results expected = referenceResults(example());
    for (const Access access : {Access::Read, Access::Write}) {
        for (const int threads : {1, 3}) {
            FailingAccess rowAccess;
            const auto pass = [&rowAccess](std::size_t) { return ++rowAccess.count != rowAccess.failing; };
            Subject subject(example());
            subject.gateRows(access == Access::Read ? RowGate{pass, {}} : RowGate{{}, pass});
            subject.algorithm().settings().setMaximumNumberOfThreads(threads);
            const Outcome clean = rowAccess.run(subject, 0);
            const std::size_t rows = rowAccess.count;
            ASSERT_TRUE(clean.succeeded) << example().toText() << ": " << clean.text();

            const std::size_t step = std::max<std::size_t>(1, rows / (sanitized ? 20 : 60));
            for (std::size_t row = 1; row <= rows; row += row == 1 ? 1 : step) {
                SCOPED_TRACE(example().toText() + ": " + (access == Access::Read ? "read" : "write") + " number " +
                             std::to_string(row) + " of " + std::to_string(rows) + " fails, " +
                             std::to_string(threads) + " threads");
                const Outcome outcome = rowAccess.run(subject, row);
                tally("failed_rows");
                ASSERT_FALSE(outcome.succeeded) << "nobody noticed";
                EXPECT_TRUE(outcome.isOfTheFamily) << outcome.text();
                EXPECT_TRUE(outcome.names(access == Access::Read ? "readRowAt" : "writeRowAt")) << outcome.text();
                EXPECT_TRUE(isReady(subject.algorithm()));
                EXPECT_TRUE(subject.outputsAreReadable());
                const Outcome next = rowAccess.run(subject, 0);
                ASSERT_TRUE(next.succeeded) << "the next run: " << next.text();
                EXPECT_TRUE(resultsEqual(expected, subject.results())) << "the next run";
            }
        }
    }
}

RIX_FOR_EVERY_ALGORITHM(RowFailure);

}  // namespace
}  // namespace rix::test
