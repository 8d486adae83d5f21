// The arithmetic of progress: steps inside steps, weights, children.

#include "Algorithms/Progression.h"
#include "Testing.h"

namespace rix::algorithms {
namespace {

/// A step from its beginning to its end; the progress at the end of it.
double afterStep(Progression& progress) {
    progress.startStep(4.0);
    const double begin = progress.value();
    progress.add(2.0);
    const double middle = progress.value();
    progress.add(2.0);
    EXPECT_LE(begin, middle);
    EXPECT_DOUBLE_EQ(middle, (begin + progress.value()) / 2);
    return progress.value();
}

TEST(Progression, WithoutADivisionTheFirstStepIsTheWholePass) {
    Progression progress;
    progress.reset(nullptr);
    EXPECT_EQ(afterStep(progress), 1.0);
    progress.reset(nullptr);
    progress.startPass(1, 2);
    EXPECT_EQ(progress.value(), 0.5);
    EXPECT_EQ(afterStep(progress), 1.0);
    EXPECT_EQ(afterStep(progress), 1.0) << "nothing is left of the pass";
}

TEST(Progression, ADivisionDividesTheNextStepOfTheOneAroundIt) {
    Progression progress;
    progress.reset(nullptr);
    progress.openSteps(3, std::vector{0.2, 0.5, 0.3});
    EXPECT_DOUBLE_EQ(afterStep(progress), 0.2);
    progress.openSteps(2, {});
    EXPECT_DOUBLE_EQ(afterStep(progress), 0.45);
    progress.openSteps(5, {});
    EXPECT_DOUBLE_EQ(afterStep(progress), 0.5);
    progress.closeSteps();
    EXPECT_DOUBLE_EQ(progress.value(), 0.7) << "its part is done, though four of its steps were not taken";
    EXPECT_DOUBLE_EQ(afterStep(progress), 0.7) << "more steps than declared wait at the end";
    progress.closeSteps();
    EXPECT_EQ(afterStep(progress), 1.0);
    progress.closeSteps();
}

TEST(Progression, WeightsHaveAnyUnitAndUselessOnesAreEqual) {
    Progression progress;
    progress.reset(nullptr);
    progress.openSteps(3, std::vector{3.0, -1.0, 1.0});
    EXPECT_DOUBLE_EQ(afterStep(progress), 0.75);
    EXPECT_DOUBLE_EQ(afterStep(progress), 0.75);
    EXPECT_EQ(afterStep(progress), 1.0);
    progress.reset(nullptr);
    progress.openSteps(2, std::vector{0.0, 0.0});
    EXPECT_DOUBLE_EQ(afterStep(progress), 0.5);
}

TEST(Progression, OfAChildIsThatOfItsParentsStep) {
    Progression parent;
    parent.reset(nullptr);
    parent.openSteps(2, {});
    parent.startStep(7.0);
    Progression child;
    child.reset(&parent);
    child.openSteps(2, {});
    EXPECT_DOUBLE_EQ(afterStep(child), 0.5);
    EXPECT_DOUBLE_EQ(parent.value(), 0.25);
    child.closeSteps();
    EXPECT_DOUBLE_EQ(parent.value(), 0.5);
    child.finish();
    child.reset(&parent);
    EXPECT_DOUBLE_EQ(parent.value(), 0.5) << "progress never falls";
}

}  // namespace
}  // namespace rix::algorithms
