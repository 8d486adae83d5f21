#include "Assignments.h"

#include <gtest/gtest.h>

#include <rix/properties/Property.h>
#include <rix/properties/PropertyMultipleChoices.h>
#include <rix/properties/PropertySingleChoice.h>

#include "Algorithms.h"
#include "Failure.h"

namespace rix::cli {
namespace {

TEST(Assignments, areCutAtTheFirstEqualsSign) {
    const auto assignments = parseAssignments({"a=1", "path=x=y.tif", "empty=", "v=@v2:1_2"});
    ASSERT_EQ(assignments.size(), 4U);
    EXPECT_EQ(assignments[0].name, "a");
    EXPECT_EQ(assignments[1].name, "path");
    EXPECT_EQ(assignments[1].text, "x=y.tif");
    EXPECT_EQ(assignments[2].text, "");
    EXPECT_EQ(assignments[3].text, "@v2:1_2");
}

TEST(Assignments, refuseWhatIsNone) {
    using Arguments = std::vector<std::string>;
    for (const auto& arguments : {Arguments{"value"}, Arguments{"=3"}, Arguments{""}, Arguments{"a=1", "b=2", "a=1"}}) {
        try {
            parseAssignments(arguments);
            ADD_FAILURE() << "accepted " << arguments.back();
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.exitCode(), WRONG_USAGE);
        }
    }
}

template <class T>
struct NumberCase {
    const char* text;
    std::optional<T> value;  ///< none when it must be refused
};

template <class T>
void checkNumbers(std::initializer_list<NumberCase<T>> cases) {
    for (const auto& [text, value] : cases) {
        Property<T> property;
        property.getImpl()->setName("number");
        try {
            setValue(property, text);
            ASSERT_TRUE(value.has_value()) << "accepted '" << text << "' as " << property.get();
            EXPECT_EQ(property.get(), *value) << text;
        } catch (const Failure& failure) {
            EXPECT_FALSE(value.has_value()) << failure.what();
            EXPECT_EQ(failure.exitCode(), WRONG_USAGE);
            EXPECT_NE(std::string(failure.what()).find("number can't be '"), std::string::npos) << failure.what();
        }
    }
}

TEST(Assignments, numbersAreReadAsAWholeOrRefused) {
    checkNumbers<int>({{"12", 12}, {"-3", -3}, {"+7", 7}, {"12px", {}}, {"0.5", {}}, {"", {}}, {"4294967296", {}}});
    checkNumbers<unsigned int>({{"3", 3U}, {"-1", {}}, {"1e3", {}}});
    checkNumbers<unsigned long>({{"18446744073709551615", 18446744073709551615UL}, {"-1", {}}});
    checkNumbers<double>({{"107", 107.0}, {"-0.5", -0.5}, {"1e3", 1000.0}, {"2.5xyz", {}}, {"1,5", {}}, {"abc", {}}});
}

const EnumInfo& colours() {
    static const EnumInfo info("Colours", "NONE = 0, RED = 1, GREEN = 2, BLUE = 4, VIOLET = 5");
    return info;
}

TEST(Assignments, choicesNameTheirLabelsWhenRefused) {
    PropertySingleChoice single(&colours());
    PropertyMultipleChoices multiple(&colours());
    setValue(single, "GREEN");
    EXPECT_EQ(single.get(), 2);
    EXPECT_EQ(valueToText(single), "GREEN");
    setValue(single, "4");
    EXPECT_EQ(single.get(), 4);
    setValue(multiple, "RED|GREEN");
    EXPECT_EQ(multiple.get(), 3);
    EXPECT_EQ(valueToText(multiple), "RED|GREEN");
    multiple.set(5);
    EXPECT_EQ(valueToText(multiple), "VIOLET");

    const struct {
        BaseProperty& property;
        const char* text;
        std::vector<std::string> suggestions;
    } refused[] = {
        {single, "green", {"GREEN"}},      {single, "9", {}},   {single, "4px", {}},
        {multiple, "RED|GREN", {"GREEN"}}, {multiple, "8", {}},
    };
    for (const auto& [property, text, suggestions] : refused) {
        try {
            setValue(property, text);
            ADD_FAILURE() << "accepted " << text;
        } catch (const Failure& failure) {
            EXPECT_NE(std::string(failure.what()).find("NONE, RED, GREEN, BLUE, VIOLET"), std::string::npos);
            EXPECT_EQ(failure.suggestions(), suggestions) << text;
        }
    }
}

}  // namespace
}  // namespace rix::cli
