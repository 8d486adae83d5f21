// The checks of seams see what they are for: each fault is found in an algorithm that has it.

#include <gmock/gmock.h>

#include "Checks.h"
#include "ExampleFinder.h"
#include "PlantedFaults.h"

namespace rix::test {
namespace {

struct Planted {
    const char* name;
    AlgoInfo& (*info)();
    const char* difference;  ///< that is to be found
    bool isOfSharing;        ///< the fault shows where images share samples, and not in cuts
};

class PlantedFaults : public testing::TestWithParam<Planted> {};

TEST_P(PlantedFaults, AreFoundWhereTheyAre) {
    const auto found = findExample(GetParam().info());
    ASSERT_TRUE(found.has_value());
    // Reals, whose sums depend on their order.
    const Example example = found->withVoxelType(RIX_FLOAT32);
    ASSERT_TRUE(isAccepted(example));
    const auto whenCut = isSameHoweverCut(example);
    EXPECT_EQ(bool(whenCut), GetParam().isOfSharing) << whenCut.message();
    const auto answer = GetParam().isOfSharing ? isSafeOnSharedSamples(example) : whenCut;
    EXPECT_FALSE(answer) << "the fault was not seen";
    EXPECT_THAT(answer.message(), testing::HasSubstr(GetParam().difference));
}

INSTANTIATE_TEST_SUITE_P(
    Seams, PlantedFaults,
    testing::Values(Planted{"windowMeanOfBlocks", &planted::windowMeanOfBlocks, "samples differ", false},
                    Planted{"windowMeanOnSharedSamples", &planted::windowMeanOnSharedSamples, "samples differ", true},
                    Planted{"copyOfRowsButTheLast", &planted::copyOfRowsButTheLast, "samples differ", false},
                    Planted{"sumOfBlocks", &planted::sumOfBlocks, "outputSum is", false}),
    [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace rix::test
