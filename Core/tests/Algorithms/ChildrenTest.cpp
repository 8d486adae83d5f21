// Algorithms made of others.

#include <rix/access/Steps.h>
#include <rix/algorithms/Children.h>

#include "TestAlgorithms.h"

namespace rix::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(Children, TakeTheirPartOfTheProgressAndTheLevelOfTheirParent) {
    std::vector<double> progress;
    std::vector<OptimLevelType> levels;
    ScriptedAlgorithm both;
    ScriptedAlgorithm scalarOnly;
    ScriptedAlgorithm parent;
    for (const OptimLevelType level : {SCALAR, VEC_SSE}) {
        both.withRunner(level, [&, level](BaseAlgorithm&) { levels.push_back(level); });
    }
    scalarOnly.withRunner(SCALAR, [&](BaseAlgorithm&) { levels.push_back(SCALAR); });
    parent.withRunner(SCALAR, [&](BaseAlgorithm& self) {
        const access::Steps steps(self.executionContext(), {1.0, 2.0, 1.0});
        algorithms::runChild(self, both, SCALAR);
        progress.push_back(self.getProgress());
        algorithms::runChild(self, scalarOnly, VEC_SSE);
        progress.push_back(self.getProgress());
        algorithms::runChild(self, both);
    });
    parent.run();
    EXPECT_THAT(progress, ElementsAre(0.25, 0.75));
    EXPECT_THAT(levels, ElementsAre(SCALAR, SCALAR, VEC_SSE));
}

/// What the parent's run says of a child that is known by name.
template <class SetUp>
String failureOfChild(const String& className, const SetUp& setUp) {
    ScriptedAlgorithm parent([&](BaseAlgorithm& self) { algorithms::runChild(self, className, setUp); });
    const auto failure = rix::test::failureOf<InvalidCall>([&] { parent.run(); });
    return failure ? failure->getInfo(false) : String();
}

TEST(Children, AreFoundByNameAndSetByName) {
    static const auto create = [](algorithms::AbstractPrivateImplementation*) -> std::unique_ptr<BaseAlgorithm> {
        auto algorithm = std::make_unique<ScriptedAlgorithm>();
        algorithm->withRunner(SCALAR, [](BaseAlgorithm&) {});
        return algorithm;
    };
    AlgoInfo info("ForChildrenTest", "tests", create, AlgoVisibilityType::HIDDEN_ALGORITHM, "");
    AlgoInfo::registerClass(info);
    ScriptedAlgorithm parent([&](BaseAlgorithm& self) {
        const auto child = algorithms::runChild(
            self, "ForChildrenTest", [](BaseAlgorithm& made) { algorithms::propertyOf<double>(made, "number") = 7.0; });
        EXPECT_EQ(algorithms::propertyOf<double>(*child, "number").get(), 7.0);
        EXPECT_EQ(child->getLastRunLevel(), SCALAR);
    });
    parent.run();
    EXPECT_EQ(parent.getLastRunLevel(), SCALAR);
    EXPECT_THAT(failureOfChild("ForChildrenTest", [](BaseAlgorithm& made) { algorithms::propertyOf(made, "count"); }),
                HasSubstr("has no property named count"));
    EXPECT_THAT(
        failureOfChild("ForChildrenTest", [](BaseAlgorithm& made) { algorithms::propertyOf<int>(made, "number"); }),
        HasSubstr("The property number holds values of the type number, not integer."));
    AlgoInfo::unregisterClass(info);
    EXPECT_THAT(failureOfChild("ForChildrenTest", [](BaseAlgorithm&) {}),
                HasSubstr("ScriptedAlgorithm needs the algorithm ForChildrenTest"));
}

}  // namespace
}  // namespace rix::test
