#include <rix/description/Suggestions.h>

#include <set>

#include <gtest/gtest.h>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/description/Algorithms.h>
#include <rix/description/Synonyms.h>

namespace rix::description {
namespace {

TEST(Suggestions, distanceCountsEditsOfEveryKind) {
    const struct {
        const char* a;
        const char* b;
        std::size_t distance;
    } cases[] = {
        {"", "", 0},      {"", "abc", 3},           {"abc", "abc", 0},     {"abc", "abd", 1},
        {"abc", "ab", 1}, {"abc", "xabc", 1},       {"abcd", "abdc", 1},   {"ab", "ba", 1},
        {"ca", "abc", 3}, {"Kitten", "sitting", 3}, {"LABEL", "label", 0},
    };
    for (const auto& [a, b, distance] : cases) {
        EXPECT_EQ(editDistance(a, b), distance) << a << " " << b;
        EXPECT_EQ(editDistance(b, a), distance) << b << " " << a;
    }
}

TEST(Suggestions, offersTheNearestFirstAndNothingFarFetched) {
    using Names = std::vector<std::string>;
    const Names names{"BoxFilter2d", "BoxFilter3d", "Labeling2d", "ThresholdingByCriterion", "GaussianFilter2d"};
    EXPECT_EQ(suggest("labeling2D", names), Names{"Labeling2d"});
    EXPECT_EQ(suggest("boxfilter2D", names), Names{"BoxFilter2d"});
    EXPECT_EQ(suggest("BoxFliter3d", names), (Names{"BoxFilter3d", "BoxFilter2d"}));
    EXPECT_EQ(suggest("threshold", names), Names{"ThresholdingByCriterion"});
    EXPECT_EQ(suggest("BoxFilter", names), (Names{"BoxFilter2d", "BoxFilter3d"}));
    EXPECT_EQ(suggest("filter", names, 2), (Names{"BoxFilter2d", "BoxFilter3d"}));
    EXPECT_EQ(suggest("Erosion", names), Names{});
    EXPECT_EQ(suggest("", names), Names{});
    EXPECT_EQ(suggest("x", Names{"y"}), Names{"y"});
}

TEST(Suggestions, knowTheWordsOfTheField) {
    using Names = std::vector<std::string>;
    EXPECT_EQ(suggest("otsu", Names{"ENTROPY", "FACTORISATION", "MOMENTS", "ISODATA"}), Names{"FACTORISATION"});
    EXPECT_EQ(suggest("gaussian_blur", Names{"BoxFilter2d", "GaussianFilter3d", "GaussianFilter2d"}),
              (Names{"GaussianFilter2d", "GaussianFilter3d"}));
    EXPECT_EQ(suggest("sigma", Names{"input_image", "standard_deviation_x"}), Names{"standard_deviation_x"});
    EXPECT_EQ(suggest("sigma", Names{"standardDeviationY", "standardDeviationX"}),
              (Names{"standardDeviationX", "standardDeviationY"}))
        << "one width elsewhere is one for each axis here";
    EXPECT_EQ(suggest("8", Names{"CONNECTIVITY_4", "CONNECTIVITY_8"}), Names{"CONNECTIVITY_8"});
    EXPECT_EQ(suggest("slic", Names{"Reslice3d", "Superpixels2d"}), (Names{"Superpixels2d", "Reslice3d"}));
    EXPECT_EQ(suggest("Box", Names{"BOX", "BALL"}), Names{"BOX"}) << "the name itself, in other letters";
}

/// A word that leads to nothing would stay unnoticed: whatever is renamed is renamed here, too.
TEST(Suggestions, ofTheFieldsWordsExist) {
    std::set<std::string> known{"Mean", "StandardDeviation"};  // measures
    for (const AlgoInfo* const info : listedClasses()) {
        known.insert(info->getName());
        const auto algorithm = createAlgorithm(*info);
        for (const BaseProperty* const property : listProperties(*algorithm)) {
            known.insert(property->getName());
            if (const EnumInfo* const enumeration = enumerationOf(*property)) {
                const auto labels = labelsOf(*enumeration);
                known.insert(labels.begin(), labels.end());
            }
        }
    }
    for (const std::string& word : allSynonyms()) {
        for (const std::string& name : namesOf(word)) {
            EXPECT_TRUE(known.contains(name) || known.contains(name + "2d")) << word << " means " << name;
        }
    }
}

}  // namespace
}  // namespace rix::description
