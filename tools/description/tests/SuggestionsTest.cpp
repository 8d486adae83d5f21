#include <rix/description/Suggestions.h>

#include <gtest/gtest.h>

namespace rix::description {
namespace {

TEST(Suggestions, distanceCountsEditsOfEveryKind) {
    const struct {
        const char* a;
        const char* b;
        std::size_t distance;
    } cases[] = {
        {"", "", 0},      {"", "abc", 3},           {"abc", "abc", 0},     {"abc", "abd", 1},
        {"abc", "ab", 1}, {"abc", "xabc", 1},       {"abcd", "abdc", 1},   {"ab", "ba", 1},
        {"ca", "abc", 3}, {"Kitten", "sitting", 3}, {"LABEL", "label", 0},
    };
    for (const auto& [a, b, distance] : cases) {
        EXPECT_EQ(editDistance(a, b), distance) << a << " " << b;
        EXPECT_EQ(editDistance(b, a), distance) << b << " " << a;
    }
}

TEST(Suggestions, offersTheNearestFirstAndNothingFarFetched) {
    using Names = std::vector<std::string>;
    const Names names{"BoxFilter2d", "BoxFilter3d", "Labeling2d", "ThresholdingByCriterion", "GaussianFilter2d"};
    EXPECT_EQ(suggest("labeling2D", names), Names{"Labeling2d"});
    EXPECT_EQ(suggest("boxfilter2D", names), Names{"BoxFilter2d"});
    EXPECT_EQ(suggest("BoxFliter3d", names), (Names{"BoxFilter3d", "BoxFilter2d"}));
    EXPECT_EQ(suggest("threshold", names), Names{"ThresholdingByCriterion"});
    EXPECT_EQ(suggest("BoxFilter", names), (Names{"BoxFilter2d", "BoxFilter3d"}));
    EXPECT_EQ(suggest("filter", names, 2), (Names{"BoxFilter2d", "BoxFilter3d"}));
    EXPECT_EQ(suggest("Erosion", names), Names{});
    EXPECT_EQ(suggest("", names), Names{});
    EXPECT_EQ(suggest("x", Names{"y"}), Names{"y"});
}

}  // namespace
}  // namespace rix::description
