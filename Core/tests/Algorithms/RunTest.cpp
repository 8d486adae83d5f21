// The life of one run: threads, levels, outcomes, failures, cancellation, progress, and that the algorithm is ready
// for the next run whatever happened.

#include <chrono>
#include <filesystem>
#include <thread>

#include <sys/wait.h>
#include <tbb/task_arena.h>
#include <unistd.h>

#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/Scratch.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/InteractionInterface.h>
#include <rix/algorithms/TryRun.h>

#include "TestAlgorithms.h"

namespace rix::test {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;

void expectReady(ScriptedAlgorithm& algorithm) {
    EXPECT_FALSE(algorithm.running());
    EXPECT_FALSE(algorithm.number().isLocked());
    EXPECT_FALSE(algorithm.outputImage().isLocked());
}

/// Runs and returns the exception's levels, innermost first; fails when there is none or it is of another class.
template <class Expected>
std::vector<String> levelsOf(ScriptedAlgorithm& algorithm) {
    std::vector<String> messages;
    if (const auto failure = failureOf<Expected>([&] { algorithm.run(); })) {
        for (const auto& level : failure->getLevels()) {
            messages.push_back(level.message);
        }
    }
    expectReady(algorithm);
    return messages;
}

constexpr const char* outerLevel = "Error in algorithm ScriptedAlgorithm of library tests";

TEST(Run, HappensInAWorkerUnlessTheSettingsAllowOneThread) {
    for (const int limit : {-1, 0, 1, 2, 7}) {
        std::thread::id ranIn;
        std::size_t threads = 0;
        ScriptedAlgorithm algorithm([&](BaseAlgorithm& self) {
            ranIn = std::this_thread::get_id();
            threads = self.executionContext().maximumThreads();
        });
        algorithm.settings().setMaximumNumberOfThreads(limit);
        algorithm.run();
        const bool inCaller = limit == 1 || devices::Cpu::logicalProcessors() == 1;
        EXPECT_EQ(ranIn == std::this_thread::get_id(), inCaller) << "limit " << limit;
        if (limit >= 1) {
            EXPECT_EQ(threads, std::min(static_cast<std::size_t>(limit), devices::Cpu::logicalProcessors()));
        }
        EXPECT_DOUBLE_EQ(algorithm.getProgress(), 1.0);
        expectReady(algorithm);
    }
}

TEST(Run, TellsHowItWentInsteadOfThrowing) {
    ScriptedAlgorithm fine([](BaseAlgorithm&) {});
    const RunOutcome success = tryRun(fine);
    EXPECT_TRUE(success);
    EXPECT_EQ(success.message() + success.info() + success.className(), "");
    ScriptedAlgorithm failing([](BaseAlgorithm&) { throw MemoryError("No room."); });
    const RunOutcome failure = tryRun(failing);
    EXPECT_FALSE(failure);
    EXPECT_EQ(failure.message(), "No room.");
    EXPECT_THAT(failure.info(), testing::StartsWith(outerLevel));
    EXPECT_STREQ(failure.className(), "MemoryError");
    EXPECT_TRUE(failure.wasOutOfMemory());
    EXPECT_FALSE(failure.wasCancelled());
    ScriptedAlgorithm stopped([](BaseAlgorithm& self) {
        self.cancelExecution();
        self.executionContext().throwIfCancelled();
    });
    EXPECT_TRUE(tryRun(stopped).wasCancelled());
    expectReady(stopped);
}

TEST(Run, InAWorkerHasTheThreadsOfTheWorkerNotOfTheCallersArena) {
    std::size_t threads = 0;
    ScriptedAlgorithm algorithm([&](BaseAlgorithm& self) { threads = self.executionContext().maximumThreads(); });
    algorithm.run();
    const std::size_t outside = threads;
    tbb::task_arena(1).execute([&] { algorithm.run(); });
    EXPECT_EQ(threads, outside);
}

TEST(Run, LocksPropertiesWhileItLasts) {
    ScriptedAlgorithm algorithm;
    algorithm.number() = 4.0;
    algorithm.withRunner(SCALAR, [&](BaseAlgorithm&) {
        algorithm.number() = 5.0;
        String normalised;
        EXPECT_FALSE(algorithm.number().read("6", normalised));
        EXPECT_TRUE(algorithm.outputImage().isLocked());
    });
    algorithm.run();
    EXPECT_EQ(algorithm.number().get(), 4.0);
    EXPECT_THAT(algorithm.changed, ElementsAre("number"));
}

TEST(Run, ASecondCallDuringARunDoesNothing) {
    int runs = 0;
    ScriptedAlgorithm algorithm([&](BaseAlgorithm& self) {
        ++runs;
        self.run();
        EXPECT_TRUE(self.running());
    });
    algorithm.run();
    EXPECT_EQ(runs, 1);
}

TEST(Levels, AreTriedFromTheHighestAllowedDown) {
    std::vector<int> tried;
    const auto note = [&tried](int level) { return [&tried, level](BaseAlgorithm&) { tried.push_back(level); }; };
    ScriptedAlgorithm algorithm;
    algorithm.withRunner(SCALAR, note(0)).withRunner(VEC_SSE, note(1)).withRunner(VEC_AVX, note(2), false);
    algorithm.run();
    EXPECT_EQ(algorithm.getLastRunLevel(), VEC_SSE) << "the AVX runner refuses the data";
    algorithm.setMaxOptimLevel(SCALAR);
    algorithm.run();
    EXPECT_EQ(algorithm.getLastRunLevel(), SCALAR);
    EXPECT_THAT(tried, ElementsAre(1, 0));
    algorithm.settings().setValue("RIX_MAX_OPTIM_LEVEL", "2000000000");  // from the environment, say
    algorithm.run();
    EXPECT_EQ(algorithm.getLastRunLevel(), VEC_SSE);

    EXPECT_TRUE(algorithm.isOptimLevelSupported(VEC_AVX));
    EXPECT_FALSE(algorithm.isOptimLevelSupported(GPU));
    EXPECT_EQ(algorithm.getMostPerformantAvailableOptimLevel(), VEC_AVX);
}

TEST(Levels, RunnersOfOneLevelAreTriedInTheOrderOfRegistration) {
    std::vector<int> tried;
    ScriptedAlgorithm algorithm;
    algorithm.withRunner(
                 SCALAR, [&](BaseAlgorithm&) { tried.push_back(1); }, false)
        .withRunner(SCALAR, [&](BaseAlgorithm&) { tried.push_back(2); })
        .withRunner(SCALAR, [&](BaseAlgorithm&) { tried.push_back(3); });
    algorithm.run();
    EXPECT_THAT(tried, ElementsAre(2));
}

TEST(Levels, OutcomesOfARunThatNobodyServes) {
    const auto nothing = [](BaseAlgorithm&) {};
    const char* const none = "no runner found for algorithm";
    ScriptedAlgorithm empty;
    EXPECT_THAT(levelsOf<RunForException>(empty), ElementsAre(none, outerLevel));
    ScriptedAlgorithm refusing;
    refusing.withRunner(SCALAR, nothing, false);
    EXPECT_THAT(levelsOf<RunForException>(refusing),
                ElementsAre("no runner runnable with associated data", outerLevel));
    // The outcome is literally that of the last try: scalar, where there is no runner at all.
    ScriptedAlgorithm refusingAbove;
    refusingAbove.withRunner(VEC_SSE, nothing, false);
    EXPECT_THAT(levelsOf<RunForException>(refusingAbove), ElementsAre(none, outerLevel));

    ScriptedAlgorithm forced;
    forced.withRunner(VEC_AVX, nothing);
    forced.setAutoCpuDispatch(false);
    forced.setOptimLevel(SCALAR);
    EXPECT_THAT(levelsOf<RunForException>(forced), ElementsAre(none, outerLevel));
    forced.setOptimLevel(VEC_AVX);
    forced.setMaxOptimLevel(VEC_SSE);
    EXPECT_THAT(levelsOf<UnexpectedError>(forced),
                ElementsAre("forced optim level higher than max optim level", outerLevel));
    EXPECT_FALSE(forced.getLastRunLevel().has_value());
    forced.setMaxOptimLevel(VEC_AVX);
    forced.run();
    EXPECT_EQ(forced.getLastRunLevel(), VEC_AVX);
}

TEST(Failure, EveryExceptionLeavesAsOneOfTheFamilyAndTheNextRunWorks) {
    for (const int threads : {1, 2}) {
        std::function<void()> fail;
        ScriptedAlgorithm algorithm([&](BaseAlgorithm&) { fail(); }, threads);
        fail = [] { throw ProcessingException("broken"); };
        EXPECT_THAT(levelsOf<ProcessingException>(algorithm), ElementsAre("broken", outerLevel));
        fail = [] { throw std::runtime_error("from elsewhere"); };
        EXPECT_THAT(levelsOf<UnexpectedError>(algorithm), ElementsAre("from elsewhere", outerLevel));
        fail = [] { throw 42; };
        EXPECT_THAT(levelsOf<UnexpectedError>(algorithm), ElementsAre("undefined exception", outerLevel));
        fail = [] { throw std::bad_alloc(); };
        EXPECT_THAT(levelsOf<UnexpectedError>(algorithm), ElementsAre(HasSubstr("Memory is exhausted"), outerLevel));
        fail = [] { throw ExceptionCancelation(); };
        EXPECT_THAT(levelsOf<UserCancelException>(algorithm), ElementsAre("Execution canceled by user", outerLevel));
        fail = [] {};
        EXPECT_NO_THROW(algorithm.run());
        EXPECT_EQ(algorithm.getLastRunLevel(), SCALAR);
    }
}

/// Cancels at its first poll, or throws there.
class Impatient : public InteractionInterface {
public:
    explicit Impatient(bool throws) : m_throws(throws) {}
    bool isCancelRequested() override {
        if (m_throws) {
            throw std::runtime_error("the window is gone");
        }
        return true;
    }

private:
    bool m_throws;
};

TEST(Cancellation, ThroughTheInteractionEndsTheRunInEitherThread) {
    for (const int threads : {1, 2}) {
        ScriptedAlgorithm algorithm;
        algorithm.settings().setMaximumNumberOfThreads(threads);
        std::atomic<bool> forever{true};
        algorithm.withRunner(SCALAR, [&](BaseAlgorithm& self) {
            while (forever) {
                self.executionContext().throwIfCancelled();
                std::this_thread::sleep_for(milliseconds(1));
                self.executionContext().blockDone(0.0);
            }
        });
        Impatient impatient(false);
        EXPECT_THROW(algorithm.run(&impatient), UserCancelException) << threads << " threads";
        EXPECT_TRUE(algorithm.isExecutionCancelled());
        expectReady(algorithm);
        if (threads > 1) {
            // An interaction that fails must not leave the worker running on its own.
            Impatient broken(true);
            EXPECT_THROW(algorithm.run(&broken), UnexpectedError);
            expectReady(algorithm);
        }
        forever = false;
        EXPECT_NO_THROW(algorithm.run());
        EXPECT_FALSE(algorithm.isExecutionCancelled());
    }
}

TEST(Cancellation, IsNotAskedForAfterASuccess) {
    ScriptedAlgorithm algorithm([](BaseAlgorithm&) {});
    Impatient impatient(false);
    algorithm.run(&impatient);
    EXPECT_FALSE(algorithm.isExecutionCancelled());
}

TEST(Cancellation, OfARunThatCanBeSeenIsNeverLost) {
    int lost = 0;
    for (int round = 0; round < 500 && lost == 0; ++round) {
        ScriptedAlgorithm algorithm([&](BaseAlgorithm& self) {
            const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
            while (std::chrono::steady_clock::now() < end) {
                self.executionContext().throwIfCancelled();
            }
            ++lost;
        });
        std::thread canceller([&] {
            while (!algorithm.running()) {
                std::this_thread::yield();
            }
            algorithm.cancelExecution();
        });
        EXPECT_THROW(algorithm.run(), UserCancelException) << "round " << round;
        canceller.join();
    }
}

TEST(Cancellation, OfAParentReachesItsChild) {
    ScriptedAlgorithm child([&](BaseAlgorithm& self) {
        self.getParent()->cancelExecution();
        self.executionContext().throwIfCancelled();
        FAIL() << "the child did not see the cancellation";
    });
    ScriptedAlgorithm parent([&](BaseAlgorithm& self) {
        child.setParent(&self);
        child.run();
    });
    EXPECT_THROW(parent.run(), UserCancelException);
    expectReady(parent);
    expectReady(child);
}

TEST(Children, RunInTheirParentsThreadAndTellOfItThroughThem) {
    std::thread::id parentThread;
    std::thread::id childThread;
    ScriptedAlgorithm child;
    ScriptedAlgorithm parent([&](BaseAlgorithm& self) {
        parentThread = std::this_thread::get_id();
        child.setParent(&self);
        child.run();
    });
    child.withRunner(SCALAR, [&](BaseAlgorithm& self) {
        childThread = std::this_thread::get_id();
        self.executionContext().startStep(4.0);
        self.executionContext().blockDone(1.0);
        EXPECT_EQ(parent.getProgress(), 0.25);
        self.executionContext().blockDone(7.0);  // more than announced: progress waits at the end of the step
        EXPECT_EQ(parent.getProgress(), 1.0);
        self.setProgressionMessage("half way");
        EXPECT_EQ(parent.getProgressionMessage(), "half way");
    });
    parent.run();
    EXPECT_EQ(parentThread, childThread);
}

/// Notes what it is told.
class Recorder : public InteractionInterface {
public:
    void setProgress(double progress) override { values.push_back(progress); }
    void setProgressionMessage(const String& message) override { lastMessage = message; }
    void setProgressionData(const String& name, const String& value) override { lastData = name + "=" + value; }
    std::vector<double> values;
    String lastMessage;
    String lastData;
};

TEST(Progress, IsHandedOnEndsAtOneAndNeverDelaysTheEnd) {
    for (const int threads : {1, 2}) {
        ScriptedAlgorithm algorithm(
            [](BaseAlgorithm& self) {
                access::ExecutionContext& context = self.executionContext();
                context.startStep(250.0);
                self.setProgressionMessage("working");
                self.setProgressionData("row", "7");
                for (int i = 0; i < 250; ++i) {
                    std::this_thread::sleep_for(milliseconds(1));
                    context.blockDone(1.0);
                }
            },
            threads);
        Recorder recorder;
        algorithm.run(&recorder);
        ASSERT_GE(recorder.values.size(), 2U) << "at least one poll, and the end";
        EXPECT_TRUE(std::is_sorted(recorder.values.begin(), recorder.values.end()));
        EXPECT_GT(recorder.values.front(), 0.0);
        EXPECT_EQ(recorder.values.back(), 1.0);
        EXPECT_EQ(recorder.lastMessage, "working");
        EXPECT_EQ(recorder.lastData, "row=7");
    }
}

/// States a bound of the memory that it needs.
class Stating : public ScriptedAlgorithm {
public:
    AlgorithmDescription describe() const override {
        AlgorithmDescription description;
        description.extraMemory = std::size_t{1} << 40;
        description.extraMemoryIsExact = false;
        return description;
    }
};

TEST(Memory, OfARunAndItsChildrenIsOneAccountWithOneLimit) {
    constexpr std::size_t mebibyte = std::size_t{1} << 20;
    std::size_t childsBytes = mebibyte;
    ScriptedAlgorithm child([&](BaseAlgorithm& self) {
        self.executionContext().scheduler().forEach(1, [&](std::size_t) { access::Scratch memory(childsBytes); });
    });
    Stating parent;
    parent.withRunner(SCALAR, [&](BaseAlgorithm& self) {
        const access::CountedVector<char> table(mebibyte);
        algorithms::runChild(self, child);
    });
    parent.setMaximumExtraMemoryUsage(3);
    parent.run();
    EXPECT_GE(parent.getPeakExtraMemory(), 2 * mebibyte);
    EXPECT_LT(parent.getPeakExtraMemory(), 2 * mebibyte + 10000);
    childsBytes = 2 * mebibyte;
    EXPECT_THAT(levelsOf<MemoryError>(parent).front(),
                AllOf(HasSubstr("1048576 in use"), HasSubstr("the limit is 3145728 bytes")));
    parent.setMaximumExtraMemoryUsage(4);
    EXPECT_NO_THROW(parent.run());
    EXPECT_EQ(access::MemoryAccount::current(), nullptr);
}

// The sanitizers support no child of a process with threads: one its new threads, the other its end, where it takes
// for lost what only the parent's threads held.
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
TEST(ManyRuns, GoOnInAForkedProcess) {
    const auto threads = [] {
        const std::filesystem::directory_iterator tasks("/proc/self/task");
        return std::distance(begin(tasks), end(tasks));
    };
    const auto threadsBefore = threads();
    ASSERT_TRUE(runsAllBlocks(-1) && runsAllBlocks(2));  // workers and arenas are kept from here on
    ASSERT_TRUE(threads() > threadsBefore || devices::Cpu::logicalProcessors() == 1);
    const pid_t child = ::fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        ::alarm(20);  // a child that waits for threads of its parent would wait for ever
        std::exit(runsAllBlocks(-1) && runsAllBlocks(2) ? 0 : 1);  // an ordinary end, with all that is static
    }
    // What a thread held at that moment would be locked in the child for ever. The system lists a thread for a moment
    // after it was joined; one that the fork has not ended stays.
    for (int waits = 0; threads() > 1 && waits < 5000; ++waits) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(threads(), 1) << "threads outlived the fork";
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "the child was ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(runsAllBlocks(-1) && runsAllBlocks(2)) << "the parent";
}
#endif

}  // namespace
}  // namespace rix::test
