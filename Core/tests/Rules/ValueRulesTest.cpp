#include <cmath>
#include <limits>

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
    const auto text = [](const char* value, const char* phrase) {
        return Levels{String("The parameter \"p\" (value = ") + value + ") must be " + phrase + "."};
    };
    expectRule<double>(AddRuleLimitedValue<double>(0.0, CHECK_GREATER), "must be greater than 0",
                       {{0.0, text("0", "greater than <0>")},
                        {-0.0, text("-0", "greater than <0>")},
                        {-1.5, text("-1.5", "greater than <0>")},
                        {-infinity, text("-inf", "greater than <0>")},
                        {smallest, {}},
                        {infinity, {}},
                        {nan, {}}});
    expectRule<int>(AddRuleLimitedValue<int>(10, CHECK_LOWER), "must be less than 10",
                    {{10, text("10", "less than <10>")}, {11, text("11", "less than <10>")}, {9, {}}});
    expectRule<unsigned int>(AddRuleLimitedValue<unsigned int>(3u, CHECK_GREATER_OR_EQUAL),
                             "must be greater than or equal to 3",
                             {{2u, text("2", "greater than or equal to <3>")}, {3u, {}}, {4294967295u, {}}});
    // A limit that six digits can't tell from the value is written in full.
    expectRule<double>(AddRuleLimitedValue<double>(1.0, CHECK_LOWER_OR_EQUAL), "must be less than or equal to 1",
                       {{1.0000001, text("1.0000001", "less than or equal to <1>")}, {1.0, {}}, {nan, {}}});
}

TEST(RuleLimitedValue, UnknownConfigurationIsARuleError) {
    const auto configuration = static_cast<LimitConfiguration>(4);
    NamedProperty<int> value("p", 1);
    value.getImpl()->addRule(std::make_shared<RuleLimitedValue<int>>(0, configuration));
    EXPECT_EQ(applyRules(value), refused({"The type of the rule is unknown."}));
    NamedProperty<math::Vector2<int>> vector("p");
    AddRuleAssertOrderedVector<math::Vector2<int>>{configuration}(vector);
    EXPECT_EQ(applyRules(vector), refused({"The type of the rule is unknown."}));
    // Also where there is nothing to put in order.
    NamedProperty<container::Vector<int>> list("p");
    AddRuleAssertOrderedVector<container::Vector<int>>{configuration}(list);
    EXPECT_EQ(applyRules(list), refused({"The type of the rule is unknown."}));
}

TEST(RuleLimitedValueVector, TestsEveryComponent) {
    using V = math::Vector3<int>;
    expectRule<V>(AddRuleLimitedValueVector<int, V>(0, CHECK_GREATER), "every component must be greater than 0",
                  {{{1, 2, 3}, {}},
                   {{1, 2, 0}, {"The parameter \"p\" (value = 0) must be greater than <0>.", "Component 2 is 0."}},
                   {{-1, 0, 1}, {"The parameter \"p\" (value = -1) must be greater than <0>.", "Component 0 is -1."}}});
    using List = container::Vector<unsigned char>;
    expectRule<List>(
        AddRuleLimitedValueVector<unsigned char, List>(5, CHECK_LOWER), "every component must be less than 5",
        {{{}, {}}, {{4, 65}, {"The parameter \"p\" (value = 65) must be less than <5>.", "Component 1 is 65."}}});
}

TEST(RuleInRange, BoundsBelongToTheRangeOrNot) {
    const auto text = [](const char* range, const char* value) {
        return Levels{String("The parameter \"p\" must be in the range ") + range + ".",
                      String("The value is ") + value + "."};
    };
    expectRule<double>(AddRuleInRange<double>(0.0, 1.0, Bound::Included, Bound::Excluded),
                       "must be in the range [0 ; 1[",
                       {{0.0, {}},
                        {0.999, {}},
                        {1.0, text("[0 ; 1[", "1")},
                        {-smallest, text("[0 ; 1[", "-4.94066e-324")},
                        {nan, text("[0 ; 1[", "nan")}});
    expectRule<int>(AddRuleInRange<int>(-2, 2, Bound::Excluded, Bound::Included), "must be in the range ]-2 ; 2]",
                    {{-2, text("]-2 ; 2]", "-2")}, {-1, {}}, {2, {}}, {3, text("]-2 ; 2]", "3")}});
    using V = math::Vector2<double>;
    expectRule<V>(AddRuleInRangeVector<double, V>(0.5, 2.0, Bound::Included, Bound::Included),
                  "every component must be in the range [0.5 ; 2]",
                  {{{0.5, 2.0}, {}},
                   {{1.0, 2.5}, {"The parameter \"p\" must be in the range [0.5 ; 2].", "Component 1 is 2.5."}}});
}

