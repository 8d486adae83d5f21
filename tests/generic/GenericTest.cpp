#include "GenericTest.h"

#include <rix/settings/Settings.h>

namespace rix::test {

Results referenceResults(const Example& example) {
    Subject subject(example);
    subject.algorithm().settings().setMaximumNumberOfThreads(1);
    subject.algorithm().setMaxOptimLevel(SCALAR);
    const Outcome outcome = runOnce(subject.algorithm());
    EXPECT_TRUE(outcome.succeeded) << example.toText() << ": " << outcome.text();
    return subject.results();
}

}  // namespace rix::test
