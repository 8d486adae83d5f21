#include <rix/container/Vector.h>
#include <rix/rules/CompareRules.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ValueRules.h>
#include <rix/rules/VectorRules.h>

#include "RuleTestSupport.h"

namespace rix::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double smallest = std::numeric_limits<double>::denorm_min();

TEST(RuleLimitedValue, RefusesByLiteralComparison) {
    expectRule<double>(AddRuleLimitedValue<double>(0.0, CHECK_GREATER), "must be greater than 0",
                       {smallest, infinity, nan}, {-0.0, 0.0, -1.5, -infinity},
                       {"The parameter \"p\" (value = -0) must be greater than <0>."});
    expectRule<int>(AddRuleLimitedValue<int>(10, CHECK_LOWER), "must be less than 10", {9}, {10, 11});
    expectRule<unsigned int>(AddRuleLimitedValue<unsigned int>(3u, CHECK_GREATER_OR_EQUAL),
                             "must be greater than or equal to 3", {3u, 4294967295u}, {2u});
    // A limit that six digits can't tell from the value is written in full.
    expectRule<double>(AddRuleLimitedValue<double>(1.0, CHECK_LOWER_OR_EQUAL), "must be less than or equal to 1",
                       {1.0, nan}, {1.0000001},
                       {"The parameter \"p\" (value = 1.0000001) must be less than or equal to <1>."});
}

TEST(RuleLimitedValue, UnknownConfigurationIsARuleError) {
    const auto configuration = static_cast<LimitConfiguration>(4);
    const Levels unknown{"The type of the rule is unknown."};
    NamedProperty<int> value("p", 1);
    value.getImpl()->addRule(std::make_shared<RuleLimitedValue<int>>(0, configuration));
    EXPECT_EQ(applyRules(value), refused(unknown));
    // Also where there is nothing to put in order.
    NamedProperty<container::Vector<int>> list("p");
    AddRuleAssertOrderedVector<container::Vector<int>>{configuration}(list);
    EXPECT_EQ(applyRules(list), refused(unknown));
}

TEST(RuleLimitedValueVector, TestsEveryComponent) {
    using V = math::Vector3<int>;
    expectRule<V>(AddRuleLimitedValueVector<int, V>(0, CHECK_GREATER), "every component must be greater than 0",
                  {{1, 2, 3}}, {{1, 2, 0}, {-1, 0, 1}},
                  {"The parameter \"p\" (value = 0) must be greater than <0>.", "Component 2 is 0."});
    using List = container::Vector<unsigned char>;
    expectRule<List>(AddRuleLimitedValueVector<unsigned char, List>(5, CHECK_LOWER),
                     "every component must be less than 5", {{}}, {{4, 65}},
                     {"The parameter \"p\" (value = 65) must be less than <5>.", "Component 1 is 65."});
}

TEST(RuleInRange, BoundsBelongToTheRangeOrNot) {
    expectRule<double>(AddRuleInRange<double>(0.0, 1.0, Bound::Included, Bound::Excluded),
                       "must be in the range [0 ; 1[", {0.0, 0.999}, {1.0, -smallest, nan},
                       {"The parameter \"p\" must be in the range [0 ; 1[.", "The value is 1."});
    expectRule<int>(AddRuleInRange<int>(-2, 2, Bound::Excluded, Bound::Included), "must be in the range ]-2 ; 2]",
                    {-1, 2}, {-2, 3});
    using V = math::Vector2<double>;
    expectRule<V>(AddRuleInRangeVector<double, V>(0.5, 2.0, Bound::Included, Bound::Included),
                  "every component must be in the range [0.5 ; 2]", {{0.5, 2.0}}, {{1.0, 2.5}},
                  {"The parameter \"p\" must be in the range [0.5 ; 2].", "Component 1 is 2.5."});
}

TEST(RulesOnNumbers, RefuseWhatIsNoUsableNumber) {
    using V = math::Vector2<int>;
    using Nested = container::Vector<V>;
    const char* const positive = "must be strictly positive";
    expectRule<int>(AddRuleAssertPositiveOnly(), positive, {1}, {0, -3},
                    {"The parameter \"p\" must be strictly positive.", "The value is 0."});
    expectRule<V>(AddRuleAssertPositiveOnly(), positive, {{1, 1}}, {{3, 0}});
    expectRule<Nested>(AddRuleAssertPositiveOnly(), positive, {{{1, 1}, {2, 2}}}, {{{1, 1}, {2, -2}}},
                       {"The parameter \"p\" must be strictly positive.", "Component 1 is -2."});
    expectRule<double>(AddRuleAssertPositiveOnly(), positive, {smallest}, {nan});
    expectRule<double>(AddRuleAssertFinite(), "must be finite", {0.0, -1e308}, {infinity, nan});
    expectRule<double>(AddRuleAssertNotNaN(), "must not be NaN", {infinity}, {nan});
    using D = math::Vector2<double>;
    expectRule<D>(AddRuleAssertFinite(), "must be finite", {{0.0, 1.0}}, {{0.0, infinity}});
}

