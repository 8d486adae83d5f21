#include "Assignments.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace rix::cli
