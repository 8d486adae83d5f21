// What hosts do with the threads of runs: end them, have none to give, destroy an algorithm beneath one.

#include <cerrno>
#include <chrono>

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <rix/Library.h>
#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/InteractionInterface.h>

#include "TestAlgorithms.h"

#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
namespace {
std::atomic<bool> threadsAreRefused{false};
}

/// Stands before the system's, for all libraries of the process.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                              void* argument) noexcept {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto real = reinterpret_cast<Create>(::dlsym(RTLD_NEXT, "pthread_create"));
    return threadsAreRefused ? EAGAIN : real(thread, attributes, start, argument);
}
#endif

namespace rix::test {
namespace {

/// An algorithm that runs until it is cancelled.
[[maybe_unused]] void runUntilCancelled(BaseAlgorithm& self) {
    while (true) {
        self.executionContext().blockDone(1.0);
        self.executionContext().throwIfCancelled();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
TEST(Threads, WithoutOneToGiveTheRunIsInTheCallers) {
    finish();  // no idle one is left
    ScriptedAlgorithm algorithm;
    std::atomic<std::size_t> sum{0};
    std::thread::id thread;
    algorithm.withRunner(SCALAR, [&](BaseAlgorithm& self) {
        thread = std::this_thread::get_id();
        self.executionContext().scheduler().forEach(100, [&](std::size_t block) { sum += block; });
    });
    threadsAreRefused = true;
    algorithm.run();
    threadsAreRefused = false;
    EXPECT_EQ(sum, 4950U);
    EXPECT_EQ(thread, std::this_thread::get_id());
    algorithm.run();
    EXPECT_TRUE(thread != std::this_thread::get_id() || devices::Cpu::logicalProcessors() == 1);
}
#endif

// The sanitizers don't follow threads that end in the midst of their functions.
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
/// Ends the thread that calls it.
class Ending : public InteractionInterface {
public:
    void setProgress(double) override { ::pthread_exit(nullptr); }
};

TEST(Threads, EndedInsideOfACallbackEndTheirRun) {
    for (const int threads : {1, 2}) {
        ScriptedAlgorithm algorithm(runUntilCancelled, threads);
        Ending interaction;
        std::thread([&] { algorithm.run(&interaction); }).join();
        EXPECT_FALSE(algorithm.running());
        EXPECT_FALSE(algorithm.number().isLocked());
        // In its last report as well.
        ScriptedAlgorithm quick([](BaseAlgorithm&) {}, threads);
        std::thread([&] { quick.run(&interaction); }).join();
        EXPECT_NO_THROW(quick.run());
    }
}

TEST(Threads, CancelledWhileTheyWaitEndTheirRun) {
    for (int round = 0; round < 20; ++round) {
        ScriptedAlgorithm algorithm(runUntilCancelled, 2);
        std::thread caller([&] { algorithm.run(); });
        while (!algorithm.running()) {
            std::this_thread::yield();
        }
        ::pthread_cancel(caller.native_handle());
        caller.join();
        EXPECT_FALSE(algorithm.running());
        EXPECT_FALSE(algorithm.number().isLocked());
    }
}

TEST(Threads, EndedByARunnerAreAFailureOfTheRun) {
    if (devices::Cpu::logicalProcessors() == 1) {
        GTEST_SKIP() << "the run is in the caller's thread";
    }
    ScriptedAlgorithm algorithm([](BaseAlgorithm&) { ::pthread_exit(nullptr); }, 2);
    EXPECT_THROW(algorithm.run(), UnexpectedError);
    EXPECT_THROW(algorithm.run(), UnexpectedError);
}
#endif

TEST(Destruction, OfARunningAlgorithmEndsTheProgramWithAMessage) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            auto* const algorithm = new ScriptedAlgorithm();
            algorithm->settings().setMaximumNumberOfThreads(2);
            algorithm->withRunner(SCALAR, [](BaseAlgorithm&) { std::this_thread::sleep_for(std::chrono::hours(1)); });
            std::thread([&] { algorithm->run(); }).detach();
            while (!algorithm->running()) {
                std::this_thread::yield();
            }
            // As the class does it: what the derived one has is gone first.
            algorithm->~ScriptedAlgorithm();
        },
        "an algorithm was destroyed while it runs");
}

TEST(Parents, InACircleAreRefused) {
    ScriptedAlgorithm first;
    ScriptedAlgorithm second;
    ScriptedAlgorithm third;
    second.setParent(&first);
    third.setParent(&second);
    EXPECT_THROW(first.setParent(&third), InvalidCall);
    EXPECT_THROW(first.setParent(&first), InvalidCall);
    EXPECT_EQ(first.getParent(), nullptr);
    second.setParent(nullptr);
    EXPECT_NO_THROW(first.setParent(&third));
}

TEST(Callbacks, ThatThrowInTheLastReportAreWrappedAsAnyOther) {
    class Throwing : public InteractionInterface {
    public:
        void setProgress(double) override { throw 42; }
    };
    for (const int threads : {1, 2}) {
        ScriptedAlgorithm algorithm([](BaseAlgorithm&) {}, threads);
        Throwing interaction;
        if (const auto error = failureOf<UnexpectedError>([&] { algorithm.run(&interaction); })) {
            EXPECT_EQ(error->getMessage(), "undefined exception");
            EXPECT_THAT(error->getLevels().back().message, testing::HasSubstr("ScriptedAlgorithm"));
        }
        EXPECT_NO_THROW(algorithm.run());
    }
}

}  // namespace
}  // namespace rix::test
