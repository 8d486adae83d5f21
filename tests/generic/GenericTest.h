#pragma once

#include "ExampleFinder.h"
#include "Tally.h"

namespace rix::test {

/// A test of every class of the registry; `example()` is one with which the class runs.
class GenericTest : public testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        auto found = findExample(AlgoInfo::fromName(GetParam()));
        ASSERT_TRUE(found.has_value());
        m_example = std::move(*found);
    }
    const Example& example() const { return m_example; }

private:
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
