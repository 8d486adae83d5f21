#pragma once

#include <optional>

#include <gtest/gtest.h>

#include <rix/exceptions/Exception.h>

namespace rix::test {

/// What a call throws; none, and a failure of the test, where it throws nothing or something else.
template <class Expected, class Call>
std::optional<Expected> failureOf(Call&& call) {
    try {
        call();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Expected& expected) {
        return expected;
    } catch (const std::exception& other) {
        ADD_FAILURE() << "another exception: " << other.what();
    }
    return std::nullopt;
}

/// The innermost text of what a call throws.
template <class Expected, class Call>
String messageOf(Call&& call) {
    const auto failure = failureOf<Expected>(call);
    return failure ? failure->getMessage() : String();
}

/// All its texts.
template <class Expected, class Call>
String infoOf(Call&& call) {
    const auto failure = failureOf<Expected>(call);
    return failure ? failure->getInfo() : String();
}

}  // namespace rix::test
