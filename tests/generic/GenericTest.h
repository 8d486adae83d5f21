#pragma once

#include <numeric>
#include <string_view>

#include "ExampleFinder.h"
#include "Sanitizers.h"
#include "Tally.h"

namespace rix::test {

/// A test of every class of the registry; `example()` is one with which the class runs.
class GenericTest : public testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        if (sanitized && isSampledOut()) {
            GTEST_SKIP()
                << "Under the sanitizers, of the tests of a class and of the classes of a test every other one.";
        }
        auto found = findExample(AlgoInfo::fromName(GetParam()));
        ASSERT_TRUE(found.has_value());
        m_example = std::move(*found);
    }
    const Example& example() const { return m_example; }

private:
    /// By the name of the test with that of the class, which is the other way round for a class's 2D and 3D twin.
    static bool isSampledOut() {
        const std::string_view name = testing::UnitTest::GetInstance()->current_test_info()->name();
        return std::accumulate(name.begin(), name.end(), 0) % 2 != 0;
    }

    Example m_example;
};

// A macro as GoogleTest's own are.
#define RIX_FOR_EVERY_ALGORITHM(Suite)                                                           \
    INSTANTIATE_TEST_SUITE_P(Registry, Suite, testing::ValuesIn(::rix::test::registeredNames()), \
                             [](const auto& each) { return each.param; })

/// A helper of other algorithms, which no user calls, may leave it to its runners to refuse data.
bool isRefusedByRunners(const BaseAlgorithm& algorithm, const Outcome& outcome);

/// The results of an example at the portable level on one thread: what all other ways must give.
Results referenceResults(const Example& example);

}  // namespace rix::test
