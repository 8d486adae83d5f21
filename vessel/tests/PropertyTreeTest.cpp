#include <vessel/PropertyTree.h>

#include <stdexcept>

#include <gtest/gtest.h>

namespace vessel {
namespace {

TEST(PropertyTree, ValuesAsText) {
    const std::pair<PropertyTree::Value, std::string> cases[] = {
        {std::monostate(), ""},
        {true, "true"},
        {false, "false"},
        {std::int64_t{-9223372036854775807LL - 1}, "-9223372036854775808"},
        {0.1, "0.1"},
        {-1e300, "-1e+300"},
        {std::string("a b"), "a b"},
    };
    for (const auto& [value, text] : cases) {
        PropertyTree tree;
        tree.setValue(value);
        EXPECT_EQ(tree.getText(), text);
        EXPECT_EQ(tree.hasValue(), !text.empty());
    }
}

TEST(PropertyTree, ChildrenKeepTheirOrderAndCopiesShareNothing) {
    PropertyTree tree;
    tree["z"].setValue(std::int64_t{1});
    tree["a"]["inner"].setValue(std::string("deep"));
    tree["z"].setValue(std::int64_t{2});
    ASSERT_EQ(tree.getChildCount(), 2U);
    EXPECT_EQ(tree.getChildName(0), "z");
    EXPECT_EQ(tree.getChild(0).getText(), "2");
    EXPECT_THROW(tree.getChild(2), std::out_of_range);

    PropertyTree copy = tree;
    EXPECT_EQ(copy, tree);
    copy["a"]["inner"].setValue(std::string("changed"));
    EXPECT_NE(copy, tree);
    EXPECT_EQ(tree.find("a")->find("inner")->getText(), "deep");

    EXPECT_TRUE(tree.remove("a"));
    EXPECT_FALSE(tree.remove("a"));
    EXPECT_EQ(tree.find("a"), nullptr);
}

}  // namespace
}  // namespace vessel
