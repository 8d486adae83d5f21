// A result does not depend on the level, the number of threads or the storage of the images.

#include <algorithm>
#include <iterator>

#include "GenericTest.h"
#include "Properties.h"

namespace rix::test {
namespace {

constexpr OptimLevelType levels[] = {SCALAR, VEC_SSE, VEC_AVX};

class SameResult : public GenericTest {
protected:
    /// Runs at a level, if there is a runner of it that takes the data, and compares.
    /// @return whether it ran
    static bool runAndCompare(Subject& subject, OptimLevelType level, const Results& expected) {
        BaseAlgorithm& algorithm = subject.algorithm();
        if (!devices::Cpu::supports(level) || !algorithm.isOptimLevelSupported(level)) {
            return false;
        }
        algorithm.setAutoCpuDispatch(false);
        algorithm.setOptimLevel(level);
        subject.spoilOutputs(0xa7);
        const Outcome outcome = runOnce(algorithm);
        EXPECT_TRUE(isReady(algorithm));
        if (outcome.exceptionClass == "RunForException") {
            return false;
        }
        EXPECT_TRUE(outcome.succeeded) << outcome.text();
        if (outcome.succeeded) {
            EXPECT_EQ(algorithm.getLastRunLevel(), level);
            EXPECT_TRUE(resultsEqual(expected, subject.results()));
            EXPECT_TRUE(subject.inputsAreUntouched());
            EXPECT_TRUE(subject.surroundingsAreUntouched()) << "samples beside the image were written";
        }
        return outcome.succeeded;
    }

    /// Inputs and outputs of a storage, and where that is the disk, what lies between them as well; outputs in memory
    /// where the algorithm would have to shape them in several steps, which views refuse. None where an image cannot be
    /// stored so.
    static std::unique_ptr<Subject> makeStored(const Example& example, const InputImages& images,
                                               const Results& expected, Storage storage) {
        auto subject = Subject::make(example, images, storage);
        if (subject == nullptr || !subject->storeOutputs(expected, storage)) {
            return nullptr;
        }
        subject->algorithm().settings().setValueAsBool("RIX_TEMPORARY_IMAGE_ON_DISK", storage == Storage::Disk);
        const Outcome outcome = runOnce(subject->algorithm());
        if (outcome.exceptionClass == "RuleException" && outcome.names("cannot be resized")) {
            subject->renewOutputs();
        }
        return subject;
    }

    /// How storages are read is a matter of a thread; how threads share the work is that of memory.
    static std::vector<int> threadCountsFor(Storage storage) {
        const bool isMemory = storage == Storage::Memory;
        if (sanitized) {
            return {isMemory ? 3 : 1};
        }
        return isMemory ? std::vector{1, 2, 7} : std::vector{3};
    }

    /// How rows come from other storages does not depend on the level: large images, and all of them under the
    /// sanitizers, which take most of the time of all checks, are gone over at every level in memory only.
    static std::vector<OptimLevelType> levelsFor(Storage storage, bool isLarge) {
        if (storage == Storage::Memory || (!sanitized && !isLarge)) {
            return {std::begin(levels), std::end(levels)};
        }
        return {*std::find_if(std::rbegin(levels), std::rend(levels), &devices::Cpu::supports)};
    }

    static String describe(const Example& example, OptimLevelType level, int threads, const char* storage) {
        return example.toText() + ", level " + std::to_string(level) + ", " + std::to_string(threads) + " threads, " +
               storage;
    }
};

TEST_P(SameResult, AtEveryLevelWithEveryNumberOfThreadsInEveryStorage) {
    const Example large = largeExample(example());
    const InputImages images = makeInputs(large);
    const Results expected = referenceResults(large);
    int ran = 0;
    for (const Storage storage : allStorages) {
        for (const int threads : threadCountsFor(storage)) {
            const auto subject = makeStored(large, images, expected, storage);
            if (subject == nullptr) {
                continue;
            }
            subject->algorithm().settings().setMaximumNumberOfThreads(threads);
            for (const OptimLevelType level : levelsFor(storage, true)) {
                SCOPED_TRACE(describe(large, level, threads, nameOf(storage)));
                ran += runAndCompare(*subject, level, expected) ? 1 : 0;
            }
        }
    }
    EXPECT_GE(ran, sanitized ? 3 : 7) << "hardly anything was compared";
}

TEST_P(SameResult, ForEveryTypeAndEveryChoice) {
    for (const Example& variant : variantsOf(example())) {
        const InputImages images = makeInputs(variant);
        const Results expected = referenceResults(variant);
        for (const Storage storage : allStorages) {
            const auto subject = makeStored(variant, images, expected, storage);
            if (subject == nullptr) {
                continue;
            }
            for (const OptimLevelType level : levelsFor(storage, false)) {
                SCOPED_TRACE(describe(variant, level, -1, nameOf(storage)));
                runAndCompare(*subject, level, expected);
            }
        }
    }
}

/// What is left of a row behind the last whole vector is of every length, and rows begin at any address.
/// The example itself has all widths, its variants each every seventh, so that seven of them have all.
TEST_P(SameResult, AtEveryWidth) {
    std::size_t first = 1;
    std::size_t step = 1;
    for (const Example& variant : variantsOf(example())) {
        Extents extents = variant.extents();
        extents[ROWS] = 3;
        for (extents[COLUMNS] = first; extents[COLUMNS] <= 70; extents[COLUMNS] += sanitized ? 9 : step) {
            const Example narrow = variant.withExtents(extents);
            if (!isAccepted(narrow)) {
                continue;
            }
            const InputImages images = makeInputs(narrow);
            const Results expected = referenceResults(narrow);
            const auto subject = makeStored(narrow, images, expected, Storage::SizeProxy);
            ASSERT_NE(subject, nullptr);
            for (const OptimLevelType level : levels) {
                SCOPED_TRACE(describe(narrow, level, -1, "size proxy"));
                runAndCompare(*subject, level, expected);
            }
            if (HasFailure()) {
                return;
            }
        }
        first = first % 7 + 1;
        step = 7;
    }
}

TEST_P(SameResult, WhenAnObjectIsUsedAgainForOtherImages) {
    const Extents extents = example().extents();
    const Example other = example().withExtents({19, 30, extents[PLANS], 1, extents[SPECTRAL_SERIES]});
    Subject subject(example());
    ASSERT_TRUE(isAccepted(other));
    const Results expected = referenceResults(example());
    const Results otherExpected = referenceResults(other);
    for (int i = 0; i < 2; ++i) {
        for (const bool isOther : {false, true}) {
            // The object of the one, with the images of the other: outputs are shaped again in both directions.
            Subject fresh(isOther ? other : example());
            const auto to = inputsOf(subject.algorithm());
            const auto values = inputsOf(fresh.algorithm());
            for (std::size_t p = 0; p < to.size(); ++p) {
                to[p]->setFromBase(values[p]);
            }
            const Outcome outcome = runOnce(subject.algorithm());
            ASSERT_TRUE(outcome.succeeded) << outcome.text();
            EXPECT_TRUE(resultsEqual(isOther ? otherExpected : expected, subject.results())) << example().toText();
            subject.restore();
        }
    }
}

RIX_FOR_EVERY_ALGORITHM(SameResult);

}  // namespace
}  // namespace rix::test
