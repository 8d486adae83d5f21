// What a block gives does not depend on where it ends, and no run reads what it has written.

#include <algorithm>

#include "Checks.h"
#include "GenericTest.h"

namespace rix::test {
namespace {

/// Each `step`-th combination: all of them take long.
std::vector<Example> sampledCombinations(const Example& example, std::size_t step) {
    const std::vector<Example> all = combinationsOf(example);
    std::vector<Example> sampled;
    for (std::size_t i = 0; i < all.size(); i += step) {
        sampled.push_back(all[i]);
    }
    return sampled;
}

class Seams : public GenericTest {};

TEST_P(Seams, DoNotShow) {
    for (const Example& each : sampledCombinations(example(), sanitized ? 7 : 1)) {
        EXPECT_TRUE(isSameHoweverCut(each));
    }
}

TEST_P(Seams, DoNotShowInImagesOfOtherProportions) {
    const std::size_t planes = example().extents()[PLANS];
    const Example wide = example().withExtents({283, 9, planes, 1, 1});
    const Example deep = example().withExtents({19, 17, planes == 1 ? 1U : 23U, 1, 1});
    const Example framed = example().withExtents({23, 29, planes, 2, 2});
    std::size_t blocks = blocksWhenCut(example());
    for (const Example* const shaped : {&wide, &deep, &framed}) {
        if (isAccepted(*shaped)) {
            EXPECT_TRUE(isSameHoweverCut(*shaped));
            blocks = shaped != &framed ? std::max(blocks, blocksWhenCut(*shaped)) : blocks;
        }
    }
    // Real sums of reductions are cut by the image alone.
    const auto algorithm = example().info->createInstance(nullptr);
    EXPECT_TRUE(blocks > 1 || algorithm->describe().kind == AlgorithmKind::Reduction) << "there are no seams to see";
}

TEST_P(Seams, DoNotShowWhereOutputsShareSamplesWithInputs) {
    for (const Example& each : sampledCombinations(example(), sanitized ? 11 : 3)) {
        EXPECT_TRUE(isSafeOnSharedSamples(each));
    }
}

RIX_FOR_EVERY_ALGORITHM(Seams);

}  // namespace
}  // namespace rix::test
