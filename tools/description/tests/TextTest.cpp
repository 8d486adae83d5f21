#include <rix/description/Text.h>

#include <limits>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <rix/description/Tables.h>

namespace rix::description {
namespace {

TEST(Tables, alignTheirColumns) {
    TextTable table({"name", "n"});
    table.add({"a long one", "1"});
    table.add({"b", ""});
    EXPECT_EQ(table.toText("  "), "  name        n\n  a long one  1\n  b\n");
}

TEST(Text, numbersReadBackExactly) {
    EXPECT_EQ(numberToText(0.1), "0.1");
    EXPECT_EQ(std::stod(numberToText(1.0 / 3)), 1.0 / 3);
    EXPECT_EQ(numberToText(-std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(numberToJson(2.5), nlohmann::json(2.5));
    EXPECT_EQ(numberToJson(-std::numeric_limits<double>::infinity()), "-inf");
}

TEST(Text, textFromOutsideCannotSteerTheTerminal) {
    EXPECT_EQ(inQuotes("a\x1b[2Jb\n"), "'a?[2Jb?'");
}

}  // namespace
}  // namespace rix::description
