#include "Process/Forks.h"

#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>

#include <pthread.h>
#include <unistd.h>

namespace rix::process {

namespace {

constexpr auto lockCount = static_cast<std::size_t>(Lock::Count);

// No destructors: threads that nobody waits for may outlast static objects.
constinit std::array<std::mutex, lockCount> mutexes;
constinit ForkHooks forkHooks;            // with the lock of the runs
constinit std::size_t activeRuns = 0;     // with the lock of the runs
constinit bool threadsAreEnding = false;  // with the lock of the runs
thread_local constinit std::size_t runsOfThread = 0;
thread_local constinit bool runsOfThreadAreAlone = false;
constinit bool childIsAlone = false;  // in the forking thread only
constinit std::atomic<bool> isAlone{false};
constinit std::atomic<unsigned> forks{0};

/// Runs and other forks wait while the threads of oneTBB end: who uses it meanwhile may stand against the end for ever,
/// each with a lock that the other wants. Not without limit: a run inside a task of the application's own may be what
/// the end waits for. Polled, since a condition variable would go to the child with waiters that it does not have.
/// @return whether they have ended
bool waitForEndOfThreads(std::unique_lock<std::mutex>& runs) {
    constexpr std::chrono::microseconds period{100};
    constexpr int mostPeriods = 2000;
    for (int i = 0; threadsAreEnding && i < mostPeriods; ++i) {
        runs.unlock();
        std::this_thread::sleep_for(period);
        runs.lock();
    }
    return !threadsAreEnding;
}

/// A thread that has been joined is still listed for a moment, but marked by the system as leaving: no code of the
/// process runs in it any more.
bool isLeaving(const std::filesystem::path& task) {
    constexpr std::uint64_t exitingFlag = 0x4;  // PF_EXITING of the kernel's linux/sched.h
    constexpr int fieldsBeforeFlags = 6;        // after the name, which is the only one with a closing bracket
    std::ifstream file(task / "stat");
    std::string line;
    if (!std::getline(file, line)) {
        return !std::filesystem::exists(task);
    }
    std::size_t at = line.rfind(')');
    for (int i = 0; i <= fieldsBeforeFlags && at != std::string::npos; ++i) {
        at = line.find(' ', at + 1);
    }
    std::uint64_t flags = 0;
    return at != std::string::npos &&
           std::from_chars(line.data() + at + 1, line.data() + line.size(), flags).ec == std::errc() &&
           (flags & exitingFlag) != 0;
}

/// True when no other thread can hold anything. Threads that know nothing of this library count as well: oneTBB's
/// allocator has locks that no handler takes before a fork, and each thread that ends takes some of them.
bool isOnlyThread() {
    try {
        const std::string own = std::to_string(::gettid());
        for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
            if (task.path().filename() != own && !isLeaving(task.path())) {
                return false;
            }
        }
        return true;
    } catch (const std::exception&) {
        return false;  // not to be known
    }
}

void beforeFork() {
    std::unique_lock lock(mutexOf(Lock::Runs));
    const ForkHooks hooks = forkHooks;
    lock.unlock();
    if (hooks.makeAll != nullptr) {
        hooks.makeAll();
    }
    lock.lock();
    waitForEndOfThreads(lock);
    const bool isQuiet = activeRuns == 0 && !isAlone && !threadsAreEnding;
    if (isQuiet && hooks.endThreads != nullptr) {
        threadsAreEnding = true;
        lock.unlock();
        hooks.endThreads();
        lock.lock();
        threadsAreEnding = false;
    }
    lock.unlock();
    for (std::mutex& mutex : mutexes) {
        mutex.lock();
    }
    if (hooks.releaseIdle != nullptr) {
        hooks.releaseIdle();
    }
    childIsAlone = !isQuiet || !isOnlyThread();
}

void unlockAll() {
    for (auto mutex = mutexes.rbegin(); mutex != mutexes.rend(); ++mutex) {
        mutex->unlock();
    }
}

void inChild() {
    isAlone = childIsAlone;
    activeRuns = runsOfThread;
    threadsAreEnding = false;
    ++forks;
    unlockAll();
}

/// When the library is loaded: nothing of it is in use then.
[[maybe_unused]] const int handlers = ::pthread_atfork(beforeFork, unlockAll, inChild);

}  // namespace

std::mutex& mutexOf(Lock lock) noexcept {
    return mutexes[static_cast<std::size_t>(lock)];
}

void setForkHooks(const ForkHooks& hooks) {
    const std::lock_guard lock(mutexOf(Lock::Runs));
    forkHooks = hooks;
}

ActiveRun::ActiveRun() {
    std::unique_lock lock(mutexOf(Lock::Runs));
    if (runsOfThread == 0) {
        runsOfThreadAreAlone = !waitForEndOfThreads(lock);
    }
    ++activeRuns;
    ++runsOfThread;
}

ActiveRun::~ActiveRun() {
    const std::lock_guard lock(mutexOf(Lock::Runs));
    --activeRuns;
    --runsOfThread;
    runsOfThreadAreAlone = runsOfThreadAreAlone && runsOfThread > 0;
}

bool staysInCallersThread() noexcept {
    return runsOfThreadAreAlone || isAlone.load(std::memory_order_relaxed);
}

unsigned generation() noexcept {
    return forks.load(std::memory_order_relaxed);
}

}  // namespace rix::process
