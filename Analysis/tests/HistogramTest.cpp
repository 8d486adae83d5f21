#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/exceptions/Exception.h>
#include <rix/math/Histogram.h>

namespace rix::math {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

String failureOf(const Histogram& histogram, std::size_t index) {
    try {
        static_cast<void>(histogram.getClassStart(index));
    } catch (const InvalidCall& exception) {
        return exception.getMessage();
    }
    return "none";
}

TEST(Histogram, ClassesStartAtMultiplesOfTheWidth) {
    const Histogram histogram(4, 10.0, 12.0);
    EXPECT_EQ(histogram.getNbClasses(), 4U);
    EXPECT_EQ(histogram.getBinSize(), 0.5);
    EXPECT_EQ(histogram.getClassStart(0), 10.0);
    EXPECT_EQ(histogram.getClassStart(3), 11.5);
    EXPECT_EQ(failureOf(histogram, 4), "The class index must be less than the number of classes 4");
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
}

TEST(Histogram, FindsTheClassOfAnyValue) {
    struct Case {
        std::size_t classes;
        double minimum, maximum, value;
        std::size_t index;
    };
    const double nan = std::nan("");
    const double largest = std::numeric_limits<double>::max();
    const double smallest = std::numeric_limits<double>::denorm_min();
    const Case cases[] = {
        {4, 0, 8, 0, 0},
        {4, 0, 8, 1.999, 0},
        {4, 0, 8, 2, 1},
        {4, 0, 8, 7.999, 3},
        {4, 0, 8, 8, 3},
        {4, 0, 8, 1e300, 3},
        {4, 0, 8, -1, 0},
        {4, 0, 8, nan, 0},
        {4, 0, 8, infinity, 3},
        {7, 5, 5, 5, 6},
        {1, 5, 6, 5, 0},
        {4, -largest, largest, 0, 2},
        {4, -largest, largest, largest, 3},
        {4, -largest, largest, -largest / 4, 1},
        {4, 0, smallest, 0, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Histogram(c.classes, c.minimum, c.maximum).getIndexFromIntensity(c.value), c.index)
            << c.value << " in " << c.classes << " classes from " << c.minimum << " to " << c.maximum;
    }
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
