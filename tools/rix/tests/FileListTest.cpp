#include "batch/FileList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Failure.h"
#include "batch/JoinedTable.h"

namespace rix::cli {
namespace {

using testing::ElementsAre;

TEST(BatchFile, StandsInTextsByItsParts) {
    const BatchFile file{"in/a.b.tif", 7, 12};
    EXPECT_EQ(file.fill("{file} {folder} {name} {stem} {extension} {number}"), "in/a.b.tif in a.b.tif a.b tif 07");
    EXPECT_EQ((BatchFile{"plain", 1, 1}.fill("{folder}/{stem}.{extension}")), "./plain.");
    // Braces of other uses stay, and what a file's name brings in is not looked at again.
    EXPECT_EQ(file.fill(R"({"a": [1]} {} {3} ${stem})"), R"({"a": [1]} {} {3} $a.b)");
    EXPECT_EQ((BatchFile{"{stem}.tif", 1, 1}.fill("{file}")), "{stem}.tif");
    EXPECT_THROW(static_cast<void>(file.fill("{stme}")), Failure);
    EXPECT_TRUE(hasPlaceholder("a{{number}"));
    EXPECT_FALSE(hasPlaceholder("{stme} {\"stem\"}"));
}

TEST(JoinedTable, KeepsApartWhatHasOtherUnitsAndFillsWhatIsMissing) {
    vessel::DataFrame first;
    first.addColumn({"Label", "", ""}, std::vector<std::int64_t>{1, 2});
    first.addColumn({"Area", "mm^2", ""}, std::vector<double>{0.5, 1.5});
    vessel::DataFrame second;
    second.addColumn({"Label", "", ""}, std::vector<std::int64_t>{9});
    second.addColumn({"Area", "", ""}, std::vector<double>{30});
    second.addColumn({"Count", "", ""}, std::vector<std::int64_t>{4});
    JoinedTable joined;
    joined.add(1, "b.tif", second);
    joined.add(0, "a.tif", first);
    const vessel::DataFrame table = joined.toDataFrame();
    EXPECT_THAT(table.getTexts(0), ElementsAre("a.tif", "a.tif", "b.tif"));
    EXPECT_THAT(table.getIntegers(1), ElementsAre(1, 2, 9));
    EXPECT_THAT(table.getReals(2), ElementsAre(0.5, 1.5, testing::IsNan()));
    EXPECT_EQ(table.getColumnInfo(3).name, "Area []");
    EXPECT_THAT(table.getReals(3), ElementsAre(testing::IsNan(), testing::IsNan(), 30));
    EXPECT_THAT(table.getReals(4), ElementsAre(testing::IsNan(), testing::IsNan(), 4));
}

}  // namespace
}  // namespace rix::cli
