#include <rix/properties/PropertyMultipleChoices.h>
#include <rix/properties/PropertySingleChoice.h>

#include "Testing.h"

namespace rix {
namespace {

const EnumInfo& modes() {
    static const EnumInfo info("Mode", "MODE_2D = 0, MODE_3D, 17 = 5, NEGATIVE = -4, FLAT = MODE_2D");
    return info;
}

const EnumInfo& axes() {
    static const EnumInfo info("Axes", "NONE = 0, BY_PLANE = 1, BY_CHANEL=2, BY_TIME_STEP=4");
    return info;
}

const EnumInfo& flags() {
    static const EnumInfo info("Flags", "BOTH = 3, LOW = 1, FIRST = LOW, HIGH = 8, TOP = 48");
    return info;
}

struct ChoiceCase {
    String text;
    int value;
    String normalised;
};

/// Reads texts over 77, which none of them means.
template <class Choice>
void expectRead(const EnumInfo& info, const std::vector<ChoiceCase>& accepted, const std::vector<String>& refused) {
    String result;
    for (const auto& [text, value, normalised] : accepted) {
        Choice property(&info);
        property = 77;
        EXPECT_TRUE(property.read(text, result)) << '"' << text << '"';
        EXPECT_EQ(property.get(), value) << '"' << text << '"';
        EXPECT_EQ(result, normalised);
    }
    for (const String& text : refused) {
        Choice property(&info);
        property = 77;
        EXPECT_FALSE(property.read(text, result)) << '"' << text << '"';
        EXPECT_EQ(property.get(), 77) << '"' << text << '"';
        EXPECT_EQ(result, text);
    }
}

TEST(PropertySingleChoice, AcceptsLabelsAndValues) {
    expectRead<PropertySingleChoice>(modes(),
                                     {{"MODE_3D", 1, "MODE_3D"},
                                      {"1", 1, "1"},
                                      {"FLAT", 0, "FLAT"},
                                      {"17", 5, "17"},  // a label goes before a number
                                      {"5", 5, "5"},
                                      {"-4", -4, "-4"},
                                      {" 1", 1, " 1"},
                                      {"1x", 1, "1x"}},
                                     {"2", "mode_3d", "MODE_3D ", "", "99999999999", "MODE_2D|MODE_3D"});
}

TEST(PropertyMultipleChoices, AcceptsLabelsAndFlags) {
    expectRead<PropertyMultipleChoices>(axes(),
                                        {{"BY_PLANE|BY_TIME_STEP", 5, "BY_PLANE|BY_TIME_STEP"},
                                         {"BY_PLANE||BY_CHANEL", 3, "BY_PLANE|BY_CHANEL"},
                                         {"|||BY_PLANE|", 1, "BY_PLANE"},
                                         {"BY_PLANE|BY_PLANE", 1, "BY_PLANE|BY_PLANE"},
                                         {"NONE", 0, "NONE"},
                                         {"5", 5, "NONE|BY_PLANE|BY_TIME_STEP"},
                                         {"4", 4, "BY_TIME_STEP"},
                                         {"+2", 2, "BY_CHANEL"},
                                         {"BY_TIME_STEP|3", 7, "BY_TIME_STEP|NONE|BY_PLANE|BY_CHANEL"}},
                                        {"0", "8", "9", "-1", "BY_PLANE|8", "BY_PLANE|by_chanel", "BY_PLANE |BY_CHANEL",
                                         "1x", " 1", "1.0", "99999999999", "", "|", " "});
}

TEST(PropertyMultipleChoices, FindsTheLabelsOfANumber) {
    const auto labelsOf = [](const EnumInfo& info, int number) {
        String text = "untouched";
        return helper::readOneValue(info, number, ";", text) ? text : "refused, " + text;
    };
    EXPECT_EQ(labelsOf(flags(), 3), "BOTH");
    EXPECT_EQ(labelsOf(flags(), 1), "LOW");
    EXPECT_EQ(labelsOf(flags(), 9), "LOW;HIGH");
    EXPECT_EQ(labelsOf(flags(), 11), "LOW;BOTH;HIGH") << "values overlap";
    for (const int number : {17, 2, 64, 0, -8}) {  // 17 is half of TOP
        EXPECT_EQ(labelsOf(flags(), number), "refused, untouched") << number;
    }
    EXPECT_EQ(labelsOf(EnumInfo("Negative", "ALL = -1, ONE = 1, TWO = 2"), 3), "ONE;TWO");
    // The search ends as soon as the number is covered: MIXED would fit as well.
    EXPECT_EQ(labelsOf(EnumInfo("Redundant", "ONE = 1, TWO = 2, EIGHT = 8, MIXED = 9"), 11), "ONE;TWO;EIGHT");
}

template <class Choice>
class AnyChoice : public testing::Test {};
using ChoiceTypes = testing::Types<PropertySingleChoice, PropertyMultipleChoices>;
TYPED_TEST_SUITE(AnyChoice, ChoiceTypes);

TYPED_TEST(AnyChoice, IsALockableIntegerProperty) {
    TypeParam property(&axes());
    EXPECT_EQ(property.getEnumInfo(), &axes());
    EXPECT_EQ(property.get(), 0);
    EXPECT_EQ(property = 4, 4);
    BaseProperty* base = &property;
    EXPECT_EQ(helper::safe_cast<Property<int>>(base), &property);
    EXPECT_EQ(property.getImpl()->m_property, base);

    Property<int> number;
    number.setFromBase(&property);
    EXPECT_EQ(number.get(), 4);

    property.getImpl()->lock(true);
    String normalised;
    EXPECT_FALSE(base->read("BY_PLANE", normalised));
    EXPECT_EQ(normalised, "BY_PLANE");
    EXPECT_EQ(property = 2, 4);
    EXPECT_TRUE(base->write(normalised));
    EXPECT_EQ(normalised, "4");
    property.getImpl()->lock(false);
    EXPECT_TRUE(base->read("BY_PLANE", normalised));
    EXPECT_EQ(property.get(), 1);

    TypeParam copy(&axes());
    copy = property;
    EXPECT_EQ(copy.get(), 1);
}

TYPED_TEST(AnyChoice, RefusesEveryTextWithoutAnEnumeration) {
    TypeParam property;
    String normalised;
    EXPECT_EQ(property.getEnumInfo(), nullptr);
    EXPECT_FALSE(property.read("1", normalised));
    EXPECT_EQ(normalised, "1");
}

}  // namespace
}  // namespace rix