TEST(RuleAssertOrderedVector, ComparesNeighbours) {
    using V = math::Vector2<double>;
    expectRule<V>(
        AddRuleAssertOrderedVector<V>(CHECK_GREATER), "components must be in strictly ascending order", {{0.0, 255.0}},
        {{1.0, 1.0}, {2.0, 1.5}, {nan, 1.0}},
        {"The components of the parameter \"p\" must be in strictly ascending order.", "The value is (1, 1)."});
    expectRule<V>(AddRuleAssertOrderedVector<V>(CHECK_GREATER_OR_EQUAL), "components must be in ascending order",
                  {{1.0, 1.0}}, {{1.0, 0.0}});
    using List = container::Vector<int>;
    expectRule<List>(AddRuleAssertOrderedVector<List>(CHECK_LOWER), "components must be in strictly descending order",
                     {{}, {7}, {3, 2, 1}}, {{3, 1, 1}});
    expectRule<List>(AddRuleAssertOrderedVector<List>(CHECK_LOWER_OR_EQUAL), "components must be in descending order",
                     {{3, 1, 1}}, {{3, 1, 2}});
}

TEST(ContainerRules, LookAtTheSize) {
    using List = container::Vector<int>;
    List empty;
    List three{1, 2, 3};
    expectRule<List>(AddRuleAssertContainerNoEmpty(), "must not be empty", {three}, {empty},
                     {"The parameter \"p\" should not be empty."});
    expectRule<const List*>(AddRuleAssertContainerPtrNoEmpty(), "must not be empty", {&three}, {nullptr, &empty},
                            {"The parameter \"p\" must be set."});
    expectRule<List>(AddRuleAssertContainerSize(3), "must have a size of 3", {three}, {empty},
                     {"The parameter \"p\" must have a size of 3. Current size is 0."});
    expectRule<List*>(AddRuleAssertContainerSize(2), "must have a size of 2", {}, {&three, nullptr});
    expectRule<const List*>(AddRuleAssertNotNull(), "must be set", {&empty}, {nullptr});
}

TEST(EnumRules, AcceptTheValuesOfTheEnumeration) {
    const EnumInfo info("CriterionType", "LESS_THAN = 0, EQUAL_TO = 2, GREATER_THAN, ALSO_EQUAL_TO = EQUAL_TO");
    expectRule<int>(AddRuleIsAnEnumOfType(info), "one of: LESS_THAN, EQUAL_TO, GREATER_THAN", {0, 2, 3}, {1, -1, 4},
                    {"The value of the parameter \"p\" is not valid",
                     "The value is 1; accepted: LESS_THAN, EQUAL_TO, GREATER_THAN."});
    expectRule<int>(AddRuleIsAnEnumOfType(info, {2}), "one of: LESS_THAN, GREATER_THAN", {0}, {2});
    const EnumInfo flags("Axes", "NONE = 0, BY_PLANE = 1, BY_CHANEL=2, BY_TIME_STEP=4");
    expectRule<int>(AddRuleCombinaisonOf(flags, 0, EmptyCombination::Accepted),
                    "a combination of: BY_PLANE, BY_CHANEL, BY_TIME_STEP", {0, 1, 7}, {8, 9, -1});
    expectRule<int>(AddRuleCombinaisonOf(flags, 2, EmptyCombination::Refused),
                    "at least one of: BY_PLANE, BY_TIME_STEP", {5}, {0, 2, 3},
                    {"The value of the parameter \"p\" is not valid",
                     "The value is 0; accepted: at least one of: BY_PLANE, BY_TIME_STEP."});
}

TEST(RuleCompare, RelatesTwoValues) {
    // Which of 1, 2, 3 and NaN each relation holds for, beside 2.
    const struct {
        CompareRelation relation;
        const char* phrase;
        std::vector<double> accepted;
        std::vector<double> refused;
    } relations[] = {{CompareRelation::Equal, "equal to", {2}, {1, 3, nan}},
                     {CompareRelation::NotEqual, "not equal to", {1, 3, nan}, {2}},
                     {CompareRelation::Less, "less than", {1}, {2, 3, nan}},
                     {CompareRelation::LessOrEqual, "less than or equal to", {1, 2}, {3, nan}},
                     {CompareRelation::Greater, "greater than", {3}, {1, 2, nan}},
                     {CompareRelation::GreaterOrEqual, "greater than or equal to", {2, 3}, {1, nan}}};
    NamedProperty<double> other("limit", 2.0);
    for (const auto& [relation, phrase, accepted, refusedValues] : relations) {
        expectRule<double>(AddRuleCompare(relation, other), String("must be ") + phrase + " limit", accepted,
                           refusedValues,
                           {"The parameter \"p\" (value=" + std::to_string(static_cast<int>(refusedValues[0])) +
                            ") must be " + phrase + " the parameter \"limit\" (value=2)."});
    }
    // Types of different sign compare by value.
    NamedProperty<unsigned int> count("count", 3u);
    expectRule<int>(AddRuleCompare(CompareRelation::Less, count), "must be less than count", {-1}, {3});
    NamedProperty<int> offset("offset", -1);
    expectRule<unsigned int>(AddRuleCompare(CompareRelation::Less, offset), "must be less than offset", {}, {1u});
    NamedProperty<int> unknown("p", 1);
    unknown.getImpl()->addRule(
        std::make_shared<RuleCompare<int, unsigned int>>(static_cast<CompareRelation>(17), count));
    EXPECT_EQ(applyRules(unknown), refused({"The type of the rule is unknown."}));
}

}  // namespace
}  // namespace rix::test
