#include "GenericTest.h"

namespace rix::test {

bool isRefusedByRunners(const BaseAlgorithm& algorithm, const Outcome& outcome) {
    return outcome.exceptionClass == "RunForException" &&
           algorithm.getClassInfo().getAlgoVisibility() == AlgoVisibilityType::HIDDEN_ALGORITHM;
}

Results referenceResults(const Example& example) {
    Subject subject(example);
    subject.algorithm().settings().setMaximumNumberOfThreads(1);
    subject.algorithm().setMaxOptimLevel(SCALAR);
    const Outcome outcome = runOnce(subject.algorithm());
    EXPECT_TRUE(outcome.succeeded) << example.toText() << ": " << outcome.text();
    return subject.results();
}

}  // namespace rix::test
