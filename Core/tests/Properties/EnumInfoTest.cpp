#include <rix/properties/EnumInfo.h>
#include <rix/properties/Scalar.h>

#include "Testing.h"

namespace rix {
namespace {

using Pairs = std::vector<std::pair<String, int>>;

struct DeclarationCase {
    const char* declaration;
    Pairs labels;  // in lexicographic order, as the accessors by index walk them
};

TEST(EnumInfo, ReadsDeclarations) {
    const std::vector<DeclarationCase> cases{
        {"RED = 0, GREEN, BLUE", {{"BLUE", 2}, {"GREEN", 1}, {"RED", 0}}},
        {"RED", {{"RED", 0}}},
        {"A,B=7,C", {{"A", 0}, {"B", 7}, {"C", 8}}},
        {"A = -3, B, C = +5, D = 0007", {{"A", -3}, {"B", -2}, {"C", 5}, {"D", 7}}},
        {"COOC_AngularSecondMoment = 0, COOC_FirstMeasure = COOC_AngularSecondMoment, COOC_AngularSecondMomentMean",
         {{"COOC_AngularSecondMoment", 0}, {"COOC_AngularSecondMomentMean", 1}, {"COOC_FirstMeasure", 0}}},
        {"A = 5, B = 1, C = A, D", {{"A", 5}, {"B", 1}, {"C", 5}, {"D", 6}}},
        {" A\t=\n 1 2 ,\r\v\fLONG NAME ", {{"A", 12}, {"LONGNAME", 13}}},
        {"A = 1, A = 4, B", {{"A", 4}, {"B", 5}}},
        {"A = 3x, B", {{"A", 3}, {"B", 4}}},  // read as a stream reads
        {"A = 2147483647, B = -2147483648", {{"A", 2147483647}, {"B", std::numeric_limits<int>::min()}}},
    };
    for (const auto& [declaration, labels] : cases) {
        SCOPED_TRACE(declaration);
        const EnumInfo info("Test", declaration);
        ASSERT_EQ(info.getNumOfLabels(), labels.size());
        for (std::size_t i = 0; i < labels.size(); ++i) {
            EXPECT_EQ(info.getLabelFromlabelIndex(i), labels[i].first);
            EXPECT_EQ(info.getValueFromLabelIndex(i), labels[i].second) << labels[i].first;
            EXPECT_EQ(info.getValueFromLabel(labels[i].first), labels[i].second) << labels[i].first;
            EXPECT_TRUE(info.exists(labels[i].second));
        }
    }
}

TEST(EnumInfo, RefusesMalformedDeclarations) {
    const String unknown = " does not correspond to possible item of enum Test";
    const std::vector<std::pair<const char*, String>> cases{
        {"RED = BLUE", "EnumInfo declaration error : BLUE" + unknown},
        {"RED = BLUE, BLUE", "EnumInfo declaration error : BLUE" + unknown},
        {"RED = RED", "EnumInfo declaration error : RED" + unknown},
        {"RED =", "EnumInfo declaration error : " + unknown},
        {"RED = G R EEN", "EnumInfo declaration error : GREEN" + unknown},
        {"A = 0, B = A = 1", "EnumInfo declaration error : A=1" + unknown},
        {"A = 2147483648", "EnumInfo declaration error : 2147483648" + unknown},
        {"A = 2147483647, B", "exceeds 2147483647 in enum Test"},
        {"A, B,", "a label is missing in the declaration of enum Test"},
        {"A,, B", "a label is missing"},
        {"", "a label is missing"},
        {"= 3", "a label is missing"},
    };
    for (const auto& [declaration, text] : cases) {
        SCOPED_TRACE(declaration);
        if (const auto error = test::failureOf<RuntimeError>([&] { const EnumInfo info("Test", declaration); })) {
            EXPECT_NE(error->getMessage().find(text), String::npos) << error->getMessage();
        }
    }
}

TEST(EnumInfo, WalksLabelsAndValuesInTheirOrder) {
    const EnumInfo info("Order", "ZERO = 4, TWO = 2, ALIAS = ZERO, LAST = 3, BETA = 2");
    EXPECT_EQ(info.getEnumName(), "Order");
    EXPECT_EQ(info.getNumOfLabels(), 5U);
    EXPECT_EQ(info.getNumOfValues(), 3U);
    EXPECT_EQ(info.getValueFromValueIndex(0), 2);
    EXPECT_EQ(info.getValueFromValueIndex(2), 4);
    EXPECT_EQ(info.getNumOfLabelsAtValue(4), 2U);
    EXPECT_EQ(info.getLabelFromValue(4), "ZERO");
    EXPECT_EQ(info.getLabelFromValue(4, 1), "ALIAS");
    EXPECT_EQ(info.getLabelFromValueIndex(0, 1), "BETA");
    EXPECT_EQ(info.getLabelIndexFromValue(4), 0U);  // ALIAS
    EXPECT_EQ(info.getLabelIndexFromValue(2), 1U);  // BETA
    EXPECT_EQ(info.getLabelIndexFromValue(3), 2U);  // LAST
    EXPECT_FALSE(info.exists(0));
    EXPECT_FALSE(info.exists("zero"));
    EXPECT_FALSE(info.exists(""));
    const EnumInfo repeated("Repeated", "A = 1, A = 4");
    EXPECT_EQ(repeated.getNumOfLabels(), 1U);
    EXPECT_EQ(repeated.getNumOfValues(), 2U);
    EXPECT_EQ(repeated.getLabelFromValue(1), "A");
}

TEST(EnumInfo, NamesWhatItDoesNotKnow) {
    const EnumInfo info("Colour", "RED = 1, GREEN, ROSE = RED");
    const auto message = test::messageOf<InvalidCall>([&] { (void)info.getLabelFromValue(1, 2); });
    EXPECT_NE(message.find("label index 2 at the value 1"), String::npos) << message;
    EXPECT_NE(message.find("Colour"), String::npos) << message;
    EXPECT_THROW((void)info.getValueFromLabel("PINK"), InvalidCall);
    EXPECT_THROW((void)info.getLabelFromValue(7), InvalidCall);
    EXPECT_THROW((void)info.getNumOfLabelsAtValue(-1), InvalidCall);
    EXPECT_THROW((void)info.getLabelFromlabelIndex(3), InvalidCall);
    EXPECT_THROW((void)info.getValueFromLabelIndex(3), InvalidCall);
    EXPECT_THROW((void)info.getLabelIndexFromValue(0), InvalidCall);
    EXPECT_THROW((void)info.getValueFromValueIndex(2), InvalidCall);
    EXPECT_THROW((void)info.getLabelFromValueIndex(2, 0), InvalidCall);
    EXPECT_THROW((void)info.getLabelFromValueIndex(1, 1), InvalidCall);
}

TEST(EnumInfo, CopiesAreIndependent) {
    EnumInfo copy("Other", "X");
    {
        const EnumInfo original("Colour", "RED, GREEN");
        copy = original;
    }
    const EnumInfo second(copy);
    copy = EnumInfo("Other", "X");
    EXPECT_EQ(second.getEnumName(), "Colour");
    EXPECT_EQ(second.getValueFromLabel("GREEN"), 1);
    EXPECT_EQ(copy.getNumOfLabels(), 1U);
    const EnumInfo& itself = copy;
    copy = itself;
    EXPECT_TRUE(copy.exists("X"));
}

TEST(EnumInfo, ChecksThatItDescribesTheExpectedEnumeration) {
    const EnumInfo same("ScalarType", "REAL = 2, UNSIGNED_INTEGER = 1, INTEGER = 0");
    EXPECT_NO_THROW(checkEnumCompatible<ScalarType>(&same));
    EXPECT_THROW(checkEnumCompatible<ScalarType>(nullptr), InvalidCall);
    const EnumInfo others[] = {{"Other", "INTEGER = 0, UNSIGNED_INTEGER, REAL"},
                               {"ScalarType", "INTEGER = 0, UNSIGNED_INTEGER"},
                               {"ScalarType", "INTEGER = 0, UNSIGNED_INTEGER, REAL, COMPLEX"},
                               {"ScalarType", "INTEGER = 0, UNSIGNED_INTEGER, FLOAT"},
                               {"ScalarType", "INTEGER = 1, UNSIGNED_INTEGER, REAL"}};
    for (const EnumInfo& other : others) {
        EXPECT_THROW(checkEnumCompatible<ScalarType>(&other), InvalidCall) << other.getEnumName();
    }
}

}  // namespace
}  // namespace rix
