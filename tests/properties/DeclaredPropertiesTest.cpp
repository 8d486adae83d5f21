// The rules of each property and the values they start with, against a list that a reader can check.

#include <fstream>
#include <set>

#include <gtest/gtest.h>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>

namespace rix {
namespace {

String declarationOf(const BaseAlgorithm& algorithm, const BaseProperty& property) {
    String text = algorithm.getClassInfo().getName() + "." + property.getName();
    if (String value; property.write(value)) {
        text += " = " + value;
    }
    String rules;
    for (const String& rule : property.getImpl()->describeRules()) {
        rules += (rules.empty() ? "" : "; ") + rule;
    }
    return rules.empty() ? text : text + ": " + rules;
}

TEST(DeclaredProperties, AreThoseOfTheList) {
    String expected;
    std::set<String> listed;
    std::ifstream file(RIX_DECLARED);
    for (String line; std::getline(file, line);) {
        if (!line.empty() && line.front() != '#') {
            expected += line + '\n';
            listed.insert(line.substr(0, line.find('.')));
        }
    }
    ASSERT_FALSE(expected.empty());
    // New algorithms need not be in the list.
    String actual;
    for (std::size_t i = 0; i < AlgoInfo::getNumOfAlgorithm(); ++i) {
        const AlgoInfo& info = AlgoInfo::getAlgorithmsInfoByIndex(i);
        if (listed.count(info.getName()) == 0) {
            continue;
        }
        const auto algorithm = info.createInstance(nullptr);
        for (std::size_t p = 0; p < algorithm->getNumOfInputProperties(); ++p) {
            actual += declarationOf(*algorithm, *algorithm->getInputProperty(p)) + '\n';
        }
        for (std::size_t p = 0; p < algorithm->getNumOfOutputProperties(); ++p) {
            actual += declarationOf(*algorithm, *algorithm->getOutputProperty(p)) + '\n';
        }
    }
    EXPECT_EQ(actual, expected);
}

}  // namespace
}  // namespace rix
