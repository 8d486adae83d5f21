#include <rix/rules/ImageAssertions.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/ScopedRule.h>
#include <rix/rules/ValueRules.h>

#include "RuleTestSupport.h"

namespace rix::test {
namespace {

// A rule that writes down that it ran.
class Logged : public Rules<Property<int>> {
public:
    Logged(std::vector<String>& log, const String& name, bool individual, bool fails)
        : m_log(log), m_name(name), m_individual(individual), m_fails(fails) {}
    bool isIndividual() const override { return m_individual; }
    void apply(Property<int>&) override {
        m_log.push_back(m_name);
        if (m_fails) {
            throw RuleException(m_name + " fails");
        }
    }
    String describe() const override { return m_name; }

private:
    std::vector<String>& m_log;
    String m_name;
    bool m_individual;
    bool m_fails;
};

TEST(RulePass, GoesInOrderAndStopsAtTheFirstFailure) {
    std::vector<String> log;
    NamedProperty<int> property("p", 1);
    const auto add = [&](const char* name, bool individual, bool fails) {
        property.getImpl()->addRule(std::make_shared<Logged>(log, name, individual, fails));
    };
    add("a", true, false);
    add("b", false, false);
    EXPECT_EQ(applyRules(property), Levels{});
    EXPECT_EQ(log, (Levels{"a", "b"}));
    log.clear();
    add("c", true, true);
    add("d", true, true);
    EXPECT_EQ(applyRules(property), (Levels{"c fails", "Rule error in property p"}));
    EXPECT_EQ(log, (Levels{"a", "b", "c"}));
    log.clear();
    EXPECT_EQ(applyRules(property, false), (Levels{"c fails", "Rule error in property p"}));
    EXPECT_EQ(log, (Levels{"a", "c"}));
    log.clear();
    property.getImpl()->disable();
    EXPECT_EQ(applyRules(property), Levels{});
    EXPECT_TRUE(log.empty());
}

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
