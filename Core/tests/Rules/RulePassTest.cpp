#include <rix/rules/ImageAssertions.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/ScopedRule.h>
#include <rix/rules/ValueRules.h>

#include "RuleTestSupport.h"

namespace rix::test {
namespace {

TEST(RulePass, RulesThatLookElsewhereOrChangeImagesAreNotIndividual) {
    NamedProperty<ImageModel*> input("inputImage");
    NamedProperty<ImageModel*> p("p");
    EXPECT_TRUE(AddRuleAssertNotNull()(p)->isIndividual());
    EXPECT_TRUE(AddRuleAssertType({RIX_UINT8})(p)->isIndividual());
    EXPECT_FALSE(AddRuleAssertSameSize{input}(p)->isIndividual());
    EXPECT_FALSE(AddRuleEnforceType(RIX_UINT8)(p)->isIndividual());
    EXPECT_FALSE(AddRuleEnforceSameCalibration{input}(p)->isIndividual());
    NamedProperty<double> value("v");
    EXPECT_TRUE(AddRuleLimitedValue<double>(0.0, CHECK_GREATER)(value)->isIndividual());
}

TEST(ScopedRule, IsRemovedOnEveryWayOut) {
    NamedProperty<int> property("p", -1);
    AddRuleLimitedValue<int>(-5, CHECK_GREATER)(property);
    const auto described = [&] { return property.getImpl()->describeRules(); };
    const Levels own{"must be greater than -5"};
    {
        const ScopedRule positive(property, AddRuleAssertPositiveOnly());
        EXPECT_EQ(described(), (Levels{"must be greater than -5", "must be strictly positive"}));
        EXPECT_EQ(applyRules(property).front(), "The parameter \"p\" must be strictly positive.");
    }
    EXPECT_EQ(described(), own);
    EXPECT_EQ(applyRules(property), Levels{});
    EXPECT_THROW(
        {
            const ScopedRule positive(property, AddRuleAssertPositiveOnly());
            property.applyRules(true);
        },
        RuleException);
    EXPECT_EQ(described(), own);
    {
        // Kept in a list, when it depends on the parameters which rules are pushed; two of a kind are told apart.
        std::vector<ScopedRule> pushed;
        pushed.emplace_back(property, AddRuleLimitedValue<int>(9, CHECK_LOWER));
        pushed.emplace_back(property, AddRuleLimitedValue<int>(9, CHECK_LOWER));
        EXPECT_EQ(described().size(), 3u);
        pushed.pop_back();
        EXPECT_EQ(described().size(), 2u);
        pushed.front() = ScopedRule(property, AddRuleAssertPositiveOnly());
        EXPECT_EQ(described(), (Levels{"must be greater than -5", "must be strictly positive"}));
    }
    EXPECT_EQ(described(), own);
}

}  // namespace
}  // namespace rix::test
