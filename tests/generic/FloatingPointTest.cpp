// A result does not depend on the floating-point state of the host, neither that of the run's caller nor that of the
// thread that happened to start the library's.

#include <rix/Library.h>

#include "FloatingPointStates.h"
#include "GenericTest.h"

namespace rix::test {
namespace {

class FloatingPoint : public GenericTest {
protected:
    /// Values on which rounding and denormal numbers tell.
    static InputImages sensitiveInputs(const Example& example) {
        InputImages images;
        std::uint64_t seed = 11;
        for (const ImageRecipe& recipe : example.images) {
            images.push_back(recipe.has_value()
                                 ? std::make_shared<io::MemoryImage>(makeRandomImage(*recipe, seed++, Extremes::Finite))
                                 : nullptr);
        }
        return images;
    }

    static void runAndCompare(Subject& subject, const FloatingPointState& state, int threads, const Results& expected) {
        SCOPED_TRACE(subject.example().toText() + ", " + std::to_string(threads) + " threads, " + state.name);
        subject.algorithm().settings().setMaximumNumberOfThreads(threads);
        subject.spoilOutputs(0x5a);
        Outcome outcome;
        bool isLeftAlone = false;
        {
            const ScopedState scope(state);
            const FloatingPointSnapshot before;
            outcome = runOnce(subject.algorithm());
            isLeftAlone = before.isCurrent();
        }
        ASSERT_TRUE(outcome.succeeded) << outcome.text();
        EXPECT_TRUE(isLeftAlone) << "the run changed the state of its caller";
        EXPECT_TRUE(resultsEqual(expected, subject.results()));
    }
};

TEST_P(FloatingPoint, OfTheHostDoesNotReachTheResult) {
    if (sanitized) {
        GTEST_SKIP() << "A state reaches results in the code that is shipped, if anywhere.";
    }
    const Example large = largeExample(example());
    // The first one accepted, on whose type most states tell, meets each state; the others meet all in one.
    std::vector<FloatingPointState> states = floatingPointStates();
    std::set<String> seen;
    for (const Example& typed : {large.withVoxelType(RIX_FLOAT32), large.withVoxelType(RIX_FLOAT64), large}) {
        const InputImages images = sensitiveInputs(typed);
        const auto subject = Subject::make(typed, images, Storage::Memory);
        if (!seen.insert(typed.toText()).second || subject == nullptr || !runOnce(subject->algorithm()).succeeded) {
            continue;  // a type that the algorithm does not take, or none to choose
        }
        const Results expected = subject->results();
        for (const FloatingPointState& state : states) {
            runAndCompare(*subject, state, 1, expected);  // in the thread of this state
            finish();  // ends the idle workers: the next ones are started in this state
            runAndCompare(*subject, state, 3, expected);
            runAndCompare(*subject, {"default"}, 3, expected);  // by those very workers
        }
        states.erase(states.begin(), states.end() - 1);
    }
}

RIX_FOR_EVERY_ALGORITHM(FloatingPoint);

}  // namespace
}  // namespace rix::test
