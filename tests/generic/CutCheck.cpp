#include <rix/access/BlockSize.h>
#include <rix/access/Plan.h>

#include "Checks.h"
#include "WatchedScheduler.h"

namespace rix::test {

namespace {

constexpr std::size_t bytesOfWholeImages = std::size_t{1} << 40;
constexpr std::size_t bytesOfManyBlocks = 1024;

/// Cuts images in one of the ways of the settings for as long as it lives.
class ScopedPartition {
public:
    explicit ScopedPartition(access::PartitionMode mode) : m_before(globalSettings().getValue(key)) {
        globalSettings().setValueAsInt32(key, mode);
    }
    ~ScopedPartition() {
        if (m_before.empty()) {
            globalSettings().remove(key);
        } else {
            globalSettings().setValue(key, m_before);
        }
    }
    ScopedPartition(const ScopedPartition&) = delete;
    ScopedPartition& operator=(const ScopedPartition&) = delete;

private:
    static constexpr const char* key = "RIX_PARTITIONER_MODE";
    String m_before;
};

struct Way {
    const char* text;
    access::PartitionMode mode;
    std::shared_ptr<access::BlockScheduler> scheduler;
    int threads;
};

std::vector<Way> allWays() {
    const auto shuffled = [](std::uint64_t seed) { return std::make_shared<access::ShuffledScheduler>(seed); };
    return {
        {"in order", access::RIX_PARTITION_DEFAULT, sharedSerialScheduler(), 1},
        {"in another order", access::RIX_PARTITION_DEFAULT, shuffled(1), 1},
        {"on 3 threads", access::RIX_PARTITION_DEFAULT, nullptr, 3},
        {"as rows or columns", access::RIX_PARTITION_FULL_ROW_COL_ALTERNATE, shuffled(2), 1},
        {"on columns only", access::RIX_PARTITION_ONLY_COLUMNS, shuffled(3), 1},
        {"on columns only and on 3 threads", access::RIX_PARTITION_ONLY_COLUMNS, nullptr, 3},
        {"on rows only", access::RIX_PARTITION_ONLY_ROWS, shuffled(4), 1},
    };
}

Outcome runAs(Subject& subject, const Way& way, std::size_t blockBytes) {
    const access::ScopedBlockBytes size(blockBytes);
    const ScopedPartition partition(way.mode);
    subject.algorithm().setBlockScheduler(way.scheduler);
    subject.algorithm().settings().setMaximumNumberOfThreads(way.threads);
    return runOnce(subject.algorithm());
}

::testing::AssertionResult isSameIn(const Example& example, Storage storage, OptimLevelType level) {
    static const std::vector<Way> ways = allWays();
    const auto subject = Subject::make(example, makeInputs(example), storage);
    if (subject == nullptr) {
        return ::testing::AssertionSuccess();
    }
    subject->algorithm().setMaxOptimLevel(level);
    // Twice, so that samples which no run writes differ from those of the runs below.
    for (int i = 0; i < 2; ++i) {
        subject->spoilOutputs(0x5d);
        if (const Outcome outcome = runAs(*subject, ways.front(), bytesOfWholeImages); !outcome.succeeded) {
            return ::testing::AssertionFailure() << "as one block: " << outcome.text();
        }
    }
    const Results whole = subject->results();
    for (const Way& way : ways) {
        subject->spoilOutputs(0xa7);
        const Outcome outcome = runAs(*subject, way, bytesOfManyBlocks);
        if (!outcome.succeeded) {
            return ::testing::AssertionFailure() << "cut, " << way.text << ": " << outcome.text();
        }
        if (const auto equal = resultsEqual(whole, subject->results(), 0); !equal) {
            return ::testing::AssertionFailure() << "cut, " << way.text << ": " << equal.message();
        }
        if (const auto ready = isReady(subject->algorithm()); !ready) {
            return ready;
        }
    }
    return subject->inputsAreUntouched();
}

}  // namespace

::testing::AssertionResult isSameHoweverCut(const Example& example) {
    for (std::size_t number = 0; number < 4; ++number) {
        if (const auto same = isSameHoweverCutOnce(example, number); !same) {
            return same;
        }
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult isSameHoweverCutOnce(const Example& example, std::size_t number) {
    // In memory the rows of some images are one; on disk they are many, and blocks are chunks.
    const Storage storage = number % 2 == 0 ? Storage::Memory : Storage::Disk;
    const OptimLevelType level = number % 4 < 2 ? SCALAR : VEC_AVX;
    if (const auto same = isSameIn(example, storage, level); !same) {
        return ::testing::AssertionFailure()
               << example.toText() << ", " << nameOf(storage) << ", levels up to " << level << ", " << same.message();
    }
    return ::testing::AssertionSuccess();
}

std::size_t blocksWhenCut(const Example& example) {
    Subject subject(example);
    const auto watched = std::make_shared<WatchedScheduler>(sharedSerialScheduler(), nullptr);
    runAs(subject, {"", access::RIX_PARTITION_DEFAULT, watched, 1}, bytesOfManyBlocks);
    return std::max<std::size_t>(watched->blocks(), 1);
}

}  // namespace rix::test
