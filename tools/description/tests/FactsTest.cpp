#include <rix/description/Facts.h>

#include <gtest/gtest.h>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/description/Algorithms.h>
#include <rix/description/Values.h>
#include <rix/description/WrongInput.h>

namespace rix::description {
namespace {

TEST(Facts, ofEveryAlgorithmAreWholeAndTheirDefaultsReadBack) {
    ASSERT_FALSE(listedClasses().empty());
    for (AlgoInfo* const info : listedClasses()) {
        const auto algorithm = createAlgorithm(*info);
        const nlohmann::json json = toJson(describeAlgorithm(*algorithm));
        SCOPED_TRACE(json.dump());
        for (const char* key : {"name", "area", "library", "summary", "kind"}) {
            EXPECT_FALSE(json[key].get<std::string>().empty()) << key;
        }
        ASSERT_EQ(json["properties"].size(), listProperties(*algorithm).size());
        for (const auto& facts : json["properties"]) {
            BaseProperty& property = findProperty(*algorithm, facts["name"]);
            EXPECT_EQ(facts["image"], imageRoleOf(property) != ImageRole::None);
            EXPECT_EQ(facts["labels"].empty(), enumerationOf(property) == nullptr);
            if (facts["required"] == true) {
                EXPECT_TRUE(facts["default"].is_null());
            } else if (!facts["default"].is_null()) {
                setValueFromJson(property, facts["default"]);
                EXPECT_EQ(valueToJson(property), facts["default"]) << facts;
            } else {
                // Only what is no value has no default: an image, a result.
                EXPECT_TRUE(facts["image"] == true || facts["direction"] == "out") << facts;
            }
        }
    }
}

TEST(Facts, tellRefusedDefaultsAsRequired) {
    const auto algorithm = createAlgorithm(findClass("BoxFilter2d"));
    setValue(findProperty(*algorithm, "kernelSizeX"), "5");
    const auto facts = describeAlgorithm(*algorithm);
    EXPECT_TRUE(facts.properties[0].required && facts.properties[0].image) << "the input image";
    EXPECT_TRUE(facts.properties[1].required) << "also when the object that was asked has a good one";
    EXPECT_FALSE(facts.properties[3].required);
    EXPECT_EQ(facts.properties[3].defaultValue, "NO");
    try {
        findClass("boxfilter2D");
        ADD_FAILURE() << "found";
    } catch (const WrongInput& wrong) {
        EXPECT_EQ(wrong.suggestions(), std::vector<std::string>{"BoxFilter2d"});
    }
}

}  // namespace
}  // namespace rix::description
