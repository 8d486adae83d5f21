// The checks of seams see what they are for: each fault is found in an algorithm that has it, and in no other.

#include <gmock/gmock.h>

#include "Checks.h"
#include "ExampleFinder.h"
#include "PlantedFaults.h"

namespace rix::test {
namespace {

/// What a check is to answer: nothing, or words of the difference that it is to find.
using Answer = const char*;
constexpr Answer right = nullptr;

struct Planted {
    const char* name;
    AlgoInfo& (*info)();
    Answer whenCut;
    std::optional<Answer> onSharedSamples;  ///< none where the fault has nothing to do with them
};

class PlantedFaults : public testing::TestWithParam<Planted> {};

void expectAnswer(Answer expected, const ::testing::AssertionResult& actual) {
    if (expected == right) {
        EXPECT_TRUE(actual);
    } else {
        EXPECT_FALSE(actual) << "the fault was not seen";
        EXPECT_THAT(actual.message(), testing::HasSubstr(expected));
    }
}

TEST_P(PlantedFaults, AreFoundWhereTheyAre) {
    const auto found = findExample(GetParam().info());
    ASSERT_TRUE(found.has_value());
    // Reals, whose sums depend on their order.
    const Example example = found->withVoxelType(RIX_FLOAT32);
    ASSERT_TRUE(isAccepted(example));
    expectAnswer(GetParam().whenCut, isSameHoweverCut(example));
    if (GetParam().onSharedSamples.has_value()) {
        expectAnswer(*GetParam().onSharedSamples, isSafeOnSharedSamples(example));
    }
}

constexpr Answer pixels = "samples differ";
constexpr Answer sum = "outputSum is";

INSTANTIATE_TEST_SUITE_P(
    Seams, PlantedFaults,
    testing::Values(Planted{"windowMean", &planted::windowMean, right, right},
                    Planted{"windowMeanOfBlocks", &planted::windowMeanOfBlocks, pixels, std::nullopt},
                    Planted{"windowMeanOnSharedSamples", &planted::windowMeanOnSharedSamples, right, pixels},
                    Planted{"copyOfRows", &planted::copyOfRows, right, std::nullopt},
                    Planted{"copyOfRowsButTheLast", &planted::copyOfRowsButTheLast, pixels, std::nullopt},
                    Planted{"sumOfLeaves", &planted::sumOfLeaves, right, std::nullopt},
                    Planted{"sumOfBlocks", &planted::sumOfBlocks, sum, std::nullopt}),
    [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace rix::test
