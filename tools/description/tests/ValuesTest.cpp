#include <rix/description/Values.h>

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <rix/description/WrongInput.h>
#include <rix/properties/PropertyMultipleChoices.h>
#include <rix/properties/PropertySingleChoice.h>
#include <rix/properties/RarePropertyInstances.h>

namespace rix::description {
namespace {

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
        } catch (const WrongInput& wrong) {
            EXPECT_FALSE(value.has_value()) << wrong.what();
            EXPECT_NE(std::string(wrong.what()).find("number can't be '"), std::string::npos) << wrong.what();
        }
    }
}

TEST(Values, numbersAreReadAsAWholeOrRefused) {
    checkNumbers<int>({{"12", 12}, {"-3", -3}, {"+7", 7}, {"12px", {}}, {"0.5", {}}, {"", {}}, {"4294967296", {}}});
    checkNumbers<unsigned int>({{"3", 3U}, {"-1", {}}, {"1e3", {}}});
    checkNumbers<unsigned long>({{"18446744073709551615", 18446744073709551615UL}, {"-1", {}}});
    checkNumbers<double>({{"107", 107.0}, {"-0.5", -0.5}, {"1e3", 1000.0}, {"2.5xyz", {}}, {"1,5", {}}, {"abc", {}}});
}

TEST(Values, componentsHaveATextThatIsReadAgain) {
    Property<math::Vector3<double>> spacing;
    spacing.getImpl()->setName("spacing");
    for (const char* const text : {"[1.0,2.0,0.5]", "1,2,0.5", " 1, 2, 0.5", "@v3:1_2_0.5"}) {
        spacing.set({0, 0, 0});
        setValue(spacing, text);
        EXPECT_EQ(valueToText(spacing), "[1.0,2.0,0.5]") << text;
    }
    for (const char* const text : {"1,2", "1;2;3", "", "1,2,x", "[1,2,3"}) {
        try {
            setValue(spacing, text);
            ADD_FAILURE() << "accepted '" << text << "'";
        } catch (const WrongInput& wrong) {
            EXPECT_NE(std::string(wrong.what()).find("vector of 3 numbers, such as [1.0,2.0,0.5]"), std::string::npos)
                << wrong.what();
        }
    }
}

const EnumInfo& colours() {
    static const EnumInfo info("Colours", "NONE = 0, RED = 1, GREEN = 2, BLUE = 4, VIOLET = 5");
    return info;
}

TEST(Values, choicesNameTheirLabelsWhenRefused) {
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
        } catch (const WrongInput& wrong) {
            EXPECT_EQ(wrong.choices(), "it takes NONE, RED, GREEN, BLUE, VIOLET");
            EXPECT_EQ(wrong.suggestions(), suggestions) << text;
        }
    }
}

/// Sets the value from JSON and from its text, and finds it again; leaves the property alone where it is refused.
template <class T>
void checkJson(const std::vector<const char*>& good, const std::vector<const char*>& bad) {
    Property<T> property;
    property.getImpl()->setName("value");
    for (const char* text : good) {
        const auto json = nlohmann::json::parse(text);
        setValueFromJson(property, json);
        EXPECT_EQ(valueToJson(property), json) << property.getImpl()->describeType();
        if (json.is_structured()) {
            property.set(T());
            setValue(property, std::string(text));
            EXPECT_EQ(valueToJson(property), json) << property.getImpl()->describeType();
        }
    }
    const auto before = valueToJson(property);
    for (const char* text : bad) {
        EXPECT_THROW(setValueFromJson(property, nlohmann::json::parse(text)), WrongInput)
            << text << " as " << property.getImpl()->describeType();
        EXPECT_EQ(valueToJson(property), before);
    }
}

TEST(Values, ofEveryTypePassAsJson) {
    checkJson<bool>({"true", "false"}, {"1", "[true]", "null"});
    checkJson<int>({"-3", "2147483647"}, {"2147483648", "1.5", "true", "[1]"});
    checkJson<unsigned int>({"4294967295"}, {"-1", "4294967296"});
    checkJson<long>({"-9223372036854775808"}, {"9223372036854775808"});
    checkJson<unsigned long>({"18446744073709551615"}, {"-1"});
    checkJson<double>({"0.1", "-7e300", "\"nan\"", "\"-inf\""}, {"\"one\"", "[1]", "{}"});
    checkJson<String>({"\"some words, and [brackets]\""}, {"7", "[1]"});
    checkJson<FilePath>({"\"folder/file.tif\""}, {"7"});
    checkJson<Scalar>({"7", "-7", "0.5"}, {"[7]", "true"});
    checkJson<ScalarArray>({"[1,-2]", "[0.5,2.0]", "[]"}, {"1", "[\"a\"]"});
    checkJson<math::Vector2<double>>({"[0.5,255.0]"}, {"[1]", "[1,2,3]", "[1,\"a\"]", "1"});
    checkJson<math::Vector3<int>>({"[1,2,-3]"}, {"[1,2]", "[1,2,0.5]"});
    checkJson<math::Vector4<unsigned int>>({"[1,2,3,4]"}, {"[1,2,3,-4]"});
    checkJson<math::Matrix2<float>>({"[[1.0,0.5],[0.0,1.0]]"}, {"[[1,0],[0]]", "[1,0,0,1]"});
    checkJson<vessel::Matrix<double, 3>>({"[[1.0,0.0,0.0],[0.0,1.0,0.0],[0.0,0.0,1.0]]"}, {"[[1,0],[0,1]]"});
    checkJson<container::Vector<unsigned char>>({"[0,255]", "[]"}, {"[256]", "\"a\""});
    checkJson<container::Vector<math::Vector2<int>>>({"[[1,2],[3,4]]"}, {"[1,2]", "[[1,2,3]]"});
    checkJson<kernel::Kernel2D>({"[[1.0,2.0,3.0],[4.0,5.0,6.0]]"},
                                {"[[1,2],[3]]", "[]", "[[]]", "[1]", "2", "{\"a\":[1]}"});
    checkJson<kernel::Kernel3D>({"[[[1.0,2.0]],[[3.0,4.0]]]"}, {"[[[1,2]],[[3]]]", "[[[1]],[[1],[2]]]", "[[1]]", "[]"});
    checkJson<kernel::RecursiveKernel1D>({"{\"anticausal\":[0.25],\"causal\":[0.5],\"feedback\":[1.5]}"},
                                         {"{\"causal\":[1]}", "[1]"});
    // What is no value has no form.
    Property<const ImageModel*> image;
    EXPECT_TRUE(valueToJson(image).is_null());
    EXPECT_THROW(setValueFromJson(image, nlohmann::json(1)), WrongInput);
    // A choice by its number as well.
    PropertySingleChoice single(&colours());
    setValueFromJson(single, nlohmann::json(4));
    EXPECT_EQ(valueToJson(single), "BLUE");
    EXPECT_THROW(setValueFromJson(single, nlohmann::json(true)), WrongInput);
}

}  // namespace
}  // namespace rix::description
