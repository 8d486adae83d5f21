#pragma once

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/Runnable.h>
#include <rix/properties/Property.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/ValueRules.h>

#include "Testing.h"

namespace rix::test {

/// A runner that does what a test tells it to.
class ScriptedRunner : public Runnable {
public:
    using Work = std::function<void(BaseAlgorithm&)>;
    ScriptedRunner(OptimLevelType level, Work work, bool accepts = true)
        : m_level(level), m_work(std::move(work)), m_accepts(accepts) {}
    void run(BaseAlgorithm* algorithm) const override { m_work(*algorithm); }
    bool isRunnable(BaseAlgorithm*) const override { return m_accepts; }
    OptimLevelType getOptimType() const override { return m_level; }

private:
    OptimLevelType m_level;
    Work m_work;
    bool m_accepts;
};

/// An algorithm with one number and one image in, one image out, whose runners a test makes. Each object has a class
/// record of its own, so that tests do not disturb each other.
class ScriptedAlgorithm : public BaseAlgorithm {
public:
    struct State : algorithms::AbstractPrivateImplementation {
        Property<double> number;
        Property<const ImageModel*> inputImage;
        Property<ImageModel*> outputImage;
    };

    ScriptedAlgorithm() : BaseAlgorithm(new State()) {
        addInput(number(), "number", "A number that must not be negative.");
        AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL)(number());
        addInput(inputImage(), "inputImage", "An image or none.");
        addOutput(outputImage(), "outputImage", "An image or none.");
    }
    /// With a portable runner, on so many threads.
    explicit ScriptedAlgorithm(ScriptedRunner::Work work, int threads = -1) : ScriptedAlgorithm() {
        settings().setMaximumNumberOfThreads(threads);
        withRunner(SCALAR, std::move(work));
    }
    AlgoInfo& getClassInfo() const override { return m_info; }
    void onPropertyChanged(BaseProperty* property) override { changed.push_back(property->getName()); }

    ScriptedAlgorithm& withRunner(OptimLevelType level, ScriptedRunner::Work work, bool accepts = true) {
        m_info.addRunner(std::make_shared<ScriptedRunner>(level, std::move(work), accepts));
        return *this;
    }
    Property<double>& number() { return state().number; }
    Property<const ImageModel*>& inputImage() { return state().inputImage; }
    Property<ImageModel*>& outputImage() { return state().outputImage; }

    std::vector<String> changed;

private:
    State& state() const { return static_cast<State&>(*implementation()); }

    mutable AlgoInfo m_info{"ScriptedAlgorithm", "tests", nullptr, AlgoVisibilityType::HIDDEN_ALGORITHM, ""};
};

/// Whether a run on so many threads gives all its blocks to the scheduler.
inline bool runsAllBlocks(int threads) {
    std::atomic<std::size_t> sum{0};
    ScriptedAlgorithm algorithm(
        [&](BaseAlgorithm& self) {
            self.executionContext().scheduler().forEach(100, [&](std::size_t block) { sum += block; });
        },
        threads);
    algorithm.run();
    return sum == 4950;
}

}  // namespace rix::test
