#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <rix/exceptions/Exception.h>
#include <rix/properties/PropertyMultipleChoices.h>
#include <rix/properties/PropertySingleChoice.h>

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
    bool accepted;
    int value;
    String normalised;  // when accepted
};

TEST(PropertySingleChoice, AcceptsLabelsAndValues) {
    const std::vector<ChoiceCase> cases{
        {"MODE_3D", true, 1, "MODE_3D"},
        {"1", true, 1, "1"},
        {"FLAT", true, 0, "FLAT"},
        {"17", true, 5, "17"},  // a label goes before a number
        {"5", true, 5, "5"},
        {"-4", true, -4, "-4"},
        {" 1", true, 1, " 1"},
        {"1x", true, 1, "1x"},
        {"2", false, 0, ""},
        {"mode_3d", false, 0, ""},
        {"MODE_3D ", false, 0, ""},
        {"", false, 0, ""},
        {"99999999999", false, 0, ""},
        {"MODE_2D|MODE_3D", false, 0, ""},
    };
    for (const auto& [text, accepted, value, normalised] : cases) {
        SCOPED_TRACE('"' + text + '"');
        PropertySingleChoice property(&modes());
        property = 77;
        String result;
        EXPECT_EQ(property.read(text, result), accepted);
        EXPECT_EQ(property.get(), accepted ? value : 77);
        EXPECT_EQ(result, text);
    }
}

TEST(PropertyMultipleChoices, AcceptsLabelsAndFlags) {
    const std::vector<ChoiceCase> cases{
        {"BY_PLANE|BY_TIME_STEP", true, 5, "BY_PLANE|BY_TIME_STEP"},
        {"BY_PLANE||BY_CHANEL", true, 3, "BY_PLANE|BY_CHANEL"},
        {"|||BY_PLANE|", true, 1, "BY_PLANE"},
        {"BY_PLANE|BY_PLANE", true, 1, "BY_PLANE|BY_PLANE"},
        {"NONE", true, 0, "NONE"},
        {"5", true, 5, "NONE|BY_PLANE|BY_TIME_STEP"},
        {"4", true, 4, "BY_TIME_STEP"},
        {"+2", true, 2, "BY_CHANEL"},
        {"BY_TIME_STEP|3", true, 7, "BY_TIME_STEP|NONE|BY_PLANE|BY_CHANEL"},
        {"0", false, 0, ""},
        {"8", false, 0, ""},
        {"9", false, 0, ""},
        {"-1", false, 0, ""},
        {"BY_PLANE|8", false, 0, ""},
        {"BY_PLANE|by_chanel", false, 0, ""},
        {"BY_PLANE |BY_CHANEL", false, 0, ""},
        {"1x", false, 0, ""},
        {" 1", false, 0, ""},
        {"1.0", false, 0, ""},
        {"99999999999", false, 0, ""},
        {"", false, 0, ""},
        {"|", false, 0, ""},
        {" ", false, 0, ""},
    };
    for (const auto& [text, accepted, value, normalised] : cases) {
        SCOPED_TRACE('"' + text + '"');
        PropertyMultipleChoices property(&axes());
        property = 77;
        String result;
        EXPECT_EQ(property.read(text, result), accepted);
        EXPECT_EQ(property.get(), accepted ? value : 77);
        EXPECT_EQ(result, accepted ? normalised : text);
    }
}

TEST(PropertyMultipleChoices, FindsTheLabelsOfANumber) {
    const std::vector<ChoiceCase> cases{
        {"", true, 3, "BOTH"},     {"", true, 1, "LOW"},
        {"", true, 9, "LOW;HIGH"}, {"", true, 11, "LOW;BOTH;HIGH"},  // values overlap
        {"", true, 49, "LOW;TOP"}, {"", false, 17, ""},              // half of TOP
        {"", false, 2, ""},        {"", false, 64, ""},
        {"", false, 0, ""},        {"", false, -8, ""},
    };
    for (const auto& [unused, accepted, number, labels] : cases) {
        SCOPED_TRACE(number);
        String text = "before";
        EXPECT_EQ(helper::readOneValue(flags(), number, ";", text), accepted);
        EXPECT_EQ(text, accepted ? labels : "before");
    }
    const EnumInfo negative("Negative", "ALL = -1, ONE = 1, TWO = 2");
    String text;
    EXPECT_TRUE(helper::readOneValue(negative, 3, "|", text));
    EXPECT_EQ(text, "ONE|TWO");
    // The search ends as soon as the number is covered: MIXED would fit as well.
    const EnumInfo redundant("Redundant", "ONE = 1, TWO = 2, EIGHT = 8, MIXED = 9");
    EXPECT_TRUE(helper::readOneValue(redundant, 11, "|", text));
    EXPECT_EQ(text, "ONE|TWO|EIGHT");
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
