#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace rix::test {

/// Counts what the running test did as one of its properties, which `--gtest_output=json` writes: from these numbers
/// the page about reliability is made. Words are joined by underscores: "damaged_files".
inline void tally(const char* what, std::int64_t count = 1) {
    static std::mutex mutex;
    static std::map<std::pair<const testing::TestInfo*, std::string>, std::int64_t> sums;
    const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
    if (test == nullptr) {
        return;  // called by a program that is no test
    }
    const std::lock_guard lock(mutex);
    const std::int64_t sum = sums[{test, what}] += count;
    testing::Test::RecordProperty(std::string("tally_") + what, std::to_string(sum));
}

}  // namespace rix::test
