// What a block gives does not depend on where it ends, and no run reads what it has written.

#include "Checks.h"
#include "GenericTest.h"

namespace rix::test {
namespace {

/// The example and so many of its combinations, drawn alike on every machine: all of them take long, and a regular step
/// could pass the same choice over in every type.
std::vector<Example> someCombinations(const Example& example, std::size_t count) {
    std::vector<Example> all = combinationsOf(example);
    std::mt19937 random(5);
    std::vector<Example> some{example};
    for (; count > 0 && !all.empty(); --count) {
        const std::size_t drawn = random() % all.size();
        some.push_back(all[drawn]);
        all.erase(all.begin() + static_cast<std::ptrdiff_t>(drawn));
    }
    return some;
}

class Seams : public GenericTest {};

/// The example itself in every storage at every level, its combinations each in one of these: seams that show only on
/// a type show whatever holds it.
TEST_P(Seams, DoNotShow) {
    std::size_t number = 0;
    for (const Example& each : someCombinations(example(), sanitized ? 4 : 24)) {
        EXPECT_TRUE(number == 0 ? isSameHoweverCut(each) : isSameHoweverCutOnce(each, number));
        ++number;
    }
}

TEST_P(Seams, DoNotShowInImagesOfOtherProportions) {
    const std::size_t planes = example().extents()[PLANS];
    const std::size_t channels = example().extents()[SPECTRAL_SERIES];
    const Example wide = example().withExtents({283, 9, planes, 1, channels});
    const Example deep = example().withExtents({19, 17, planes == 1 ? 1U : 23U, 1, channels});
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
    for (const Example& each : someCombinations(example(), sanitized ? 2 : 5)) {
        EXPECT_TRUE(isSafeOnSharedSamples(each));
    }
}

RIX_FOR_EVERY_ALGORITHM(Seams);

}  // namespace
}  // namespace rix::test