TEST(RulesOnNumbers, RefuseWhatIsNoUsableNumber) {
    const auto text = [](const char* rule, const char* given) {
        return Levels{String("The parameter \"p\" must ") + rule + ".", given};
    };
    expectRule<int>(AddRuleAssertPositiveOnly(), "must be strictly positive",
                    {{1, {}},
                     {0, text("be strictly positive", "The value is 0.")},
                     {-3, text("be strictly positive", "The value is -3.")}});
    using V = math::Vector2<int>;
    expectRule<V>(AddRuleAssertPositiveOnly(), "must be strictly positive",
                  {{{1, 1}, {}}, {{3, 0}, text("be strictly positive", "Component 1 is 0.")}});
    using Nested = container::Vector<math::Vector2<int>>;
    expectRule<Nested>(
        AddRuleAssertPositiveOnly(), "must be strictly positive",
        {{{{1, 1}, {2, 2}}, {}}, {{{1, 1}, {2, -2}}, text("be strictly positive", "Component 1 is -2.")}});
    expectRule<double>(AddRuleAssertPositiveOnly(), "must be strictly positive",
                       {{smallest, {}}, {nan, text("be strictly positive", "The value is nan.")}});
    expectRule<double>(AddRuleAssertFinite(), "must be finite",
                       {{0.0, {}},
                        {-1e308, {}},
                        {infinity, text("be finite", "The value is inf.")},
                        {nan, text("be finite", "The value is nan.")}});
    expectRule<double>(AddRuleAssertNotNaN(), "must not be NaN",
                       {{infinity, {}}, {nan, text("not be NaN", "The value is nan.")}});
    using D = math::Vector2<double>;
    expectRule<D>(AddRuleAssertFinite(), "must be finite",
                  {{{0.0, 1.0}, {}}, {{0.0, infinity}, text("be finite", "Component 1 is inf.")}});
}

TEST(RuleAssertOrderedVector, ComparesNeighbours) {
    using V = math::Vector2<double>;
    const auto text = [](const char* order, const char* value) {
        return Levels{String("The components of the parameter \"p\" must be in ") + order + " order.",
                      String("The value is ") + value + "."};
    };
    expectRule<V>(AddRuleAssertOrderedVector<V>(CHECK_GREATER), "components must be in strictly ascending order",
                  {{{0.0, 255.0}, {}},
                   {{1.0, 1.0}, text("strictly ascending", "(1, 1)")},
                   {{2.0, 1.5}, text("strictly ascending", "(2, 1.5)")},
                   {{nan, 1.0}, text("strictly ascending", "(nan, 1)")}});
    expectRule<V>(AddRuleAssertOrderedVector<V>(CHECK_GREATER_OR_EQUAL), "components must be in ascending order",
                  {{{1.0, 1.0}, {}}, {{1.0, 0.0}, text("ascending", "(1, 0)")}});
    using List = container::Vector<int>;
    expectRule<List>(AddRuleAssertOrderedVector<List>(CHECK_LOWER), "components must be in strictly descending order",
                     {{{}, {}}, {{7}, {}}, {{3, 2, 1}, {}}, {{3, 1, 1}, text("strictly descending", "(3, 1, 1)")}});
    expectRule<List>(AddRuleAssertOrderedVector<List>(CHECK_LOWER_OR_EQUAL), "components must be in descending order",
                     {{{3, 1, 1}, {}}, {{3, 1, 2}, text("descending", "(3, 1, 2)")}});
}

TEST(ContainerRules, LookAtTheSize) {
    using List = container::Vector<int>;
    List empty;
    List three{1, 2, 3};
    const Levels tooEmpty{"The parameter \"p\" should not be empty."};
    const Levels unset{"The parameter \"p\" must be set."};
    expectRule<List>(AddRuleAssertContainerNoEmpty(), "must not be empty", {{three, {}}, {empty, tooEmpty}});
    expectRule<const List*>(AddRuleAssertContainerPtrNoEmpty(), "must not be empty",
                            {{&three, {}}, {&empty, tooEmpty}, {nullptr, unset}});
    expectRule<List>(AddRuleAssertContainerSize(3), "must have a size of 3",
                     {{three, {}}, {empty, {"The parameter \"p\" must have a size of 3. Current size is 0."}}});
    expectRule<List*>(AddRuleAssertContainerSize(2), "must have a size of 2",
                      {{&three, {"The parameter \"p\" must have a size of 2. Current size is 3."}}, {nullptr, unset}});
    expectRule<const List*>(AddRuleAssertNotNull(), "must be set", {{&empty, {}}, {nullptr, unset}});
}

