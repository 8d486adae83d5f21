#include "Testing.h"

namespace rix {
namespace {

TEST(Exception, KeepsItsLevelsAndTheClassWhileItTravels) {
    try {
        try {
            throw RuleException("cause");
        } catch (Exception& exception) {
            exception.addInfoLevel("while checking");
            throw;
        }
    } catch (const RuleException& exception) {
        ASSERT_EQ(exception.getLevels().size(), 2U);
        EXPECT_EQ(exception.getMessage(), "cause");
        EXPECT_EQ(exception.getInfo(), "while checking\n  cause");
        EXPECT_STREQ(exception.what(), "while checking\n  cause");
        EXPECT_STREQ(exception.getClassName(), "RuleException");
        const auto& level = exception.getLevels().front();
        EXPECT_EQ(level.file, "Core/tests/Exceptions/ExceptionTest.cpp") << "the build folder must not show";
        EXPECT_EQ(exception.getInfo(true), "while checking [" + exception.getLevels().back().file + ':' +
                                               std::to_string(exception.getLevels().back().line) + "]\n  cause [" +
                                               level.file + ':' + std::to_string(level.line) + ']');
    }
}

TEST(Exception, CopiesShareNothing) {
    const InvalidCall original("one");
    InvalidCall copy = original;
    copy.addInfoLevel("two");
    EXPECT_EQ(original.getLevels().size(), 1U);
    EXPECT_EQ(copy.getInfo(), "two\n  one");
}

TEST(Exception, LoadingTellsWhetherPartOfTheDataIsThere) {
    EXPECT_FALSE(LoadingError("x").partiallyLoaded());
    EXPECT_TRUE(LoadingError("x", true).partiallyLoaded());
    EXPECT_STREQ(ExceptionCancelation().what(), "Execution canceled by user");
}

}  // namespace
}  // namespace rix
