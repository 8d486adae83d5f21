#include <rix/math/Histogram.h>

#include "Testing.h"

namespace rix::math {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

String failureOf(const Histogram& histogram, std::size_t index) {
    return test::messageOf<InvalidCall>([&] { static_cast<void>(histogram.getClassStart(index)); });
}

TEST(Histogram, AnswersNothingBeforeItHasClasses) {
    for (const Histogram& histogram : {Histogram(), Histogram(0, 1.0, 2.0)}) {
        EXPECT_FALSE(histogram.isInitialized());
        EXPECT_EQ(failureOf(histogram, 0), "The histogram isn't correctly initialized.");
        EXPECT_THROW(static_cast<void>(histogram.getIndexFromIntensity(1.0)), InvalidCall);
        EXPECT_THROW(static_cast<void>(histogram.getCount(0)), InvalidCall);
    }
}

TEST(Histogram, TurnsARangeThatIsGivenTheWrongWayRound) {
    const Histogram histogram(5, 3.0, -2.0);
    EXPECT_EQ(histogram.getMinimum(), -2.0);
    EXPECT_EQ(histogram.getMaximum(), 3.0);
    EXPECT_EQ(histogram.getBinSize(), 1.0);
    EXPECT_EQ(histogram.getNbClasses(), 5U);
    EXPECT_EQ(histogram.getClassStart(3), 1.0);
    EXPECT_EQ(failureOf(histogram, 5), "The class index must be less than the number of classes 5");
}

TEST(Histogram, FindsTheClassOfAnyValue) {
    const double nan = std::nan("");
    const double largest = std::numeric_limits<double>::max();
    const double smallest = std::numeric_limits<double>::denorm_min();
    const double inFour[][2] = {{0, 0},     {1.999, 0}, {2, 1},   {7.999, 3},   {8, 3},
                                {1e300, 3}, {-1, 0},    {nan, 0}, {infinity, 3}};
    for (const auto& [value, index] : inFour) {
        EXPECT_EQ(Histogram(4, 0, 8).getIndexFromIntensity(value), index) << value;
    }
    EXPECT_EQ(Histogram(7, 5, 5).getIndexFromIntensity(5), 6U);
    EXPECT_EQ(Histogram(1, 5, 6).getIndexFromIntensity(5), 0U);
    EXPECT_EQ(Histogram(4, 0, smallest).getIndexFromIntensity(0), 0U);
    const Histogram widest(4, -largest, largest);
    EXPECT_EQ(widest.getIndexFromIntensity(0), 2U);
    EXPECT_EQ(widest.getIndexFromIntensity(largest), 3U);
    EXPECT_EQ(widest.getIndexFromIntensity(-largest / 4), 1U);
}

TEST(Histogram, CountsWhatLiesInItsRangeOnly) {
    Histogram histogram(4, 0.0, 8.0);
    for (const double value : {-0.001, 0.0, 1.0, 8.0, 8.001, std::nan(""), infinity, -infinity}) {
        histogram.addIntensity(value);
    }
    histogram.addIntensity(5.0, 40);
    EXPECT_THAT(histogram.getCounts(), testing::ElementsAre(2, 0, 40, 1));
    EXPECT_EQ(histogram.getNbElements(), 43U);
}

}  // namespace
}  // namespace rix::math
