#include <vessel/DataFrame.h>

#include <stdexcept>

#include <gtest/gtest.h>

namespace vessel {
namespace {

DataFrame makeMeasures() {
    DataFrame table;
    table.addColumn({"label", "", "Label of the object"}, std::vector<std::int64_t>{1, 2, 5});
    table.addColumn({"area", "mm^2", "Area of the object"}, std::vector<double>{0.5, 12.25, 3.0});
    table.addColumn({"class", "", "Name of the class"}, std::vector<std::string>{"pore", "", "grain"});
    return table;
}

TEST(DataFrame, GivesColumnsInTheirTypes) {
    const DataFrame table = makeMeasures();
    EXPECT_EQ(table.getRowCount(), 3U);
    ASSERT_EQ(table.getColumnCount(), 3U);
    EXPECT_EQ(table.getColumnType(0), ColumnType::INTEGER);
    EXPECT_EQ(table.getColumnType(1), ColumnType::REAL);
    EXPECT_EQ(table.getColumnType(2), ColumnType::TEXT);
    EXPECT_EQ(table.getIntegers(0)[2], 5);
    EXPECT_EQ(table.getReals(1)[1], 12.25);
    EXPECT_EQ(table.getTexts(2)[0], "pore");
    EXPECT_EQ(table.getColumnInfo(1), (ColumnInfo{"area", "mm^2", "Area of the object"}));
    EXPECT_EQ(table.findColumn("class"), 2U);
    EXPECT_FALSE(table.findColumn("volume"));
    EXPECT_THROW(table.getReals(0), std::invalid_argument);
    EXPECT_THROW(table.getTexts(3), std::out_of_range);
    EXPECT_THROW(table.getColumnType(3), std::out_of_range);
}

TEST(DataFrame, RefusesColumnsThatDoNotFitAndStaysUnchanged) {
    DataFrame table = makeMeasures();
    EXPECT_THROW(table.addColumn({"area", "", ""}, std::vector<double>{1, 2, 3}), std::invalid_argument);
    EXPECT_THROW(table.addColumn({"short", "", ""}, std::vector<double>{1, 2}), std::invalid_argument);
    EXPECT_THROW(table.addColumn({"none", "", ""}, std::vector<double>{}), std::invalid_argument);
    EXPECT_EQ(table.getColumnCount(), 3U);
    EXPECT_EQ(table.getRowCount(), 3U);

    DataFrame empty;
    empty.addColumn({"none", "", ""}, std::vector<double>{});
    EXPECT_THROW(empty.addColumn({"one", "", ""}, std::vector<double>{1}), std::invalid_argument);
    EXPECT_EQ(empty.getRowCount(), 0U);
}

}  // namespace
}  // namespace vessel