TEST(EnumRules, AcceptTheValuesOfTheEnumeration) {
    const EnumInfo info("CriterionType", "LESS_THAN = 0, EQUAL_TO = 2, GREATER_THAN, ALSO_EQUAL_TO = EQUAL_TO");
    const auto text = [](const char* value, const char* accepted) {
        return Levels{"The value of the parameter \"p\" is not valid",
                      String("The value is ") + value + "; accepted: " + accepted + "."};
    };
    const char* all = "LESS_THAN, EQUAL_TO, GREATER_THAN";
    expectRule<int>(AddRuleIsAnEnumOfType(info), "one of: LESS_THAN, EQUAL_TO, GREATER_THAN",
                    {{0, {}}, {2, {}}, {3, {}}, {1, text("1", all)}, {-1, text("-1", all)}, {4, text("4", all)}});
    expectRule<int>(AddRuleIsAnEnumOfType(info, {2}), "one of: LESS_THAN, GREATER_THAN",
                    {{0, {}}, {2, text("2", "LESS_THAN, GREATER_THAN")}});
}

TEST(EnumRules, AcceptCombinationsOfFlags) {
    const EnumInfo info("Axes", "NONE = 0, BY_PLANE = 1, BY_CHANEL=2, BY_TIME_STEP=4");
    const auto text = [](const char* value, const char* accepted) {
        return Levels{"The value of the parameter \"p\" is not valid",
                      String("The value is ") + value + "; accepted: " + accepted + "."};
    };
    const char* any = "a combination of: BY_PLANE, BY_CHANEL, BY_TIME_STEP";
    expectRule<int>(AddRuleCombinaisonOf(info, 0, EmptyCombination::Accepted), any,
                    {{0, {}}, {1, {}}, {7, {}}, {8, text("8", any)}, {9, text("9", any)}, {-1, text("-1", any)}});
    const char* some = "at least one of: BY_PLANE, BY_TIME_STEP";
    expectRule<int>(AddRuleCombinaisonOf(info, 2, EmptyCombination::Refused), some,
                    {{0, text("0", some)}, {5, {}}, {2, text("2", some)}, {3, text("3", some)}});
}

TEST(RuleCompare, RelatesTwoValues) {
    // For each relation: does it hold for 1, 2 and 3 beside 2?
    const struct {
        CompareRelation relation;
        const char* phrase;
        bool holds[3];
    } relations[] = {{CompareRelation::Equal, "equal to", {false, true, false}},
                     {CompareRelation::NotEqual, "not equal to", {true, false, true}},
                     {CompareRelation::Less, "less than", {true, false, false}},
                     {CompareRelation::LessOrEqual, "less than or equal to", {true, true, false}},
                     {CompareRelation::Greater, "greater than", {false, false, true}},
                     {CompareRelation::GreaterOrEqual, "greater than or equal to", {false, true, true}}};
    NamedProperty<double> other("limit", 2.0);
    for (const auto& relation : relations) {
        std::vector<Case<double>> cases;
        for (int value = 1; value <= 3; ++value) {
            cases.push_back({static_cast<double>(value),
                             relation.holds[value - 1]
                                 ? Levels{}
                                 : Levels{"The parameter \"p\" (value=" + std::to_string(value) + ") must be " +
                                          relation.phrase + " the parameter \"limit\" (value=2)."}});
        }
        const String phrase = relation.phrase;
        cases.push_back({nan, phrase == "not equal to" ? Levels{}
                                                       : Levels{"The parameter \"p\" (value=nan) must be " + phrase +
                                                                " the parameter \"limit\" (value=2)."}});
        expectRule<double>(AddRuleCompare(relation.relation, other), "must be " + phrase + " limit", cases);
    }
    // Types of different sign compare by value.
    NamedProperty<unsigned int> count("count", 3u);
    expectRule<int>(
        AddRuleCompare(CompareRelation::Less, count), "must be less than count",
        {{-1, {}}, {3, {"The parameter \"p\" (value=3) must be less than the parameter \"count\" (value=3)."}}});
    NamedProperty<int> offset("offset", -1);
    expectRule<unsigned int>(
        AddRuleCompare(CompareRelation::Less, offset), "must be less than offset",
        {{1u, {"The parameter \"p\" (value=1) must be less than the parameter \"offset\" (value=-1)."}}});
    NamedProperty<int> unknown("p", 1);
    unknown.getImpl()->addRule(
        std::make_shared<RuleCompare<int, unsigned int>>(static_cast<CompareRelation>(17), count));
    EXPECT_EQ(applyRules(unknown), refused({"The type of the rule is unknown."}));
}

}  // namespace
}  // namespace rix::test
