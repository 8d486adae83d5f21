#include <limits>
#include <new>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Failure.h"
#include "Progress.h"

namespace rix::cli {
namespace {

TEST(Progress, lineFitsAndStaysBelowFullUntilTheEnd) {
    EXPECT_EQ(progressLine(0, "", 80), "[" + std::string(30, ' ') + "]   0 %");
    EXPECT_EQ(progressLine(1, "labels", 80), "[" + std::string(30, '#') + "] 100 %  labels");
    EXPECT_NE(progressLine(0.999, "", 80).find(" 99 %"), std::string::npos);
    EXPECT_EQ(progressLine(0.5, "a message that is too long", 40).size(), 40U);
    EXPECT_EQ(progressLine(std::numeric_limits<double>::quiet_NaN(), "", 80), progressLine(0, "", 80));
    EXPECT_EQ(progressLine(7, "", 80), progressLine(1, "", 80));
}

template <class E>
Failure failureOf(const E& exception) {
    try {
        throw exception;
    } catch (...) {
        return failureOfCurrentException();
    }
}

TEST(Failure, takesTheExitCodeFromTheException) {
    EXPECT_EQ(failureOf(RuleException("x")).exitCode(), REFUSED_BY_RULE);
    EXPECT_EQ(failureOf(UserCancelException("x")).exitCode(), INTERRUPTED);
    EXPECT_EQ(failureOf(RunForException("x")).exitCode(), RUN_FAILED);
    EXPECT_EQ(failureOf(std::bad_alloc()).exitCode(), RUN_FAILED);
    EXPECT_EQ(failureOf(7).exitCode(), RUN_FAILED);
    EXPECT_EQ(failureOf(Failure(UNREADABLE_INPUT, "x")).exitCode(), UNREADABLE_INPUT);
}

TEST(Failure, tellsTheCauseFirstAndThenWhereItHappened) {
    RuleException exception("cause");
    exception.addInfoLevel("outside");
    const auto failure = failureOf(exception).within("step 1");
    EXPECT_EQ(toText(failure), "rix: cause\n  outside\n  step 1\n");
    const auto json = toJson(failure)["error"];
    EXPECT_EQ(json["code"], 3);
    EXPECT_EQ(json["message"], "cause");
    EXPECT_EQ(json["levels"], (std::vector<std::string>{"cause", "outside", "step 1"}));
    EXPECT_EQ(toText(Failure(2, "no", {"a", "b", "c"})), "rix: no\n  did you mean a, b or c?\n");
}

}  // namespace
}  // namespace rix::cli
