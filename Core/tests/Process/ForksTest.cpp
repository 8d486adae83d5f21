// A process may fork at any moment, whatever its other threads do in the library: the child computes.

#include "Process/Forks.h"

#include <sys/wait.h>
#include <unistd.h>

#include <rix/Library.h>
#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/ObjectInfo.h>

#include "TestAlgorithms.h"

namespace rix::test {
namespace {

/// A run with its blocks on threads, among calls that need every lock of the process.
bool useEverything(int threads) {
    const bool computed = runsAllBlocks(threads);
    io::MemoryImage image;
    const bool reserved = image.reserve(RIX_UINT8, 2048, 1024, 1, 1, 1);
    return reserved && computed && devices::Cpu::supports(SCALAR) && AlgoInfo::getNumOfAlgorithm() > 0 &&
           !devices::Cpu::name().empty() &&
           ObjectInfo::getObjectInfoFromName("MemoryImage").createInstance() != nullptr;
}

/// Threads that use the library until the end of the object.
class Load {
public:
    Load() {
        for (const int threads : {1, 2, 3, -1}) {
            m_threads.emplace_back([this, threads] {
                while (!m_isOver) {
                    m_failures += useEverything(threads) ? 0 : 1;
                }
            });
        }
        m_threads.emplace_back([this] {
            for (int i = 0; !m_isOver; ++i) {
                init();
                globalSettings().setValueAsInt32("RIX_FORK_TEST", i);
                finish();
            }
        });
    }
    ~Load() {
        m_isOver = true;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        EXPECT_EQ(m_failures, 0) << "runs beside forks failed in the parent";
    }
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

private:
    std::atomic<bool> m_isOver{false};
    std::atomic<int> m_failures{0};
    std::vector<std::thread> m_threads;
};

// The sanitizers support no child of a process with threads: one its new threads, the other its end, where it takes
// for lost what only the parent's threads held.
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)

/// Forks, works in the child and waits for it. The child ends without the exit handlers of other libraries: that of
/// oneTBB's allocator waits for locks that threads of the parent may have had. @return the child's status
template <class Work>
int statusOfChild(const Work& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);  // a child that waits for threads of its parent would wait for ever
        ::_exit(work() ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status;
}

/// Forks so many times in each of some threads, until one fails. @return the first status that is not 0
template <class Work>
int forkInThreads(int forksOfThread, const Work& work) {
    std::atomic<int> failure{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < forksOfThread && failure == 0; ++i) {
                const int status = statusOfChild(work);
                failure = status != 0 ? status : failure.load();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return failure;
}

TEST(Forks, BesideRunsGiveChildrenThatComputeAndForkAgain) {
    const Load load;
    const auto work = [] {
        return useEverything(2) && statusOfChild([] { return useEverything(-1); }) == 0 && useEverything(-1);
    };
    EXPECT_EQ(forkInThreads(120, work), 0) << "the signal that ended a child, and its exit code above the low byte";
}

TEST(Forks, OfSeveralThreadsAtOnceGiveChildrenThatCompute) {
    const auto work = [] { return useEverything(2); };
    EXPECT_EQ(forkInThreads(150, work), 0) << "the signal that ended a child, and its exit code above the low byte";
}

TEST(Forks, OutOfARunGoOnInTheChild) {
    for (const int threads : {1, 3}) {
        ScriptedAlgorithm algorithm;
        algorithm.settings().setMaximumNumberOfThreads(threads);
        int status = -1;
        algorithm.withRunner(SCALAR, [&](BaseAlgorithm&) {
            status = statusOfChild([] { return process::staysInCallersThread() && useEverything(-1); });
        });
        algorithm.run();
        EXPECT_EQ(status, 0);
    }
    EXPECT_FALSE(process::staysInCallersThread());
}

TEST(Forks, OfAThreadThatIsTheOnlyOneGiveChildrenThatComputeWithThreads) {
    const auto computesWithThreads = [] { return !process::staysInCallersThread() && useEverything(2); };
    const auto work = [&] { return computesWithThreads() && statusOfChild(computesWithThreads) == 0; };
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(computesWithThreads());
        ASSERT_EQ(statusOfChild(work), 0) << "the signal that ended a child, and its exit code above the low byte";
    }
    EXPECT_EQ(statusOfChild([] { return process::generation() == 1; }), 0);
}

TEST(Forks, OfAProcessWithOtherThreadsGiveChildrenThatComputeAlone) {
    std::atomic<bool> isOver{false};
    std::thread other([&] { isOver.wait(false); });
    EXPECT_EQ(statusOfChild([] { return process::staysInCallersThread() && useEverything(2); }), 0);
    isOver = true;
    isOver.notify_one();
    other.join();
}

/// How the run of another thread goes while the end of the threads before a fork waits for that run.
enum class RunBesideEnd : int { NotYet, Alone, WithThreads };

TEST(Forks, LetRunsGoOnAloneThatTheEndOfTheThreadsWaitsFor) {
    const auto runBesideEnd = [] {
        static std::atomic<bool> isEnding{false};
        static std::atomic<RunBesideEnd> run{RunBesideEnd::NotYet};
        const auto waitForRun = [] {
            isEnding = true;
            while (run == RunBesideEnd::NotYet) {
                std::this_thread::yield();
            }
        };
        process::setForkHooks({nullptr, waitForRun, nullptr});
        std::thread forking([] { statusOfChild([] { return true; }); });
        while (!isEnding) {
            std::this_thread::yield();
        }
        ScriptedAlgorithm algorithm;
        algorithm.withRunner(SCALAR, [&](BaseAlgorithm&) {
            run = process::staysInCallersThread() ? RunBesideEnd::Alone : RunBesideEnd::WithThreads;
        });
        algorithm.run();
        forking.join();
        return run == RunBesideEnd::Alone && !process::staysInCallersThread() && useEverything(2);
    };
    EXPECT_EQ(statusOfChild(runBesideEnd), 0);  // in a child: the hooks are those of the process
}

#endif

TEST(Settings, AreReadWhileOthersWriteThem) {
    const Load load;
    for (int i = 0; i < 2000; ++i) {
        globalSettings().setValueAsInt32("RIX_RACE", i);
        Settings copy(globalSettings());
        EXPECT_EQ(copy.getValueAsInt32("RIX_RACE", -1), i);
        globalSettings().remove("RIX_RACE");
        const std::vector<String> keys = globalSettings().getKeys();
        EXPECT_EQ(std::count(keys.begin(), keys.end(), "RIX_RACE"), 0);
    }
}

}  // namespace
}  // namespace rix::test
